#include <orvnetwork/client/LocalCourseTrouble.h>
#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/Json.h>

#include "cli/Commands.h"
#include "cli/CourseTable.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/Output.h"
#include "cli/ProgressBar.h"
#include "cli/Request.h"
#include "cli/SingleRequest.h"

#include <set>
#include <string>
#include <string_view>
#include <unordered_set>

namespace orv::cli {

namespace {

/// Waits for work on the courses of the stored user, or the public ones when nobody is logged in. It is withdrawn from when
/// the program is interrupted.
template <typename T>
Result<T> await(Host& host, Pending<Result<T>> work) {
  auto done = host.await(std::move(work));
  return done ? *std::move(done) : WithoutAnswer<Result<T>>::make(PendingEnd::Cancelled);
}

/// Prints why a course is not as it should be.
ExitCode fail(const Error& error, std::int64_t roomID, std::string_view what, Output& output) {
  if (error.domain == kPendingErrorDomain) {
    output.line(json::object{{"outcome", "timeout"}, {"message", "interrupted"}});
    return ExitCode::NoReply;
  }
  if (localCourseTroubleOf(error) == LocalCourseTrouble::OtherUser) {
    return refuse(error.description, output);
  }
  const std::string course = roomID > 0 ? "course " + std::to_string(roomID) : "a course";
  return refuse(course + " could not be " + std::string(what) + "; standard error tells why", output);
}

void answerCourses(Output& output, json::array courses) {
  output.line(json::object{{"outcome", "complete"},
                           {"success", true},
                           {"count", courses.size()},
                           {"courses", std::move(courses)}});
}

}  // namespace

ExitCode run(const LocalListCommand&, Context& context) {
  Host& host = context.host();
  LocalCourses local;
  const auto listed = await(host, local.all());
  if (!listed) return fail(listed.error(), 0, "read", context.output);
  if (context.output.wantsTables()) {
    CourseTable table;
    for (const LocalCourses::Course& course : *listed) table.add(*course);
    context.output.text(table.table().text(Output::columns(), Output::wantsColours()));
    return ExitCode::Success;
  }
  json::array courses;
  for (const LocalCourses::Course& course : *listed) courses.emplace_back(course->jsonObject());
  answerCourses(context.output, std::move(courses));
  return ExitCode::Success;
}

ExitCode run(const LocalCreateCommand& command, Context& context) {
  Host& host = context.host();
  LocalCourses local;
  json::object fields;
  if (command.title) fields.emplace("title", *command.title);
  json::array created;
  {
    ProgressBar bar("creating", "courses", command.count);
    while (created.size() < command.count) {
      const auto made = await(host, local.create(fields));
      if (!made) return fail(made.error(), 0, "written", context.output);
      created.emplace_back((*made)->jsonObject());
      bar.show(created.size());
    }
  }
  answerCourses(context.output, std::move(created));
  return ExitCode::Success;
}

ExitCode run(const LocalAddCommand& command, Context& context) {
  Output& output = context.output;
  const auto parsed = parseJson(command.record);
  if (!parsed || !parsed->is_object()) return refuse("one JSON dictionary is expected", output);
  const auto course = makeRecord<OrvCourseModel>(parsed->get_object());
  course->orv_local = true;
  if (course->roomID <= 0) return refuse("\"roomID\" must be a number above 0", output);
  Host& host = context.host();
  LocalCourses local;
  const bool isNew = QXCourseManager::getInstance().addLocalCourse(course);
  // Saved once more: that tells whether the disk has it, and its place in the list.
  const auto saved = await(host, local.save(*course));
  if (!saved) return fail(saved.error(), course->roomID, "written", output);
  output.line(json::object{
      {"outcome", "complete"}, {"success", true}, {"new", isNew}, {"course", (*saved)->jsonObject()}});
  return ExitCode::Success;
}

ExitCode run(const LocalDeleteCommand& command, Context& context) {
  Output& output = context.output;
  Host& host = context.host();
  LocalCourses local;
  const QXCourseManager::Keys keys = QXCourseManager::getInstance().localCourseList();
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
      const auto removed = await(host, local.remove(roomID));
      if (!removed) return fail(removed.error(), roomID, "removed from the disk", output);
      bar.show(++done);
    }
  }
  output.line(json::object{{"outcome", "complete"}, {"success", true}, {"deleted", done}});
  return ExitCode::Success;
}

}  // namespace orv::cli
