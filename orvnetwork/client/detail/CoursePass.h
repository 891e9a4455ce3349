#pragma once

#include <orvnetwork/client/CourseListState.h>
#include <orvnetwork/client/detail/CoursePageReader.h>
#include <orvnetwork/client/detail/CoursePages.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_set>

namespace orv::detail {

/// What a pass is to read.
struct CoursePassPlan {
  /// Pages that are kept at first; the one behind them is the first one to be read.
  CoursePages kept;
  /// How many pages there are to be, the kept ones included; fewer when the server's list ends before.
  std::size_t pages = 1;
  /// How many rows there are to be at least, unless the list ends before.
  std::size_t rows = 0;
  /// Whether to read to the end of the server's list.
  bool toEnd = false;
  /// The rows that are there, those of the kept pages first: which course follows which, and see `makePage`.
  CourseRowsPointer base;
  /// Whether nothing was behind them.
  bool baseIsWhole = false;
};

/// What a pass has read.
struct CoursePassEnd {
  CoursePages pages;
  /// Whether the server's list ends with them.
  bool isWhole = false;
  /// There when the pass has failed; then the pages mean nothing.
  std::optional<CourseListError> error;
};

/// Reads the server's list page by page, so that no course is missed and none is there twice though the list may change in
/// between.
///
/// When courses come or go in front of a page that is yet to be read, it begins with a course that has been read before,
/// or a course slips past between two pages. The first is seen at once. For the second, two neighbouring pages
/// belong together when the first course of the one followed the last course of the other in the rows that are there; where
/// they do not say so, the earlier page is read once more, and has to have the same rooms. When the list has moved, all
/// pages are read anew, three times at most; the last time whatever comes is taken. So m pages cost at most 7 m requests,
/// and m when nothing has moved and all were there before.
///
/// A page behind the first one that brings no room is the last one, and no more than 1,000 pages are read beyond those
/// that were planned: a server that always has another page is left there, with more to come.
///
/// Main thread. Destroying it is silence. It may hold many rows: whoever stops it first may have a worker destroy it.
class CoursePass {
 public:
  static constexpr int kMostSweeps = 4;
  static constexpr std::size_t kMostFurtherPages = 1000;

  /// @param done called once, in a later turn of the main queue; it may destroy the pass
  CoursePass(std::shared_ptr<CoursePageReader> reader, CoursePassPlan plan,
             std::function<void(CoursePassEnd)> done);
  CoursePass(const CoursePass&) = delete;
  CoursePass& operator=(const CoursePass&) = delete;
  ~CoursePass();
  /// Withdraws what is under way: nothing is called back, and any thread may destroy it from now on.
  void stop();

 private:
  void readNext();
  void pageCame(CoursePagePointer page);
  void pageCameAgain(CoursePagePointer page);
  /// Goes on behind the last page, or ends there.
  void goOn();
  void sweepAnew();
  bool isLastSweep() const { return sweep_ + 1 == kMostSweeps; }
  /// Whether the last page follows the one in front of it in the rows that are there.
  bool isExplained() const;
  /// The page without the courses that an earlier one has.
  CoursePagePointer withoutSeen(CoursePagePointer page) const;
  void note(const CoursePage& page);
  bool isSeen(std::int64_t roomID) const;
  void finish(bool isWhole);
  void fail(CourseListError error);

  std::shared_ptr<CoursePageReader> reader_;
  CoursePassPlan plan_;
  std::function<void(CoursePassEnd)> done_;
  CoursePages read_;
  /// The rooms that this sweep has read. Those of the kept pages are known by their rows.
  std::unordered_set<std::int64_t> seen_;
  int sweep_ = 0;
};

}  // namespace orv::detail
