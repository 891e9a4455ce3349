#include "MainWindow.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/CourseList.h>

#include "Banner.h"
#include "Language.h"
#include "SettingsDialog.h"
#include "SignInPage.h"
#include "Widgets.h"

#include <orvnetwork_qt/UserObject.h>

#include <QButtonGroup>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QListView>
#include <QShortcut>
#include <QVBoxLayout>
#include <array>
#include <utility>

namespace classroom {

using orv::qt::SessionObject;

namespace {

enum Place { Recorded, Live, Local };

QString nameOf(int place) {
  switch (place) {
    case Recorded:
      return say("Recorded", "录播课程");
    case Live:
      return say("Live", "直播课程");
    default:
      return say("On this device", "本机课程");
  }
}

}  // namespace

MainWindow::MainWindow(orv::Client& client, Preferences preferences,
                       std::function<void(const Preferences&)> change)
    : preferences_(std::move(preferences)),
      change_(std::move(change)),
      link_(new orv::qt::LinkObject(client, this)),
      session_(new SessionObject(client, this)),
      pages_(new QStackedWidget),
      places_(new QStackedWidget),
      recorded_(new CourseView(orv::CourseList::recorded(), "recorded",
                               say("There is no recorded course yet.", "还没有录播课程。"))),
      live_(new LiveView),
      local_(new LocalView),
      title_(makeLabel("title", {}, "place")),
      nick_(makeLabel("name", {}, "nick")),
      room_(makeLabel("faint", {}, "room")),
      otherText_(makeLabel("", {}, "otherText")),
      search_(new QLineEdit),
      signOut_(makeButton("place", say("Sign out", "退出登录"), "signOut")) {
  setWindowTitle(say("Classroom", "课堂"));
  resize(1020, 720);
  places_->addWidget(recorded_);
  places_->addWidget(live_);
  places_->addWidget(local_);
  auto* const everything = new QWidget;
  auto* const row = new QHBoxLayout(everything);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(0);
  row->addWidget(makeSide());
  row->addWidget(makeSchool(), 1);
  pages_->addWidget(new SignInPage(*session_, [this] { openSettings(); }));
  pages_->addWidget(everything);

  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(new Banner(*link_));
  column->addWidget(pages_, 1);

  connect(signOut_, &QPushButton::clicked, session_, [this] { session_->signOut(); });
  connect(session_, &SessionObject::changed, this, [this] { follow(); });
  connect(session_, &SessionObject::busyChanged, this, [this] { follow(); });
  makeShortcuts();
  openPlace(Recorded);
  follow();
}

QWidget* MainWindow::makeSide() {
  auto* const side = makeFrame("side");
  side->setFixedWidth(216);
  auto* const column = new QVBoxLayout(side);
  column->setContentsMargins(14, 20, 14, 16);
  column->setSpacing(6);
  column->addWidget(nick_);
  column->addWidget(room_);
  column->addSpacing(18);
  auto* const group = new QButtonGroup(this);
  for (const int place : {Recorded, Live, Local}) {
    auto* const button = makeButton("place", nameOf(place), qPrintable(QStringLiteral("place%1").arg(place)));
    button->setCheckable(true);
    button->setToolTip(QStringLiteral("Ctrl+%1").arg(place + 1));
    group->addButton(button, place);
    column->addWidget(button);
  }
  connect(group, &QButtonGroup::idClicked, this, [this](int place) { openPlace(place); });
  connect(places_, &QStackedWidget::currentChanged, group,
          [group](int place) { group->button(place)->setChecked(true); });
  group->button(Recorded)->setChecked(true);
  column->addStretch();
  auto* const settings = makeButton("place", say("Settings", "设置"), "openSettingsHere");
  connect(settings, &QPushButton::clicked, this, [this] { openSettings(); });
  column->addWidget(settings);
  column->addWidget(signOut_);
  return side;
}

QWidget* MainWindow::makeSchool() {
  auto* const school = new QWidget;
  auto* const column = new QVBoxLayout(school);
  column->setContentsMargins(28, 22, 28, 16);
  column->setSpacing(14);
  auto* const head = new QHBoxLayout;
  head->addWidget(title_, 1);
  search_->setObjectName(QStringLiteral("search"));
  search_->setPlaceholderText(say("Search (Ctrl+F)", "搜索 (Ctrl+F)"));
  search_->setClearButtonEnabled(true);
  search_->setFixedWidth(260);
  head->addWidget(search_);
  auto* const refreshing = makeButton("", say("Refresh", "刷新"), "refresh");
  refreshing->setToolTip(QStringLiteral("F5"));
  head->addWidget(refreshing);
  column->addLayout(head);
  column->addWidget(makeOtherDevice());
  column->addWidget(places_, 1);
  connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) { search(text); });
  connect(refreshing, &QPushButton::clicked, this, [this] { refresh(); });
  return school;
}

QWidget* MainWindow::makeOtherDevice() {
  other_ = makeFrame("banner");
  other_->setObjectName(QStringLiteral("otherDevice"));
  auto* const row = new QHBoxLayout(other_);
  row->setContentsMargins(16, 10, 12, 10);
  otherText_->setWordWrap(true);
  row->addWidget(otherText_, 1);
  auto* const button = makeButton("", say("Sign out there", "登出其他设备"), "logOthersOut");
  row->addWidget(button);
  connect(button, &QPushButton::clicked, this, [this] {
    if (loggingOthersOut_.isWaiting()) return;
    loggingOthersOut_ = orv::ask<&orv::QXAPIHelper::logoutOtherDeviceWithCompleteBlock_timeoutBlock>().then(
        [this](const orv::Reply& reply) { other_->setVisible(!reply.succeeded()); });
  });
  return other_;
}

void MainWindow::makeShortcuts() {
  const auto bind = [this](const QKeySequence& keys, std::function<void()> what) {
    connect(new QShortcut(keys, this), &QShortcut::activated, this, std::move(what));
  };
  for (const int place : {Recorded, Live, Local}) {
    bind(QKeySequence(QStringLiteral("Ctrl+%1").arg(place + 1)), [this, place] { openPlace(place); });
  }
  bind(QKeySequence::Find, [this] { search_->setFocus(); });
  bind(QKeySequence(Qt::Key_Escape), [this] { search_->clear(); });
  bind(QKeySequence::Refresh, [this] { refresh(); });
  bind(QKeySequence(QStringLiteral("Ctrl+,")), [this] { openSettings(); });
  bind(QKeySequence::Quit, [this] { close(); });
}

void MainWindow::openPlace(int place) {
  places_->setCurrentIndex(place);
  title_->setText(nameOf(place));
  // So the keys move in the list at once.
  for (QListView* list : places_->currentWidget()->findChildren<QListView*>()) {
    if (list->isVisible()) list->setFocus();
  }
}

void MainWindow::search(const QString& text) {
  recorded_->search(text);
  live_->search(text);
  local_->search(text);
}

void MainWindow::refresh() {
  switch (places_->currentIndex()) {
    case Recorded:
      return recorded_->refresh();
    case Live:
      return live_->refresh();
    default:
      return local_->refresh();
  }
}

/// A user who is stored sees their courses, without a link too.
void MainWindow::follow() {
  const SessionObject::State state = session_->state();
  const orv::qt::UserObject& user = *session_->user();
  const bool isSignedIn =
      user.isPresent() && (state == SessionObject::Good || state == SessionObject::Restoring);
  const int page = isSignedIn ? 1 : 0;
  if (page != pages_->currentIndex()) {
    pages_->setCurrentIndex(page);
    if (isSignedIn) openPlace(places_->currentIndex());
  }
  nick_->setText(user.nick().isEmpty() ? user.phone() : user.nick());
  room_->setText(user.classroomTitle());
  signOut_->setEnabled(!session_->isSigningOut());
  other_->setVisible(session_->isOtherDeviceLoggedIn());
  otherText_->setText(
      session_->isOtherDeviceLive()
          ? say("You are also signed in on another device, and a course is on the air there.",
                "您的账号也在另一台设备上登录，并且正在直播。")
          : say("You are also signed in on another device.", "您的账号也在另一台设备上登录。"));
}

void MainWindow::openSettings() {
  SettingsDialog dialog(preferences_, this);
  if (dialog.exec() != QDialog::Accepted) return;
  const Preferences made = dialog.preferences();
  // This window is made anew with them, after the dialogue and all that stands on it have ended.
  QMetaObject::invokeMethod(
      qApp, [change = change_, made] { change(made); }, Qt::QueuedConnection);
}

}  // namespace classroom
