#pragma once

#include "devserver/school/Database.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::devserver {

/// What "liveType" says.
namespace live_type {
inline constexpr std::int64_t kLive = 1;
inline constexpr std::int64_t kRecorded = 2;
inline constexpr std::int64_t kLiveWithVideo = 3;
}  // namespace live_type

/// What "status" says.
namespace course_status {
inline constexpr std::int64_t kComing = 1;
inline constexpr std::int64_t kOnAir = 2;
inline constexpr std::int64_t kOver = 3;
inline constexpr std::int64_t kWithdrawn = 4;
inline constexpr std::int64_t kRecorded = 5;
}  // namespace course_status

/// What "publishStatus" says.
namespace publish_status {
inline constexpr std::int64_t kPublished = 1;
inline constexpr std::int64_t kUploading = 2;   ///< announced; its files are still to come
inline constexpr std::int64_t kConverting = 3;  ///< published, its video is still being made
}  // namespace publish_status

/// What "liveStatus" says.
namespace live_status {
inline constexpr std::int64_t kNotYet = 0;
inline constexpr std::int64_t kOnAir = 1;
inline constexpr std::int64_t kOver = 2;
}  // namespace live_status

/// Which courses, in which order, which rows of them.
struct CourseFilter {
  enum class Order { RoomDescending, StartAscending, StartDescending };
  std::optional<std::int64_t> classroomID{};
  std::optional<std::int64_t> teacher{};   ///< owner, or one of the course's teachers
  std::optional<std::int64_t> enrolled{};  ///< a user who has enrolled
  std::optional<std::int64_t> follower{};
  std::optional<std::int64_t> roomID{};
  std::vector<std::int64_t> liveTypes{};  ///< empty: any
  std::optional<std::int64_t> status{};
  std::optional<std::int64_t> liveStatus{};
  std::optional<bool> draft{};
  std::optional<bool> test{};
  bool withReplays = false;
  std::string keyword{};                             ///< part of the title
  std::optional<std::int64_t> fromTime{}, toTime{};  ///< seconds since 1970, both included
  Order order = Order::RoomDescending;
  std::int64_t first = 0;
  std::int64_t limit = 30;
};

/// The courses (rooms) of the school. A course is a JSON object under the names that clients read.
class Courses {
 public:
  static constexpr std::int64_t kMax = 100'000;
  /// Of the room ids that may be chosen; those that are given out go on behind the greatest one.
  static constexpr std::int64_t kGreatestRoom = 9'007'199'254'740'991;

  explicit Courses(Database& database) : database_(database) {}

  /// The course as replies carry it: with "roomID" and the addresses that follow from it.
  std::optional<json::object> find(std::int64_t roomID);
  json::array list(const CourseFilter& filter);
  std::int64_t count();

  /// Adds a course and returns its room id; 0 when the school holds as many as it may. Members that are left
  /// out get their usual values. A "roomID" among the fields is taken, and must be free and at most `kGreatestRoom`
  /// (std::invalid_argument).
  std::int64_t add(const json::object& fields);
  /// The same without looking at how many there are.
  std::int64_t insert(const json::object& fields);
  /// Sets members (null removes one); false when there is no such course.
  bool change(std::int64_t roomID, const json::object& fields);
  /// Removes the course with everything that belongs to it.
  bool remove(std::int64_t roomID);

  bool isTeacher(std::int64_t roomID, std::int64_t uID);

 private:
  Database& database_;
};

/// A whole number in an object; `fallback` where it is absent or something else.
std::int64_t numberIn(const json::object& object, std::string_view key, std::int64_t fallback = 0);
double realIn(const json::object& object, std::string_view key);
std::string textIn(const json::object& object, std::string_view key);
bool flagIn(const json::object& object, std::string_view key);

/// Seconds since 1970.
std::int64_t secondsNow();

}  // namespace orv::devserver
