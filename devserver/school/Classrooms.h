#pragma once

#include "devserver/school/Database.h"

#include <optional>
#include <string>

namespace orv::devserver {

/// What "role" of a member says.
namespace member_role {
inline constexpr std::int64_t kOwner = 1;
inline constexpr std::int64_t kTeacher = 2;
inline constexpr std::int64_t kStudent = 3;
}  // namespace member_role

/// The classrooms and their members. A classroom is a JSON object under the names that clients read.
class Classrooms {
 public:
  static constexpr std::int64_t kMaxOfOwner = 20;

  explicit Classrooms(Database& database) : database_(database) {}

  /// The classroom as replies carry it to this user: with "id", the user's "role" and whether it is the
  /// "current" one.
  std::optional<json::object> find(std::int64_t id, std::int64_t uID, std::int64_t current);
  /// The classrooms of which the user is a member.
  json::array of(std::int64_t uID, std::int64_t current);
  /// Makes a classroom that the user owns; 0 when there are too many. Members that are left out get their usual
  /// values.
  std::int64_t add(std::int64_t owner, const json::object& fields);
  /// Sets members; false when there is no such classroom.
  bool change(std::int64_t id, const json::object& fields);
  std::int64_t owner(std::int64_t id);
  /// The user's role; 0: no member.
  std::int64_t role(std::int64_t id, std::int64_t uID);
  /// Whether the user owns the classroom or teaches in it.
  bool isTeacher(std::int64_t id, std::int64_t uID);
  void addMember(std::int64_t id, std::int64_t uID, std::int64_t role);

 private:
  json::object classroomOf(std::int64_t id, const json::object& stored, std::int64_t uID,
                           std::int64_t current);
  Database& database_;
};

}  // namespace orv::devserver
