#include "LiveView.h"

#include "Language.h"
#include "Widgets.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace classroom {

LiveView::LiveView()
    : views_{
          new CourseView(orv::CourseList::live(1), "live1",
                         say("No live course is planned.", "没有即将开始的直播。")),
          new CourseView(orv::CourseList::live(2), "live2", say("Nothing is on the air.", "当前没有直播。")),
          new CourseView(orv::CourseList::live(3), "live3",
                         say("No live course is over yet.", "还没有结束的直播。"))} {
  const std::array names{say("To come", "即将开始"), say("On the air", "直播中"), say("Over", "已结束")};
  auto* const tabs = new QHBoxLayout;
  auto* const group = new QButtonGroup(this);
  auto* const pages = new QStackedWidget;
  for (std::size_t i = 0; i < views_.size(); ++i) {
    const auto status = static_cast<int>(i) + 1;
    auto* const tab = makeButton("tab", names[i], qPrintable(QStringLiteral("tab%1").arg(status)));
    tab->setCheckable(true);
    tab->setChecked(i == 0);
    group->addButton(tab, static_cast<int>(i));
    tabs->addWidget(tab);
    pages->addWidget(views_[i]);
  }
  tabs->addStretch();
  connect(group, &QButtonGroup::idClicked, pages, &QStackedWidget::setCurrentIndex);
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(12);
  column->addLayout(tabs);
  column->addWidget(pages, 1);
}

void LiveView::search(const QString& text) {
  for (CourseView* view : views_) view->search(text);
}

void LiveView::refresh() {
  for (CourseView* view : views_) view->refresh();
}

}  // namespace classroom
