#pragma once

#include <orvnetwork/client/LocalCourseTrouble.h>
#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Result.h>
#include <orvnetwork/data/Types.h>

#include <compare>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::detail {

/// Whose courses are meant.
struct CourseOwner {
  OptionalString uID, classroom;
  /// Of the user who is stored; absent as long as nobody knows who that is. Waits for no disk.
  static std::optional<CourseOwner> present();
  auto operator<=>(const CourseOwner&) const = default;
};

Error localCourseError(LocalCourseTrouble trouble, std::string text);

/// What is done with the local courses on a worker. Each step tells what the disk has made of it.
class LocalCourseDisk {
 public:
  using Course = std::shared_ptr<OrvCourseModel>;
  using Answer = Result<Course>;

  /// Has the catalogue be that of the user who is stored now, and runs a step on it, while it stays so. False, and nothing
  /// done, when that is not the owner; absent: whoever it is.
  static bool runFor(const std::optional<CourseOwner>& owner, const std::function<void()>& step);
  /// The same with a step that only reads: it may take long, and the user may change meanwhile. Then this is false too, and
  /// what was read means nothing.
  static bool readFor(const std::optional<CourseOwner>& owner, const std::function<void()>& step);

  static Answer create(const json::object& fields);
  /// Takes the course over.
  static Answer save(const Course& course);
  static Result<std::int64_t> remove(std::int64_t roomID);
  static Answer note(std::int64_t roomID, std::int64_t cloudRoomID);
  static Answer find(std::int64_t roomID);
  static Result<std::vector<Course>> all();
};

}  // namespace orv::detail
