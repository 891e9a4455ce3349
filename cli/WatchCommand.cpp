#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/platform/Timer.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/Output.h"
#include "cli/TerminalText.h"
#include "cli/Watcher.h"

#include <unistd.h>

#include <algorithm>

namespace orv::cli {

namespace {

constexpr Seconds kLookForReaderEvery{0.25};

}  // namespace

ExitCode run(const WatchCommand& command, Context& context) {
  Host& host = context.host();
  const Options& options = context.options;
  Output& output = context.output;
  const Watcher watcher(host, output);
  bool linkWasUp = false;
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
  const LinkStatus& link = host.client().link();
  const bool settled =
      host.runUntil([&] { return (linkWasUp |= link.isUp()) || over || unread(); }, Seconds(options.wait));
  if (settled) host.runUntil([&] { return over || unread(); });
  look->invalidate();
  if (end) end->invalidate();
  if (command.stats) output.line(json::object{{"statistics", jsonOf(link.statistics())}});
  if (linkWasUp || unread() || host.interrupted()) return ExitCode::Success;
  const double waited = std::min(options.wait, command.duration.value_or(options.wait));
  writeAll(STDERR_FILENO, "orv: " + printable(host.noLinkMessage(waited)) + "\n");
  return ExitCode::NoReply;
}

}  // namespace orv::cli
