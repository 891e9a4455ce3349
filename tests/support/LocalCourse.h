#pragma once

#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/course/detail/CourseCodes.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace orv::test {

/// A course as one is that was just recorded on this device.
inline std::shared_ptr<OrvCourseModel> localCourse(std::int64_t room, std::string title) {
  auto course = std::make_shared<OrvCourseModel>();
  course->orv_local = true;
  course->roomID = room;
  course->title = std::move(title);
  course->publishStatus = publish_status::kNewLocal;
  return course;
}

}  // namespace orv::test
