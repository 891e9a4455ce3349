#include "orvnetwork/course/detail/PageRequest.h"

#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/course/detail/PageItems.h>

#include <algorithm>
#include <limits>
#include <optional>

namespace orv {

namespace {

constexpr auto kPageSize = static_cast<std::uint64_t>(kCoursePageSize);
constexpr std::uint64_t kLastIndex = std::numeric_limits<std::uint64_t>::max();

bool isRangeServed(const CourseRequest& request, bool canContinue, std::uint64_t listCount) {
  const std::uint64_t covered = request.force ? request.endIndex.value_or(0) : listCount;
  return covered >= request.need() || !canContinue;
}

}  // namespace

PageVerdict judgePageRequest(const CourseRequest& request, const PageProgress& progress,
                             std::uint64_t listCount) {
  if (request.isRange()) {
    const bool isServed = isRangeServed(request, progress.canContinue(), listCount);
    return isServed ? PageVerdict::serve : PageVerdict::wait;
  }
  if (!request.page || *request.page < 1) return PageVerdict::refuse;
  const bool isTold = progress.retriesLeft < 1 || *request.page == progress.page;
  return isTold ? PageVerdict::tellPage : PageVerdict::wait;
}

PageVerdict judgeLivePageRequest(const CourseRequest& request, std::uint64_t wanted,
                                 const PageProgress& progress, std::uint64_t loaded,
                                 std::uint64_t listCount) {
  if (!request.isRange()) return PageVerdict::refuse;
  const bool isServed =
      wanted == loaded ? isRangeServed(request, progress.canContinue(), listCount) : progress.retriesLeft < 1;
  return isServed ? PageVerdict::serve : PageVerdict::wait;
}

IndexRange servedRange(const CourseRequest& request, std::uint64_t listCount) {
  return {request.start.value_or(0), std::min(request.need(), listCount)};
}

NextPage nextPageOfRange(const CourseRequest& request, std::uint64_t listCount) {
  NextPage next;
  next.startsPass = !request.endIndex.has_value();
  if (request.force) {
    const std::uint64_t base = request.endIndex.value_or(*request.start / kPageSize * kPageSize);
    next.endIndex = base > kLastIndex - kPageSize ? kLastIndex : base + kPageSize;
    next.page = static_cast<std::int64_t>(*next.endIndex / kPageSize);
  } else {
    const std::uint64_t page = listCount / kPageSize + 1;
    next.page = static_cast<std::int64_t>(page);
    next.endIndex = page * kPageSize;
  }
  return next;
}

std::optional<NextPage> nextPage(const CourseRequest& request, std::uint64_t listCount) {
  if (request.page) {
    if (*request.page < 1) return std::nullopt;
    return NextPage{.page = *request.page, .endIndex = {}, .startsPass = true};
  }
  if (!request.isRange()) return std::nullopt;
  return nextPageOfRange(request, listCount);
}

std::optional<std::int64_t> chosenPage(const CourseRequest& request, std::uint64_t listCount) {
  if (request.page) return request.page;
  if (!request.isRange() || !request.endIndex) return std::nullopt;
  const std::uint64_t page = request.force ? *request.endIndex / kPageSize : listCount / kPageSize + 1;
  return static_cast<std::int64_t>(page);
}

bool isPageableStatus(std::uint64_t status) {
  return status >= course_status::kComing && status <= course_status::kOver;
}

}  // namespace orv
