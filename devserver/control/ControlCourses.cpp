#include "devserver/control/ControlActions.h"
#include "devserver/school/CourseDesk.h"
#include "devserver/school/Courses.h"

#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::devserver {

namespace {

Action readAdd(Engine& engine, ControlFields& fields) {
  const auto count = static_cast<std::size_t>(fields.number("count", 1, Courses::kMax, 1));
  return [count, course = fields.object("fields"), &engine] {
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
    return [roomID, course = fields.object("fields"), &engine] {
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
