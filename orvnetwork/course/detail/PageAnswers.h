#pragma once

#include <orvnetwork/course/CourseRequest.h>
#include <orvnetwork/course/detail/RequestList.h>
#include <orvnetwork/platform/Executor.h>

#include <utility>

namespace orv {

/// Answers a request now, on this thread. What the callback throws is logged to the console.
inline void tellCourses(const CoursesBlock& block, bool success, std::int64_t count) {
  if (block) runGuarded("the callback of a request for courses", [&] { block(success, count); });
}

/// Answers a request on an executor, where its callback is let go then.
inline void postCourses(Executor& executor, RequestList::Entry request, bool success, std::int64_t count) {
  if (!request->blockHandler) return;
  executor.post(
      [request = std::move(request), success, count] { tellCourses(request->blockHandler, success, count); });
}

}  // namespace orv
