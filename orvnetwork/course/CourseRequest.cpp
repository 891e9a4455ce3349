#include "orvnetwork/course/CourseRequest.h"

#include <limits>

namespace orv {

std::uint64_t CourseRequest::need() const {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t first = start.value_or(0);
  const std::uint64_t wanted = count.value_or(0);
  return first > kMost - wanted ? kMost : first + wanted;
}

bool CourseRequest::isSame(const CourseRequest& other) const {
  return blockHandler.target_type() == other.blockHandler.target_type() && values() == other.values();
}

json::object CourseRequest::values() const {
  json::object out;
  const auto add = [&out](std::string_view name, const auto& value) {
    if (value) out.emplace(name, *value);
  };
  add(ReqCourseStartIndex, start);
  add(ReqCourseCount, count);
  if (isRange()) out.emplace(ReqCourseForce, force);
  add(ReqCourseRequestEndIndex, endIndex);
  add(ReqCoursePage, page);
  add(ReqCourseStatus, status);
  return out;
}

}  // namespace orv
