#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/ProgressBar.h"
#include "cli/SingleRequest.h"

#include <optional>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

namespace orv::cli {

namespace {

using Course = QXCourseManager::Course;

/// The catalogue of the stored user, or the public one when nobody is logged in. Nothing here needs a server.
QXCourseManager& openCatalogue() {
  MainQueue::instance().claim();
  return QXCourseManager::getInstance();
}

std::string keyOf(const OrvCourseModel& course) {
  return std::to_string(course.roomID.get());
}

/// What a course's file holds; null when there is none.
Course recordOnDisk(QXCourseManager& manager, const std::string& key) {
  const OptionalString folder = manager.localCourseFolder();
  const auto record =
      folder ? readDictionaryFile(appendPathComponent(*folder, key + ".plist")) : std::nullopt;
  return record && !record->empty() ? makeRecord<OrvCourseModel>(*record) : nullptr;
}

bool isWritten(QXCourseManager& manager, const OrvCourseModel& course) {
  const Course record = recordOnDisk(manager, keyOf(course));
  return record != nullptr && record->jsonObject() == course.jsonObject();
}

/// The keys that the list on the disk holds; none when there is no list.
std::unordered_set<std::string> listedOnDisk(QXCourseManager& manager) {
  const OptionalString file = manager.localCourseListFile();
  const auto list = file ? readArrayFile(*file) : std::nullopt;
  std::unordered_set<std::string> keys;
  for (const json::value& key : list.value_or(json::array())) {
    if (key.is_string()) keys.emplace(key.get_string());
  }
  return keys;
}

ExitCode notWritten(const std::string& key, Output& output) {
  return refuse("course " + key + " could not be written; standard error tells why", output);
}

void answerCourses(Output& output, json::array courses) {
  output.line(json::object{{"outcome", "complete"},
                           {"success", true},
                           {"count", courses.size()},
                           {"courses", std::move(courses)}});
}

}  // namespace

ExitCode run(const LocalListCommand&, Context& context) {
  Output& output = context.output;
  QXCourseManager& manager = openCatalogue();
  const std::uint64_t count = manager.getLocalCourseCount();
  json::array courses;
  ProgressBar bar("reading", "courses", count);
  for (std::uint64_t index = 0; index < count; ++index) {
    const Course course = manager.getLocalCourseWithIndex(index);
    if (course != nullptr) courses.emplace_back(course->jsonObject());
    bar.show(index + 1);
  }
  answerCourses(output, std::move(courses));
  return ExitCode::Success;
}

ExitCode run(const LocalCreateCommand& command, Context& context) {
  Output& output = context.output;
  QXCourseManager& manager = openCatalogue();
  std::vector<std::string> keys;
  json::array created;
  {
    ProgressBar bar("creating", "courses", command.count);
    for (std::uint64_t done = 0; done < command.count; ++done) {
      const Course course = manager.createLocalCourse();
      if (command.title) course->title = *command.title;
      manager.addLocalCourse(course);
      keys.push_back(keyOf(*course));
      if (!isWritten(manager, *course)) return notWritten(keys.back(), output);
      created.emplace_back(course->jsonObject());
      bar.show(done + 1);
    }
  }
  const auto listed = listedOnDisk(manager);
  for (const std::string& key : keys) {
    if (!listed.contains(key)) return notWritten(key, output);
  }
  answerCourses(output, std::move(created));
  return ExitCode::Success;
}

ExitCode run(const LocalAddCommand& command, Context& context) {
  Output& output = context.output;
  const auto parsed = parseJson(command.record);
  if (!parsed || !parsed->is_object()) return refuse("one JSON dictionary is expected", output);
  const auto course = makeRecord<OrvCourseModel>(parsed->get_object());
  course->orv_local = true;
  if (course->roomID <= 0) return refuse("\"roomID\" must be a number above 0", output);
  QXCourseManager& manager = openCatalogue();
  const bool isNew = manager.addLocalCourse(course);
  const std::string key = keyOf(*course);
  if (!isWritten(manager, *course) || !listedOnDisk(manager).contains(key)) return notWritten(key, output);
  output.line(json::object{
      {"outcome", "complete"}, {"success", true}, {"new", isNew}, {"course", course->jsonObject()}});
  return ExitCode::Success;
}

ExitCode run(const LocalDeleteCommand& command, Context& context) {
  Output& output = context.output;
  QXCourseManager& manager = openCatalogue();
  const QXCourseManager::Keys keys = manager.localCourseList();
  const std::unordered_set<std::string> known(keys.begin(), keys.end());
  const std::set<std::int64_t> roomIDs(command.roomIDs.begin(), command.roomIDs.end());
  for (const std::int64_t roomID : roomIDs) {
    if (roomID <= 0 || !known.contains(std::to_string(roomID))) {
      return refuse("there is no local course " + std::to_string(roomID), output);
    }
  }
  std::uint64_t done = 0;
  {
    ProgressBar bar("deleting", "courses", roomIDs.size());
    for (const std::int64_t roomID : roomIDs) {
      manager.deleteLocalCourseWithRoomID(roomID);
      bar.show(++done);
    }
  }
  const auto listed = listedOnDisk(manager);
  for (const std::int64_t roomID : roomIDs) {
    const std::string key = std::to_string(roomID);
    if (listed.contains(key) || recordOnDisk(manager, key) != nullptr) {
      return refuse("course " + key + " could not be removed from the disk; standard error tells why",
                    output);
    }
  }
  output.line(json::object{{"outcome", "complete"}, {"success", true}, {"deleted", done}});
  return ExitCode::Success;
}

}  // namespace orv::cli
