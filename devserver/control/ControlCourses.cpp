#include "devserver/control/ControlActions.h"
#include "devserver/school/CourseDesk.h"
#include "devserver/school/Courses.h"

#include <boost/json/serialize.hpp>

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::devserver {

namespace {

constexpr std::size_t kMaxFieldName = 100;
/// As of a text in a command.
constexpr std::size_t kMaxField = 20'000;
/// Names and values together, of one course and of all that one request adds.
constexpr std::size_t kMaxFields = 64u << 10, kMaxAdded = 64u << 20;

[[noreturn]] void expectedAtMost(const std::string& what, std::size_t most, const std::string& unit) {
  throw std::invalid_argument(what + ": expected at most " + std::to_string(most) + " " + unit);
}

/// A text by itself, and anything else as JSON.
std::size_t bytesOf(const json::value& value) {
  return value.is_string() ? value.get_string().size() : json::serialize(value).size();
}

/// The bytes of a course's fields, each of which has its bound.
std::size_t checkedBytes(const json::object& course) {
  std::size_t all = 0;
  for (const auto& [key, value] : course) {
    if (key.size() > kMaxFieldName) expectedAtMost("a name in \"fields\"", kMaxFieldName, "bytes");
    const std::size_t bytes = bytesOf(value);
    if (bytes > kMaxField) {
      expectedAtMost("\"" + std::string(key) + "\" in \"fields\"", kMaxField, "bytes");
    }
    all += key.size() + bytes;
  }
  if (all > kMaxFields) expectedAtMost("\"fields\"", kMaxFields, "bytes of names and values");
  return all;
}

/// What is said of each of `count` courses.
json::object readCourse(ControlFields& fields, std::size_t count = 1) {
  json::object course = fields.object("fields");
  const std::size_t bytes = checkedBytes(course);
  if (bytes * count > kMaxAdded) {
    expectedAtMost("\"count\"", kMaxAdded / bytes, "with fields of " + std::to_string(bytes) + " bytes");
  }
  return course;
}

Action readAdd(Engine& engine, ControlFields& fields) {
  const auto count = static_cast<std::size_t>(fields.number("count", 1, Courses::kMax, 1));
  return [count, course = readCourse(fields, count), &engine] {
    CourseDesk desk(engine.school());
    const auto rooms = count == 1 ? std::vector{desk.add(course)} : desk.add(count, course);
    return Outcome(count, member("roomIDs", json::array(rooms.begin(), rooms.end())));
  };
}

}  // namespace

Action readCourseAction(Engine& engine, ControlFields& fields) {
  static const std::vector<std::string_view> kKinds = {"add", "change", "remove", "get", "push"};
  const std::string_view kind = kKinds[fields.choice("course", kKinds)];
  if (kind == "add") return readAdd(engine, fields);
  const std::int64_t roomID = fields.number("roomID", 1, std::numeric_limits<std::int64_t>::max());
  if (kind == "change") {
    return [roomID, course = readCourse(fields), &engine] {
      CourseDesk(engine.school()).change(roomID, course);
      return Outcome(1);
    };
  }
  if (kind == "remove") {
    return [roomID, &engine] {
      CourseDesk(engine.school()).remove(roomID);
      return Outcome(1);
    };
  }
  if (kind == "get") {
    return
        [roomID, &engine] { return Outcome(1, member("course", CourseDesk(engine.school()).get(roomID))); };
  }
  const int code = static_cast<int>(fields.number("code", -2'147'483'648LL, 2'147'483'647LL, 0));
  return [roomID, code, user = fields.text("user", ""), &engine] {
    return Outcome(engine.push("Rooms.Push.Message", roomMessage(roomID, code), user));
  };
}

}  // namespace orv::devserver
