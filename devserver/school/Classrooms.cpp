#include "devserver/school/Classrooms.h"

#include "devserver/school/Addresses.h"
#include "devserver/school/Courses.h"

#include <boost/json/parse.hpp>

#include <utility>

namespace orv::devserver {

namespace {

/// A classroom as it is made where nothing else is said. Numbers that clients keep as text are text.
const json::object& usualClassroom() {
  static const json::object usual = json::parse(R"json({
    "addtime":"","anybodyCreatable":false,"balance":"0","balancePreFee":"0","balanceTopup":0,"bgPicID":"",
    "bgPicUrl":"","corpID":"0","costs":"0","demo":false,"description":"","expirydate":0,
    "expirydateDuration":31536000,"followCnt":"0","followed":"0","headPicID":"","headPicUrl":"","income":"0",
    "isCorp":false,"licensenum":10,"liveEnable":true,"keltoFlag":0,"phone":"","qrPicID":"",
    "remainderDuration":"360000","remainnum":"9","status":"1","submitAuditStatus":"0","teacherCnt":"1",
    "terchernum":"1","title":"","todayDuration":"0","todayIncome":"0","topup":"0","tvSeriesID":"0","uID":"",
    "usenum":"1"})json")
                                        .as_object();
  return usual;
}

}  // namespace

json::object Classrooms::classroomOf(std::int64_t id, const json::object& stored, std::int64_t uID,
                                     std::int64_t current) {
  json::object classroom;
  classroom.reserve(stored.size() + 3);
  classroom.emplace("id", std::to_string(id));
  for (const auto& [key, value] : stored) classroom.emplace(key, value);
  const auto teachers = database_.number("SELECT count(*) FROM members WHERE classroomID = ? AND role < ?",
                                         {id, member_role::kStudent});
  classroom["teacherCnt"] = classroom["terchernum"] = std::to_string(teachers.value_or(0));
  classroom["current"] = id == current;
  classroom["role"] = role(id, uID);
  return classroom;
}

std::optional<json::object> Classrooms::find(std::int64_t id, std::int64_t uID, std::int64_t current) {
  auto rows = database_.query("SELECT doc FROM classrooms WHERE id = ?", {id});
  if (!rows.next()) return std::nullopt;
  return classroomOf(id, rows.document(0), uID, current);
}

json::array Classrooms::of(std::int64_t uID, std::int64_t current) {
  json::array list;
  for (auto rows = database_.query("SELECT id, doc FROM classrooms WHERE id IN (SELECT classroomID FROM "
                                   "members WHERE uID = ?) ORDER BY id",
                                   {uID});
       rows.next();) {
    list.push_back(classroomOf(rows.number(0), rows.document(1), uID, current));
  }
  return list;
}

std::int64_t Classrooms::add(std::int64_t owner, const json::object& fields) {
  const auto owned = database_.number("SELECT count(*) FROM members WHERE uID = ? AND role = ?",
                                      {owner, member_role::kOwner});
  if (owned.value_or(0) >= kMaxOfOwner) return 0;
  json::object classroom = usualClassroom();
  const std::int64_t now = secondsNow();
  classroom["addtime"] = std::to_string(now);
  classroom["expirydate"] = now + numberIn(classroom, "expirydateDuration");
  classroom["uID"] = std::to_string(owner);
  for (const auto& [key, value] : fields) classroom[key] = value;
  database_.run("INSERT INTO classrooms(owner, doc) VALUES(?, ?)", {owner, classroom});
  const std::int64_t id = database_.lastId();
  addMember(id, owner, member_role::kOwner);
  return id;
}

bool Classrooms::change(std::int64_t id, const json::object& fields) {
  json::object classroom;
  {
    auto rows = database_.query("SELECT doc FROM classrooms WHERE id = ?", {id});
    if (!rows.next()) return false;
    classroom = rows.document(0);
  }
  for (const auto& [key, value] : fields) classroom[key] = value;
  database_.run("UPDATE classrooms SET doc = ? WHERE id = ?", {classroom, id});
  return true;
}

std::int64_t Classrooms::owner(std::int64_t id) {
  return database_.number("SELECT owner FROM classrooms WHERE id = ?", {id}).value_or(0);
}

std::int64_t Classrooms::role(std::int64_t id, std::int64_t uID) {
  return database_.number("SELECT role FROM members WHERE classroomID = ? AND uID = ?", {id, uID})
      .value_or(0);
}

bool Classrooms::isTeacher(std::int64_t id, std::int64_t uID) {
  const std::int64_t place = role(id, uID);
  return place != 0 && place < member_role::kStudent;
}

void Classrooms::addMember(std::int64_t id, std::int64_t uID, std::int64_t role) {
  database_.run("INSERT OR REPLACE INTO members(classroomID, uID, role) VALUES(?, ?, ?)", {id, uID, role});
}

}  // namespace orv::devserver
