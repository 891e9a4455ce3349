#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/client/SessionStatus.h>

#include "cli/Commands.h"
#include "cli/CourseTable.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/Output.h"
#include "cli/ProgressBar.h"
#include "cli/Request.h"
#include "cli/TerminalText.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

namespace {

constexpr std::uint64_t kMostCourses = 1'000'000;

Answer fail(ExitCode code, std::string_view outcome, std::string_view message, std::string_view reason = {}) {
  json::object answer{{"outcome", outcome}, {"message", message}};
  if (!reason.empty()) answer.emplace("reason", reason);
  return {writeLine(answer), code};
}

/// The courses as a line of JSON, or as a table with a line about it.
Answer show(const CoursesCommand& command, const CourseList& list, bool asTable, std::string_view message) {
  json::array courses;
  CourseTable table;
  const std::size_t end = std::min(command.start + command.count, list.size());
  for (std::size_t index = command.start; index < end; ++index) {
    courses.emplace_back(list.at(index)->jsonObject());
    if (asTable) table.add(*list.at(index));
  }
  if (asTable) {
    std::string text = table.table().text(Output::columns(), Output::wantsColours());
    text += std::to_string(table.table().size()) + " of " + std::to_string(list.size()) + " listed";
    if (!message.empty()) text += ", " + printable(message);
    return {std::move(text), ExitCode::Success};
  }
  json::object answer{{"outcome", "complete"},
                      {"success", true},
                      {"start", command.start},
                      {"count", courses.size()},
                      {"listed", list.size()}};
  answer.emplace("courses", std::move(courses));
  if (!message.empty()) answer.emplace("message", message);
  return {writeLine(answer), ExitCode::Success};
}

bool hasClassroom(const OrvUserInfoModel& user) {
  return user.classroom.get().value_or("").find_first_of("123456789") != std::string::npos;
}

/// Loads until the list reaches up to `end`, or is whole, or does not go on.
void loadUpTo(std::uint64_t end, bool force, CourseList& list, Host& host) {
  ProgressBar bar("loading", "courses", end);
  const auto stops = [&host] { return isOver(host.session().info()) || !host.client().link().isUp(); };
  if (force) list.refresh();
  do {
    if (list.size() < end && !list.isLoading()) list.loadMore();
    while (list.isLoading() && !stops() && !host.interrupted()) {
      const std::size_t before = list.size();
      host.runUntil([&] { return !list.isLoading() || list.size() != before || stops(); });
      if (!stops()) bar.show(list.size());
    }
  } while (list.canLoadMore() && list.size() < end && !stops() && !host.interrupted());
}

Answer loadFromServer(const CoursesCommand& command, CourseList& list, Context& context) {
  Host& host = context.host();
  const auto changed = list.onChanged([](const CourseListChange&) { Host::notice(); });
  const std::uint64_t end = command.start + command.count;
  if (!isOver(host.settledSession()) && (command.force || list.size() < end)) {
    loadUpTo(end, command.force, list, host);
  }
  if (host.interrupted()) return fail(ExitCode::NoReply, "timeout", "interrupted");
  if (isOver(host.session().info())) return fail(ExitCode::Refused, "error", kSessionOverMessage);
  if (!host.client().link().isUp()) {
    return fail(ExitCode::NoReply, "timeout", "the link was lost; what had come by then is stored");
  }
  const auto& error = list.lastError();
  if (!error) return show(command, list, context.output.wantsTables(), {});
  const bool isRefused = error->kind == CourseListErrorKind::Refused;
  return fail(isRefused ? ExitCode::Refused : ExitCode::NoReply, isRefused ? "error" : "timeout",
              error->text);
}

Answer load(const CoursesCommand& command, Context& context) {
  if (command.start > kMostCourses || command.count > kMostCourses) {
    return wrongUse("at most " + std::to_string(kMostCourses) + " courses can be asked for");
  }
  Host& host = context.host();
  const auto user = host.session().user();
  if (!user) return fail(ExitCode::Refused, "error", kNobodyMessage);
  if (!hasClassroom(*user)) {
    return fail(ExitCode::Refused, "error", "the user has no classroom, and so no courses");
  }
  CourseList list = command.status ? CourseList::live(*command.status) : CourseList::recorded();
  if (!host.await(list.whenStored())) return fail(ExitCode::NoReply, "timeout", "interrupted");
  // A fresh embedded server would know nothing of a user of another run.
  if (!context.hasLastingServer()) {
    return show(command, list, context.output.wantsTables(), "as stored; with --server the server is asked");
  }
  if (!host.openLink()) {
    return fail(ExitCode::NoReply, "timeout", host.noLinkMessage(), host.noLinkReason());
  }
  return loadFromServer(command, list, context);
}

}  // namespace

ExitCode run(const CoursesCommand& command, Context& context) {
  const Answer answer = load(command, context);
  if (answer.code == ExitCode::Success && context.output.wantsTables()) {
    context.output.text(answer.line + "\n");
  } else {
    context.output.line(answer.line);
  }
  return answer.code;
}

}  // namespace orv::cli
