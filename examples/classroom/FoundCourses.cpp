#include "FoundCourses.h"

#include <orvnetwork_qt/CourseListModel.h>

namespace classroom {

using orv::qt::CourseListModel;

void FoundCourses::setWanted(const QString& text) {
  wanted_ = text.trimmed();
  invalidateFilter();
}

bool FoundCourses::filterAcceptsRow(int row, const QModelIndex& parent) const {
  const QModelIndex index = sourceModel()->index(row, 0, parent);
  const auto has = [&](int role) {
    return index.data(role).toString().contains(wanted_, Qt::CaseInsensitive);
  };
  return wanted_.isEmpty() || has(CourseListModel::TitleRole) || has(CourseListModel::TeacherRole);
}

}  // namespace classroom
