#include "CourseView.h"

#include "CourseDelegate.h"
#include "Explain.h"
#include "Language.h"
#include "Widgets.h"

#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QVBoxLayout>
#include <utility>

namespace classroom {

using orv::qt::CourseListModel;

CourseView::CourseView(orv::CourseList list, const char* name, QString nothing)
    : model_(new CourseListModel(std::move(list), this)),
      found_(new FoundCourses(this)),
      list_(new QListView),
      state_(makeLabel("faint", {}, "state")),
      again_(makeButton("", say("Try again", "重试"), "again")),
      nothing_(std::move(nothing)) {
  found_->setSourceModel(model_);
  list_->setObjectName(QLatin1String(name));
  list_->setModel(found_);
  list_->setItemDelegate(new CourseDelegate(list_));
  list_->setMouseTracking(true);
  list_->setUniformItemSizes(true);
  list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  list_->setAccessibleName(say("Courses", "课程"));
  state_->setWordWrap(true);
  again_->hide();
  auto* const below = new QHBoxLayout;
  below->addWidget(state_, 1);
  below->addWidget(again_);
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->addWidget(list_, 1);
  column->addLayout(below);
  connect(again_, &QPushButton::clicked, this, [this] { model_->loadMore(); });
  for (const auto signal : {&CourseListModel::phaseChanged, &CourseListModel::countChanged}) {
    connect(model_, signal, this, [this] {
      showState();
      fill();
    });
  }
  showState();
}

void CourseView::search(const QString& text) {
  found_->setWanted(text);
  showState();
  fill();
}

void CourseView::refresh() {
  model_->refresh();
}

orv::CourseRows::Row CourseView::selected() const {
  const QModelIndex index = list_->selectionModel()->currentIndex();
  const bool isSelected = index.isValid() && list_->selectionModel()->isSelected(index);
  return isSelected ? model_->course(found_->mapToSource(index).row()) : nullptr;
}

/// What is searched for may be anywhere, and a view that is not full does not ask twice.
void CourseView::fill() {
  if ((found_->isSearching() || model_->count() == 0) && model_->canFetchMore({})) model_->fetchMore({});
}

void CourseView::showState() {
  const bool failed = model_->phase() == CourseListModel::Failed;
  QString text;
  if (failed) {
    text = explainList(*model_);
  } else if (model_->isLoading()) {
    text = say("Loading …", "正在加载……");
  } else if (model_->atEnd() && model_->count() == 0) {
    text = nothing_;
  } else if (found_->rowCount() < model_->count()) {
    text = say("%1 of %2 courses", "%2 门课程中的 %1 门").arg(found_->rowCount()).arg(model_->count());
  } else if (model_->atEnd() && model_->count() == 1) {
    text = say("One course", "共 1 门课程");
  } else if (model_->atEnd()) {
    text = say("All %1 courses", "共 %1 门课程").arg(model_->count());
  } else {
    text = say("%1 courses so far", "已加载 %1 门课程").arg(model_->count());
  }
  state_->setText(text);
  state_->setProperty("phase", static_cast<int>(model_->phase()));
  again_->setVisible(failed);
}

}  // namespace classroom
