#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/Output.h"
#include "cli/TerminalText.h"

#include <unistd.h>

#include <algorithm>

namespace orv::cli {

namespace {

constexpr Seconds kLookForReaderEvery{0.25};

json::object describeNotification(const Notification& notification) {
  json::object line{{"notification", notification.name}};
  line.emplace("userInfo",
               notification.userInfo != nullptr ? json::value(*notification.userInfo) : json::value());
  return line;
}

}  // namespace

ExitCode run(const WatchCommand& command, Context& context) {
  Host& host = context.host();
  const Options& options = context.options;
  Output& output = context.output;
  // They follow the link and the pushes and post notifications of their own.
  QXUserInfoMgr::getInstance();
  QXCourseManager::getInstance();
  bool linkWasUp = false;
  const auto token = NotificationCenter::defaultCenter().observe({}, [&](const Notification& notification) {
    linkWasUp |= notification.name == QXNotificationDidOpen;
    output.line(describeNotification(notification));
    Host::notice();
  });
  // A reader that goes away while nothing is posted would otherwise leave the program behind.
  const auto look = Timer::schedule(kLookForReaderEvery, true, [] {
    if (Output::abandoned()) Host::notice();
  });
  const auto unread = [&output] { return output.failed() || Output::abandoned(); };

  bool over = false;
  const auto end = !command.duration ? nullptr : Timer::schedule(Seconds(*command.duration), false, [&over] {
    over = true;
    Host::notice();
  });
  host.connect();
  const bool settled = host.runUntil([&] { return linkWasUp || over || unread(); }, Seconds(options.wait));
  if (settled) host.runUntil([&] { return over || unread(); });
  look->invalidate();
  if (end) end->invalidate();
  if (linkWasUp || unread() || host.interrupted()) return ExitCode::Success;
  const double waited = std::min(options.wait, command.duration.value_or(options.wait));
  writeAll(STDERR_FILENO, "orv: " + printable(host.noLinkMessage(waited)) + "\n");
  return ExitCode::NoReply;
}

}  // namespace orv::cli
