#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/ProxyChoice.h>
#include <orvnetwork/platform/ThisMachine.h>
#include <orvnetwork/support/QXPathManager.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/NetworkOptions.h"
#include "cli/Output.h"
#include "cli/doctor/Finding.h"
#include "cli/doctor/Looking.h"
#include "cli/doctor/PlaceVerdicts.h"
#include "cli/doctor/Probe.h"
#include "cli/doctor/Report.h"
#include "cli/doctor/WayVerdicts.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv::cli {

namespace {

using namespace doctor;

/// A disk that is away may never answer.
constexpr Seconds kDiskLimit{3.5};

/// What was seen, with the time that it took.
template <typename Facts>
struct Seen {
  Facts facts{};
  double milliseconds = 0;
};

template <typename Facts, typename Look>
Seen<Facts> timed(const Look& look) {
  Clock& clock = Platform::current().clock();
  const SteadyTime begun = clock.steadyNow();
  Seen<Facts> seen{look(), 0};
  seen.milliseconds = Seconds(clock.steadyNow() - begun).count() * 1000;
  return seen;
}

/// What was looked at on the disk; what is absent was not seen in time.
struct Places {
  std::optional<Seen<StoredUser>> user;
  std::optional<Seen<HomeFacts>> home;
  std::optional<Seen<LogFacts>> log;
};

/// Looks on a worker, and brings each finding to the main thread. The places live on while that goes on.
std::shared_ptr<Places> lookAround() {
  const auto places = std::make_shared<Places>();
  const std::string documents = QXPathManager::sharedManager().documentDirectory();
  const auto keep = [places](auto Places::*member, auto seen) {
    MainQueue::instance().post([places, member, seen = std::move(seen)] {
      (*places).*member = seen;
      Host::notice();
    });
  };
  Platform::current().globalQueue().post([keep, documents] {
    keep(&Places::user, timed<StoredUser>([&] { return lookAtUser(documents); }));
    keep(&Places::home, timed<HomeFacts>([&] { return lookAtHome(documents); }));
    keep(&Places::log, timed<LogFacts>([&] { return lookAtLog(documents + "/OrvLog/OrvCourse"); }));
  });
  return places;
}

template <typename Facts>
Finding judged(const Seen<Facts>& seen, Finding (*judge)(const Facts&)) {
  Finding finding = judge(seen.facts);
  finding.milliseconds = seen.milliseconds;
  return finding;
}

constexpr const char* kDiskIsSilent = "the disk has not answered in time";
constexpr const char* kLookAtDisk = "if the folder lies on another machine, check the way there";

Finding judgeHome(const Places& places) {
  if (!places.home) return failed("home", "noAnswer", kDiskIsSilent, kLookAtDisk);
  return judged(*places.home, doctor::judgeHome);
}

Finding judgeLog(const Places& places) {
  if (!places.home) return skippedAfter("log", "home");
  if (!places.log) return failed("log", "noAnswer", kDiskIsSilent, kLookAtDisk);
  return judged(*places.log, doctor::judgeLog);
}

/// The session of the stored user, by a probe that has reached the server, or none.
Finding judgeStoredUser(const Places& places, Probe* probe, const std::string& cause) {
  if (!places.user) return skippedAfter("session", "home");
  const StoredUser& user = places.user->facts;
  SignInFacts session{.stored = user.stored, .userID = user.userID, .words = user.problem};
  if (user.stored == SignInFacts::Stored::Somebody) {
    if (!cause.empty()) return skippedAfter("session", cause);
    if (probe == nullptr) return skipped("session", "noServer", "no server is named");
    probe->takeUpSession(session, user.token);
  }
  return judgeSession(session);
}

std::string failureIn(const std::vector<Finding>& findings) {
  const auto found = std::ranges::find(findings, Verdict::Fail, &Finding::verdict);
  return found == findings.end() ? "" : found->check;
}

/// Says which proxy the settings choose for the server.
void chooseWay(const Options& options, WayFacts& facts) {
  const ProxyVariables variables = readProxyVariables();
  const auto choice = chooseProxy(options.proxy, *options.server, variables);
  facts.choice = choice ? std::optional(*choice) : std::nullopt;
  if (options.proxy.source != ProxySource::None) return;
  const auto other = chooseProxy({.source = ProxySource::Environment}, *options.server, variables);
  if (other && other->proxy) facts.unusedVariable = other->variable;
}

void examineServer(const Options& options, Host& host, Seen<NetworkFacts> network, const Places& places,
                   std::vector<Finding>& findings) {
  const auto url = parseUrl(*options.server);
  if (!url) return;
  QXWebSocketMgr& link = QXWebSocketMgr::standard();
  link.setGlobalUUID(options.uuid.value_or("orv-doctor"));
  link.setAppVersion(options.appVersion);
  link.setAppBuildVersion(options.appBuild);
  NetworkSettings settings = networkSettings(options);
  // One that goes on from an earlier one shows no certificate.
  settings.tls.resumes = false;
  Probe probe(host, *url, *options.server, std::move(settings), Seconds(options.wait));
  chooseWay(options, probe.facts());
  probe.reach();
  network.facts.isServerHere = isThisMachine(url->server.host);
  network.facts.isServerReached = std::ranges::any_of(probe.facts().report.attempts, &AddressAttempt::won);
  findings.push_back(judged(network, judgeNetwork));
  const bool hasNoRoute = findings.back().code == "noRoute";
  std::vector<Finding> way = judgeWay(probe.facts());
  std::string cause = failureIn(way);
  if (hasNoRoute && !cause.empty()) {
    way = withoutRoute(std::move(way));
    if (failureIn(way).empty()) cause = "network";
  }
  std::ranges::move(way, std::back_inserter(findings));
  findings.push_back(judgeStoredUser(places, &probe, cause));
  Finding clock = judgeClock(probe.facts());
  if (clock.verdict == Verdict::Skipped && !cause.empty()) clock = skippedAfter("clock", cause);
  findings.push_back(std::move(clock));
}

std::vector<Finding> examine(const Options& options, Host& host) {
  Clock& clock = Platform::current().clock();
  const SteadyTime begun = clock.steadyNow();
  const std::shared_ptr<Places> places = lookAround();
  // The kernel's own table, which no disk holds up.
  auto network = timed<NetworkFacts>(lookAtRoutes);
  host.runUntil([&] { return places->user.has_value(); }, kDiskLimit);
  std::vector<Finding> findings;
  if (options.server) {
    examineServer(options, host, std::move(network), *places, findings);
  } else {
    network.facts.isServerHere = true;
    findings.push_back(judged(network, judgeNetwork));
    findings.push_back(
        skipped("connect", "noServer",
                "no server is named: --server, ORV_SERVER, or `server = …` in " + settingsFile()));
    findings.push_back(judgeStoredUser(*places, nullptr, ""));
  }
  // The disk has had the whole time until now.
  const Seconds left = kDiskLimit - Seconds(clock.steadyNow() - begun);
  host.runUntil([&] { return places->log.has_value(); }, std::max(left, Seconds(0)));
  findings.push_back(judgeHome(*places));
  findings.push_back(judgeLog(*places));
  return findings;
}

}  // namespace

ExitCode run(const DoctorCommand& command, Context& context) {
  Host& host = context.host();
  Output& output = context.output;
  const bool isWatched = output.wantsTables() && !context.options.quiet && ::isatty(STDERR_FILENO) == 1;
  if (isWatched && context.options.server) writeAll(STDERR_FILENO, "asking " + host.shownUrl() + " …");
  const std::vector<Finding> findings = examine(context.options, host);
  if (isWatched) writeAll(STDERR_FILENO, "\r\x1b[K");
  ExitCode code = ExitCode::Success;
  for (const Finding& finding : findings) {
    if (!output.wantsTables()) output.line(finding.asJson());
    code = worse(code, exitCodeOf(finding));
  }
  if (output.wantsTables()) {
    output.text(reportOf(findings, {command.isVerbose, Output::wantsColours(), isUtf8Locale()}));
  }
  return host.interrupted() ? ExitCode::NoReply : code;
}

}  // namespace orv::cli
