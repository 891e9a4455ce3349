#pragma once

#include <orvnetwork/course/CourseRequest.h>

#include <optional>

namespace orv {

/// What a load has come to when the requests are looked at.
struct PageProgress {
  /// The page that was loaded; below 1 when none was.
  std::int64_t page = -1;
  bool lastPage = false;
  std::int64_t retriesLeft = 0;

  bool canContinue() const { return retriesLeft > 0 && !lastPage; }
};

enum class PageVerdict {
  /// The request stays.
  wait,
  /// The range is answered with what the list holds of it.
  serve,
  /// The page is told to be loaded.
  tellPage,
  /// The request is answered with failure.
  refuse,
};

/// What becomes of a request for recorded courses when their list holds `listCount`.
PageVerdict judgePageRequest(const CourseRequest& request, const PageProgress& progress,
                             std::uint64_t listCount);

/// What becomes of a request for live courses of the status `wanted` when their list holds `listCount`, while
/// the courses of the status `loaded` are looked at. With no retries left the others are answered as well.
PageVerdict judgeLivePageRequest(const CourseRequest& request, std::uint64_t wanted,
                                 const PageProgress& progress, std::uint64_t loaded, std::uint64_t listCount);

/// Indices from `first` up to, but not including, `end`.
struct IndexRange {
  std::uint64_t first = 0;
  std::uint64_t end = 0;
};

/// What a list of `listCount` courses holds of a range; empty, with `end` not above `first`, when that is
/// nothing.
IndexRange servedRange(const CourseRequest& request, std::uint64_t listCount);

/// The page to load next for a request that waits.
struct NextPage {
  std::int64_t page = 0;
  /// What the request's `endIndex` becomes; absent when it stays as it is.
  std::optional<std::uint64_t> endIndex;
  /// A new pass over the list begins: its cursor is reset.
  bool startsPass = false;
};

/// Of a request for a range; a page that it may ask for besides does not count.
NextPage nextPageOfRange(const CourseRequest& request, std::uint64_t listCount);
/// Absent for a request that asks for neither a range nor a page from 1 on. Of one that asks for both the page
/// counts.
std::optional<NextPage> nextPage(const CourseRequest& request, std::uint64_t listCount);

/// The page that a request for which one has been chosen waits for: a list that has become longer or shorter since makes
/// another one of it, unless it is forced. Absent when none has been chosen.
std::optional<std::int64_t> chosenPage(const CourseRequest& request, std::uint64_t listCount);

/// Whether live courses of a status are fetched in pages.
bool isPageableStatus(std::uint64_t status);

}  // namespace orv
