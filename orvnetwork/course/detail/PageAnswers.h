#pragma once

#include <orvnetwork/course/CourseRequest.h>
#include <orvnetwork/platform/Executor.h>

namespace orv {

/// Answers a request now, on this thread. What the callback throws is logged to the console.
inline void tellCourses(const CoursesBlock& block, bool success, std::int64_t count) {
  if (block) runGuarded("the callback of a request for courses", [&] { block(success, count); });
}

/// Answers a request on an executor.
inline void postCourses(Executor& executor, CoursesBlock block, bool success, std::int64_t count) {
  if (!block) return;
  executor.post([block = std::move(block), success, count] { tellCourses(block, success, count); });
}

}  // namespace orv
