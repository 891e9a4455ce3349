#include "LocalView.h"

#include "Language.h"
#include "Widgets.h"

#include <orvnetwork_qt/Convert.h>

#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QStyle>
#include <QVBoxLayout>
#include <string>
#include <string_view>

namespace classroom {

namespace {

QString explain(const orv::Error& error) {
  return say("That did not work: %1", "操作失败：%1").arg(orv::qt::text(std::string_view(error.description)));
}

}  // namespace

LocalView::LocalView()
    : view_(new CourseView(orv::CourseList::local(), "local",
                           say("There is no course on this device. Give one a title above.",
                               "本机没有课程，请在上方输入标题新建。"))),
      title_(new QLineEdit),
      create_(makeButton("primary", say("New course", "新建课程"), "create")),
      publish_(makeButton("", say("Announce", "公布到服务器"), "publish")),
      remove_(makeButton("", say("Delete", "删除"), "remove")),
      told_(makeLabel("faint", {}, "told")) {
  title_->setObjectName(QStringLiteral("title"));
  title_->setPlaceholderText(say("Title of a new course", "新课程的标题"));
  told_->setWordWrap(true);
  create_->setEnabled(false);
  auto* const making = new QHBoxLayout;
  making->addWidget(title_, 1);
  making->addWidget(create_);
  making->addSpacing(16);
  making->addWidget(publish_);
  making->addWidget(remove_);
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(12);
  column->addLayout(making);
  column->addWidget(told_);
  column->addWidget(view_, 1);
  told_->hide();
  connect(title_, &QLineEdit::textChanged, this,
          [this] { create_->setEnabled(!title_->text().trimmed().isEmpty()); });
  connect(title_, &QLineEdit::returnPressed, create_, &QPushButton::click);
  connect(create_, &QPushButton::clicked, this, [this] { create(); });
  connect(publish_, &QPushButton::clicked, this, [this] { publish(); });
  connect(remove_, &QPushButton::clicked, this, [this] { remove(); });
  connect(view_->list().selectionModel(), &QItemSelectionModel::selectionChanged, this,
          [this] { showSelection(); });
  connect(&view_->model(), &orv::qt::CourseListModel::dataChanged, this, [this] { showSelection(); });
  showSelection();
}

void LocalView::showSelection() {
  const auto course = view_->selected();
  publish_->setEnabled(course && course->orv_cloudRoomID.get() <= 0 && !publishing_.isWaiting());
  remove_->setEnabled(course != nullptr && !removing_.isWaiting());
}

void LocalView::told(const QString& text, bool isError) {
  told_->setText(text);
  told_->setProperty("kind", isError ? "error" : "faint");
  told_->style()->unpolish(told_);
  told_->style()->polish(told_);
  told_->show();
}

void LocalView::create() {
  const std::string title = orv::qt::utf8(title_->text().trimmed());
  if (title.empty() || creating_.isWaiting()) return;
  creating_ =
      courses_.create({{"title", title}, {"intro", ""}}).then([this](const orv::LocalCourses::Answer& made) {
        if (!made) return told(explain(made.error()), true);
        title_->clear();
        told(say("The course is on this device.", "课程已保存在本机。"), false);
      });
}

void LocalView::publish() {
  const auto course = view_->selected();
  if (!course) return;
  publishing_ = courses_.publish(course->roomID).then([this](const orv::LocalCourses::Answer& published) {
    showSelection();
    if (!published) return told(explain(published.error()), true);
    told(say("The server has given the course room %1.", "服务器为课程分配了房间 %1。")
             .arg((*published)->orv_cloudRoomID.get()),
         false);
  });
  told(say("Asking the server for a room …", "正在向服务器申请房间……"), false);
  showSelection();
}

void LocalView::remove() {
  const auto course = view_->selected();
  if (!course) return;
  removing_ = courses_.remove(course->roomID).then([this](const orv::Result<std::int64_t>& removed) {
    showSelection();
    if (!removed) return told(explain(removed.error()), true);
    told(say("The course is deleted.", "课程已删除。"), false);
  });
}

}  // namespace classroom
