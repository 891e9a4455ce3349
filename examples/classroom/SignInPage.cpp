#include "SignInPage.h"

#include "Explain.h"
#include "Language.h"
#include "Widgets.h"

#include <QVBoxLayout>
#include <utility>

namespace classroom {

using orv::qt::SessionObject;

SignInPage::SignInPage(SessionObject& session, std::function<void()> openSettings)
    : session_(session),
      why_(makeLabel("faint", {}, "why")),
      mobile_(new QLineEdit),
      password_(new QLineEdit),
      error_(makeLabel("error", {}, "error")),
      signIn_(makeButton("primary", say("Sign in", "登录"), "signIn")) {
  mobile_->setObjectName(QStringLiteral("mobile"));
  mobile_->setPlaceholderText(say("Mobile number", "手机号"));
  password_->setObjectName(QStringLiteral("password"));
  password_->setPlaceholderText(say("Password", "密码"));
  password_->setEchoMode(QLineEdit::Password);
  why_->setWordWrap(true);
  error_->setWordWrap(true);
  auto* const settings = makeButton("quiet", say("Server and proxy …", "服务器与代理……"), "openSettings");
  auto* const card = makeFrame("card");
  card->setFixedWidth(400);
  auto* const form = new QVBoxLayout(card);
  form->setContentsMargins(36, 32, 36, 24);
  form->setSpacing(14);
  form->addWidget(makeLabel("title", say("Classroom", "课堂")));
  for (QWidget* widget :
       {static_cast<QWidget*>(why_), static_cast<QWidget*>(mobile_), static_cast<QWidget*>(password_),
        static_cast<QWidget*>(error_), static_cast<QWidget*>(signIn_), static_cast<QWidget*>(settings)}) {
    form->addWidget(widget);
  }
  auto* const page = new QVBoxLayout(this);
  page->addStretch();
  page->addWidget(card, 0, Qt::AlignHCenter);
  page->addStretch();
  error_->hide();

  connect(signIn_, &QPushButton::clicked, this, [this] { submit(); });
  connect(mobile_, &QLineEdit::returnPressed, password_, [this] { password_->setFocus(); });
  connect(password_, &QLineEdit::returnPressed, signIn_, &QPushButton::click);
  connect(settings, &QPushButton::clicked, this, std::move(openSettings));
  connect(&session_, &SessionObject::changed, this, [this] { follow(); });
  connect(&session_, &SessionObject::busyChanged, this, [this] { follow(); });
  connect(&session_, &SessionObject::signInFinished, this,
          [this](SessionObject::Outcome outcome, const QString& reason, int code) {
            complain(explainSignIn(outcome, reason, code));
            if (outcome == SessionObject::SignedIn) password_->clear();
          });
  follow();
}

void SignInPage::follow() {
  switch (session_.state()) {
    case SessionObject::TakenOver:
      why_->setText(say("You were signed out by another device. Sign in again to go on here.",
                        "您已被另一台设备登出，请重新登录以继续。"));
      break;
    case SessionObject::Refused:
      why_->setText(say("The session is over: %1", "会话已结束：%1").arg(session_.reason()));
      break;
    default:
      why_->setText(say("Sign in to see your courses.", "登录后查看您的课程。"));
  }
  signIn_->setEnabled(!session_.isSigningIn());
  signIn_->setText(session_.isSigningIn() ? say("Signing in …", "正在登录……") : say("Sign in", "登录"));
}

void SignInPage::submit() {
  if (mobile_->text().trimmed().isEmpty() || password_->text().isEmpty()) {
    return complain(say("Both the mobile number and the password are needed.", "请输入手机号和密码。"));
  }
  complain({});
  session_.signIn(mobile_->text().trimmed(), password_->text());
}

void SignInPage::complain(const QString& text) {
  error_->setText(text);
  error_->setVisible(!text.isEmpty());
}

}  // namespace classroom
