#include "devserver/school/CourseDesk.h"

#include "devserver/school/Courses.h"
#include "devserver/school/Database.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace orv::devserver {

namespace {

constexpr std::int64_t kUsualClassroom = 5001;

[[noreturn]] void refuseRoom(std::int64_t roomID) {
  throw std::invalid_argument("there is no course with room id " + std::to_string(roomID));
}

}  // namespace

/// The fields with a classroom and its owner where none is given.
json::object CourseDesk::complete(const json::object& fields) {
  json::object course = fields;
  if (!course.contains("classroomID")) course["classroomID"] = kUsualClassroom;
  if (!course.contains("uID")) course["uID"] = school_.classrooms().owner(numberIn(course, "classroomID"));
  const auto owner = school_.accounts().findByID(std::to_string(numberIn(course, "uID")));
  for (const char* key : {"nick", "teacher"}) {
    if (owner && !course.contains(key)) course[key] = owner->nick();
  }
  if (!course.contains("title")) course["title"] = "课程";
  return course;
}

void CourseDesk::checkSpace(std::size_t count) {
  const auto space =
      static_cast<std::size_t>(std::max<std::int64_t>(Courses::kMax - school_.courses().count(), 0));
  if (count > space) {
    throw std::invalid_argument("the school holds at most " + std::to_string(Courses::kMax) + " courses");
  }
}

std::int64_t CourseDesk::add(const json::object& fields) {
  Database::Transaction transaction(school_.database());
  checkSpace(1);
  const std::int64_t roomID = school_.courses().insert(complete(fields));
  transaction.commit();
  return roomID;
}

std::vector<std::int64_t> CourseDesk::add(std::size_t count, const json::object& fields) {
  Database::Transaction transaction(school_.database());
  checkSpace(count);
  json::object course = complete(fields);
  if (count > 1) course.erase("roomID");
  const std::string title = textIn(course, "title");
  std::vector<std::int64_t> rooms;
  for (std::size_t i = 1; i <= count; ++i) {
    course["title"] = title + " " + std::to_string(i);
    rooms.push_back(school_.courses().insert(course));
  }
  transaction.commit();
  return rooms;
}

void CourseDesk::change(std::int64_t roomID, const json::object& fields) {
  Database::Transaction transaction(school_.database());
  if (!school_.courses().change(roomID, fields)) refuseRoom(roomID);
  transaction.commit();
}

void CourseDesk::remove(std::int64_t roomID) {
  Database::Transaction transaction(school_.database());
  if (!school_.courses().remove(roomID)) refuseRoom(roomID);
  transaction.commit();
}

json::object CourseDesk::get(std::int64_t roomID) {
  auto course = school_.courses().find(roomID);
  if (!course) refuseRoom(roomID);
  return *std::move(course);
}

}  // namespace orv::devserver
