#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/Output.h"
#include "cli/StatsTable.h"
#include "cli/TerminalText.h"

#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string>

namespace orv::cli {

namespace {

constexpr int kPings = 5;
constexpr Seconds kBetweenPings{0.2};
constexpr Seconds kBetweenPingsForLonger{1};
constexpr Seconds kPatience{2};
constexpr Seconds kLookForPongEvery{0.005};

/// Sends a PING, and waits until it is answered, for some time at most.
void ping(Host& host, const LinkStatus& link, Seconds most) {
  const std::uint64_t before = link.statistics().total.pings.count;
  QXWebSocketMgr::standard().send("PING");
  const auto look = Timer::schedule(kLookForPongEvery, true, [] { Host::notice(); });
  host.runUntil([&] { return link.statistics().total.pings.count > before || !link.isUp(); }, most);
  look->invalidate();
}

void tryLink(Host& host, const LinkStatus& link, std::optional<double> duration) {
  auto& clock = Platform::current().clock();
  const SteadyTime begin = clock.steadyNow();
  const auto left = [&]() -> Seconds { return Seconds(duration.value_or(0)) - (clock.steadyNow() - begin); };
  const auto isOver = [&](int pings) { return duration ? left() <= Seconds(0) : pings == kPings; };
  for (int pings = 0; !isOver(pings) && !host.interrupted() && !Output::abandoned(); ++pings) {
    if (link.isUp()) ping(host, link, duration ? std::min(kPatience, left()) : kPatience);
    if (isOver(pings + 1)) return;
    host.pause(duration ? std::min(kBetweenPingsForLonger, std::max(left(), Seconds(0))) : kBetweenPings);
  }
}

}  // namespace

ExitCode run(const StatsCommand& command, Context& context) {
  Host& host = context.host();
  Output& output = context.output;
  const bool isUp = host.openLink();
  const std::string problem = isUp ? std::string() : host.noLinkMessage();
  const std::string reason = isUp ? std::string() : host.noLinkReason();
  const LinkStatus& link = host.client().link();
  if (isUp) tryLink(host, link, command.duration);
  const LinkStatistics statistics = link.statistics();
  if (output.wantsTables()) {
    output.text(statsTable(statistics).text(Output::columns(), Output::wantsColours()));
    if (!isUp) writeAll(STDERR_FILENO, "orv: " + printable(problem) + "\n");
  } else {
    json::object line{{"outcome", isUp ? "complete" : "timeout"}, {"success", isUp}};
    if (!isUp) line.emplace("message", problem);
    if (!reason.empty()) line.emplace("reason", reason);
    line.emplace("statistics", jsonOf(statistics));
    output.line(line);
  }
  return isUp ? ExitCode::Success : ExitCode::NoReply;
}

}  // namespace orv::cli
