#include "orvnetwork/client/detail/CourseCommit.h"

#include <orvnetwork/client/detail/RowDiff.h>
#include <orvnetwork/course/CourseStore.h>
#include <orvnetwork/platform/Console.h>

#include <cstddef>
#include <cstdlib>
#include <utility>
#include <vector>

namespace orv::detail {

namespace {

void takeRows(CourseCommit& commit, const CourseRowsPointer& rows) {
  commit.change = diffOf(rows, rowsOf(commit.pages, rows));
#ifndef NDEBUG
  if (leadsThere(commit.change)) return;
  Console::write("the change of a list of courses does not lead to its rows");
  std::abort();
#endif
}

}  // namespace

CourseCommit commitStored(const CourseListName& list, const CourseRowsPointer& rows, const Rooms& again) {
  CourseCommit commit;
  commit.pages = storedPages(list, *rows, again, commit.opened);
  takeRows(commit, rows);
  return commit;
}

CourseCommit commitTouched(const CourseListName& list, const CourseRowsPointer& rows,
                           const CoursePages& pages, const Rooms& touched, bool isWhole) {
  CourseCommit commit;
  commit.pages = touchedPages(list, pages, touched, isWhole, commit.opened);
  commit.isWhole = isWhole;
  takeRows(commit, rows);
  return commit;
}

CourseCommit commitRead(const CourseListName& list, const CourseRowsPointer& rows, const CoursesRead& read) {
  CourseCommit commit;
  commit.opened = read.opened;
  commit.pages = read.pages;
  commit.isWhole = read.isWhole;
  if (!read.touched.empty()) {
    commit.pages = touchedPages(list, read.pages, read.touched, read.isWhole, commit.opened);
  }
  std::vector<CourseStore::Read> courses;
  for (std::size_t index = 0; index < commit.pages.size(); ++index) {
    const CoursePagePointer& page = commit.pages[index];
    const bool isKnown = index < read.known.size() && read.known[index] == page;
    for (CourseStore::Read course : page->items) {
      course.isNews = course.isNews && !isKnown;
      courses.push_back(std::move(course));
    }
  }
  commit.isDone = CourseStore::getInstance().takeOver(list, read.opened, courses, read.isWhole, read.by);
  if (commit.isDone) takeRows(commit, rows);
  return commit;
}

}  // namespace orv::detail
