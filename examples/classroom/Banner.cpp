#include "Banner.h"

#include "Explain.h"
#include "Language.h"
#include "Widgets.h"

#include <QHBoxLayout>
#include <QStyle>
#include <QVBoxLayout>

namespace classroom {

Banner::Banner(orv::qt::LinkObject& link)
    : link_(link),
      what_(makeLabel("name", {}, "what")),
      then_(makeLabel("faint", {}, "then")),
      tryNow_(makeButton("", say("Try now", "立即重试"), "tryNow")) {
  setProperty("kind", "banner");
  setObjectName(QStringLiteral("banner"));
  setAttribute(Qt::WA_StyledBackground);
  auto* const texts = new QVBoxLayout;
  texts->setSpacing(2);
  texts->addWidget(what_);
  texts->addWidget(then_);
  auto* const row = new QHBoxLayout(this);
  row->setContentsMargins(16, 10, 12, 10);
  row->addLayout(texts, 1);
  row->addWidget(tryNow_);
  hide();
  patience_.setSingleShot(true);
  patience_.setInterval(1000);
  seconds_.setInterval(500);
  connect(&patience_, &QTimer::timeout, this, [this] {
    show();
    seconds_.start();
  });
  connect(&seconds_, &QTimer::timeout, this, [this] { showLink(); });
  connect(tryNow_, &QPushButton::clicked, &link_, [this] { link_.tryNow(); });
  connect(&link_, &orv::qt::LinkObject::changed, this, [this] { follow(); });
  follow();
}

void Banner::follow() {
  if (link_.isUp()) {
    patience_.stop();
    seconds_.stop();
    return hide();
  }
  if (!isVisible() && !patience_.isActive()) patience_.start();
  showLink();
}

void Banner::showLink() {
  const LinkExplanation told = explainLink(link_);
  what_->setText(told.what);
  then_->setText(told.then);
  tryNow_->setVisible(link_.state() == orv::qt::LinkObject::Waiting);
  if (property("grave").toBool() == told.isGrave) return;
  setProperty("grave", told.isGrave);
  style()->unpolish(this);
  style()->polish(this);
}

}  // namespace classroom
