#pragma once

#include <orvnetwork/data/Types.h>

#include <functional>

namespace orv {

/// What decides where a live course stands in the list of its status.
struct LiveCourseStart {
  std::int64_t startTimeEnable = 0;
  /// Seconds since 1970.
  std::int64_t startTime = 0;
};

/// Where a live course is inserted that its list does not hold: courses without a start time come first, and of
/// the others the earliest in the list of those that are coming, the latest in every other list. Among courses with and
/// without a start time alike the start times count.
///
/// @param count   how many courses the list holds
/// @param startAt called with 0, 1, 2 … until the place is found; absent for a course that is passed over
/// @return the index to insert at; `count` for the end
std::size_t liveInsertionIndex(
    const LiveCourseStart& added, std::uint64_t status, std::size_t count,
    const std::function<std::optional<LiveCourseStart>(std::size_t index)>& startAt);

}  // namespace orv
