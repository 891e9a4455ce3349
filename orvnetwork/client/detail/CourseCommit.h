#pragma once

#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/detail/CoursePages.h>

#include <cstdint>

namespace orv::detail {

/// What a list of courses becomes. Made on a worker, from what does not change meanwhile.
struct CourseCommit {
  /// False when another catalogue was opened meanwhile: then the rest means nothing.
  bool isDone = true;
  /// The catalogue that it belongs to.
  std::uint64_t opened = 0;
  CoursePages pages;
  /// Whether the server has no page behind them.
  bool isWhole = false;
  /// From the rows that there were; without states.
  CourseListChange change;
};

/// What is stored; see `storedPages`.
CourseCommit commitStored(const CourseListName& list, const CourseRowsPointer& rows, const Rooms& again);
/// The same courses with what was done to some of them; see `touchedPages`.
CourseCommit commitTouched(const CourseListName& list, const CourseRowsPointer& rows,
                           const CoursePages& pages, const Rooms& touched, bool isWhole);

/// What a pass has read.
struct CoursesRead {
  CoursePages pages;
  /// Pages that the catalogue has already.
  CoursePages known;
  bool isWhole = false;
  /// What was done to courses since the pass began: the catalogue is right about these.
  Rooms touched;
  /// The catalogue that it was read for.
  std::uint64_t opened = 0;
  /// Who has read it.
  const void* by = nullptr;
};
/// Has the catalogue take over what was read.
CourseCommit commitRead(const CourseListName& list, const CourseRowsPointer& rows, const CoursesRead& read);

}  // namespace orv::detail
