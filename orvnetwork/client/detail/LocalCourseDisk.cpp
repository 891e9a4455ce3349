#include "orvnetwork/client/detail/LocalCourseDisk.h"

#include <orvnetwork/course/CourseStore.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/JsonEquality.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace orv::detail {

Error localCourseError(LocalCourseTrouble trouble, std::string text) {
  return {std::string(kLocalCourseErrorDomain), static_cast<std::int64_t>(trouble), std::move(text)};
}

namespace {

using Course = LocalCourseDisk::Course;
using Answer = LocalCourseDisk::Answer;

/// Of a local course that was handed to the server for publishing.
constexpr std::uint64_t kPublishing = 1;

QXCourseManager& manager() {
  return QXCourseManager::getInstance();
}

Error notFound(std::int64_t roomID) {
  return localCourseError(LocalCourseTrouble::NotFound, "there is no local course " + std::to_string(roomID));
}

Error notWritten(std::int64_t roomID) {
  return localCourseError(
      LocalCourseTrouble::NotWritten,
      "the disk has not taken course " + std::to_string(roomID) + "; the console was told why");
}

bool isListed(std::int64_t roomID) {
  const auto keys = manager().localCourseList();
  return std::ranges::find(keys, std::to_string(roomID)) != keys.end();
}

OptionalString recordFile(const std::string& key) {
  const OptionalString folder = manager().localCourseFolder();
  return folder ? OptionalString(appendPathComponent(*folder, key + ".plist")) : std::nullopt;
}

Course recordOnDisk(const std::string& key) {
  const OptionalString path = recordFile(key);
  const auto record = path ? readDictionaryFile(*path) : std::nullopt;
  return record && !record->empty() ? makeRecord<OrvCourseModel>(*record) : nullptr;
}

bool isListedOnDisk(const std::string& key) {
  const OptionalString path = manager().localCourseListFile();
  const auto list = path ? readArrayFile(*path) : std::nullopt;
  return list && std::ranges::find(*list, json::value(json::string(key))) != list->end();
}

bool isWritten(const OrvCourseModel& course) {
  const std::string key = std::to_string(course.roomID.get());
  const Course record = recordOnDisk(key);
  return record && sameJson(record->jsonObject(), course.jsonObject()) && isListedOnDisk(key);
}

std::int64_t userIDOf(const CourseOwner& owner) {
  return owner.uID ? int64FromText(*owner.uID) : 0;
}

/// Whether nothing is left on the disk that would bring the course back.
bool isGone(const std::string& key) {
  const OptionalString path = recordFile(key);
  return !isListedOnDisk(key) && (!path || !Platform::current().files().exists(*path));
}

void mergeOwn(OrvCourseModel& course, json::object fields) {
  for (const auto key : {"roomID", "orv_local", "orv_cloudRoomID", "publishStatus", "liveType", "addtime"}) {
    fields.erase(key);
  }
  course.merge(fields);
}

}  // namespace

std::optional<CourseOwner> CourseOwner::present() {
  if (!QXUserInfoMgr::isConstructed()) return std::nullopt;
  const auto user = QXUserInfoMgr::getInstance().userInfo();
  return user ? CourseOwner{user->uID.get(), user->classroom.get()} : CourseOwner{};
}

namespace {

/// Who the catalogue is open for by now; absent when that is not the owner.
std::optional<CourseOwner> openedFor(const std::optional<CourseOwner>& owner) {
  QXUserInfoMgr::getInstance();
  auto present = CourseOwner::present();
  // The main thread may not have come to tell the manager yet. Without need it is not told: where there is no classroom it
  // would begin anew each time.
  if (!present || (owner && present != owner)) return std::nullopt;
  if (!CourseStore::getInstance().belongsTo(userIDOf(*present), present->classroom)) manager().reload();
  return present;
}

}  // namespace

bool LocalCourseDisk::runFor(const std::optional<CourseOwner>& owner, const std::function<void()>& step) {
  const auto present = openedFor(owner);
  if (!present) return false;
  return CourseStore::getInstance().whileOpenFor(userIDOf(*present), present->classroom, step);
}

bool LocalCourseDisk::readFor(const std::optional<CourseOwner>& owner, const std::function<void()>& step) {
  const auto present = openedFor(owner);
  if (!present) return false;
  return CourseStore::getInstance().readFor(userIDOf(*present), present->classroom, step);
}

Answer LocalCourseDisk::create(const json::object& fields) {
  const Course course = manager().createLocalCourse();
  // The clock gives 0 once in a million seconds, which is no number of a course.
  while (course->roomID <= 0 || isListed(course->roomID)) course->roomID = course->roomID + 1;
  mergeOwn(*course, fields);
  manager().addLocalCourse(course);
  if (isWritten(*course)) return course->copyWithZone();
  manager().deleteLocalCourse(course);
  return notWritten(course->roomID);
}

Answer LocalCourseDisk::save(const Course& course) {
  const std::int64_t roomID = course->roomID;
  const Course known = manager().getLocalCourseWithRoomID(roomID);
  if (!known) return notFound(roomID);
  const Course former = known->copyWithZone();
  course->orv_local = true;
  if (former->orv_cloudRoomID > 0 && course->orv_cloudRoomID <= 0) {
    course->orv_cloudRoomID = former->orv_cloudRoomID.get();
    course->publishStatus = former->publishStatus.get();
  }
  manager().saveLocalCourse(course);
  if (isWritten(*course)) return course->copyWithZone();
  // What was told as failed must not be written with the next change.
  manager().saveLocalCourse(former);
  return notWritten(roomID);
}

Result<std::int64_t> LocalCourseDisk::remove(std::int64_t roomID) {
  if (roomID <= 0 || !isListed(roomID)) return notFound(roomID);
  manager().deleteLocalCourseWithRoomID(roomID);
  if (isGone(std::to_string(roomID))) return roomID;
  return notWritten(roomID);
}

Answer LocalCourseDisk::note(std::int64_t roomID, std::int64_t cloudRoomID) {
  const Course known = manager().getLocalCourseWithRoomID(roomID);
  if (!known) return notFound(roomID);
  const Course course = known->copyWithZone();
  course->orv_cloudRoomID = cloudRoomID;
  course->publishStatus = kPublishing;
  return save(course);
}

Answer LocalCourseDisk::find(std::int64_t roomID) {
  const Course course = manager().getLocalCourseWithRoomID(roomID);
  if (!course) return notFound(roomID);
  return course->copyWithZone();
}

// Records on the disk are not brought into memory by this, except those that a push must find there.
Result<std::vector<Course>> LocalCourseDisk::all() {
  const auto inMemory = manager().localCourseDict();
  std::vector<Course> courses;
  for (const std::string& key : manager().localCourseList()) {
    const auto found = inMemory.find(key);
    const Course course = found != inMemory.end() ? found->second->copyWithZone() : recordOnDisk(key);
    if (!course) continue;
    if (found == inMemory.end() && course->publishStatus == kPublishing) {
      manager().getLocalCourseWithRoomID(course->roomID);
    }
    courses.push_back(course);
  }
  return courses;
}

}  // namespace orv::detail
