#include "orvnetwork/course/detail/LiveInsertion.h"

#include <orvnetwork/course/detail/CourseCodes.h>

namespace orv {

namespace {

bool comesBefore(const LiveCourseStart& added, const LiveCourseStart& present, std::uint64_t status) {
  if (added.startTimeEnable != present.startTimeEnable) {
    return added.startTimeEnable == 0;
  }
  return status == course_status::kComing ? present.startTime >= added.startTime
                                          : present.startTime < added.startTime;
}

}  // namespace

std::size_t liveInsertionIndex(
    const LiveCourseStart& added, std::uint64_t status, std::size_t count,
    const std::function<std::optional<LiveCourseStart>(std::size_t index)>& startAt) {
  for (std::size_t index = 0; index < count; ++index) {
    const std::optional<LiveCourseStart> present = startAt(index);
    if (present && comesBefore(added, *present, status)) return index;
  }
  return count;
}

}  // namespace orv
