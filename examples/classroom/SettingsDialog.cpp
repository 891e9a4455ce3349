#include "SettingsDialog.h"

#include "Language.h"
#include "Look.h"
#include "Widgets.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace classroom {

namespace {

enum Way { Straight, Environment, Fixed };

Way wayOf(const QString& proxy) {
  if (proxy.isEmpty()) return Straight;
  return proxy == QLatin1String("environment") ? Environment : Fixed;
}

}  // namespace

SettingsDialog::SettingsDialog(const Preferences& present, QWidget* parent)
    : QDialog(parent),
      server_(new QLineEdit(present.server)),
      proxy_(new QLineEdit),
      way_(new QComboBox),
      language_(new QComboBox),
      shade_(new QComboBox),
      error_(makeLabel("error", {}, "settingsError")) {
  setObjectName(QStringLiteral("settings"));
  setWindowTitle(say("Settings", "设置"));
  setMinimumWidth(520);
  server_->setObjectName(QStringLiteral("server"));
  proxy_->setObjectName(QStringLiteral("proxy"));
  proxy_->setPlaceholderText(QStringLiteral("http://proxy.example.org:3128"));
  way_->setObjectName(QStringLiteral("way"));
  way_->addItems({say("None", "不使用"), say("As the environment says", "按环境变量"),
                  say("This one:", "使用此代理：")});
  way_->setCurrentIndex(wayOf(present.proxy));
  language_->setObjectName(QStringLiteral("language"));
  language_->addItems({QStringLiteral("English"), QStringLiteral("中文")});
  language_->setCurrentIndex(present.language == Language::Chinese ? 1 : 0);
  shade_->setObjectName(QStringLiteral("shade"));
  shade_->addItems({say("As the system", "跟随系统"), say("Light", "浅色"), say("Dark", "深色")});
  shade_->setCurrentIndex(static_cast<int>(present.shade));
  if (wayOf(present.proxy) == Fixed) proxy_->setText(present.proxy);
  proxy_->setEnabled(way_->currentIndex() == Fixed);
  connect(way_, &QComboBox::currentIndexChanged, proxy_,
          [this](int way) { proxy_->setEnabled(way == Fixed); });

  auto* const form = new QFormLayout;
  form->setSpacing(12);
  form->addRow(say("&Server", "服务器(&S)"), server_);
  form->addRow(say("&Proxy", "代理(&P)"), way_);
  form->addRow(QString(), proxy_);
  form->addRow(say("&Language", "语言(&L)"), language_);
  form->addRow(say("&Colours", "颜色(&C)"), shade_);
  error_->setWordWrap(true);
  error_->hide();
  auto* const cancel = makeButton("", say("Cancel", "取消"), "cancel");
  auto* const save = makeButton("primary", say("Save", "保存"), "save");
  auto* const buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(cancel);
  buttons->addWidget(save);
  save->setDefault(true);
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  connect(save, &QPushButton::clicked, this, &QDialog::accept);
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(28, 24, 28, 24);
  column->setSpacing(16);
  column->addLayout(form);
  column->addWidget(error_);
  column->addLayout(buttons);
}

Preferences SettingsDialog::preferences() const {
  Preferences made;
  made.server = server_->text().trimmed();
  if (way_->currentIndex() == Environment) made.proxy = QStringLiteral("environment");
  if (way_->currentIndex() == Fixed) made.proxy = proxy_->text().trimmed();
  made.language = language_->currentIndex() == 1 ? Language::Chinese : Language::English;
  made.shade = static_cast<Shade>(shade_->currentIndex());
  return made;
}

void SettingsDialog::accept() {
  const Preferences made = preferences();
  QString complaint = made.complaint();
  if (complaint.isEmpty() && way_->currentIndex() == Fixed && made.proxy.isEmpty()) {
    complaint = say("Which proxy?", "请填写代理地址。");
  }
  error_->setText(complaint);
  error_->setVisible(!complaint.isEmpty());
  if (complaint.isEmpty()) QDialog::accept();
}

}  // namespace classroom
