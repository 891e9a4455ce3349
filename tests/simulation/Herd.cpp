#include "Herd.h"

#include <orvnetwork/client/Client.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include "HerdVisitor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace orv {

namespace {

using testing::ConnectPlan;
using testing::SimulatedPlatform;

constexpr double kUpFor = 100;
constexpr double kNoticedWithin = 0.05;
constexpr Seconds kRoundTrip{0.02};
constexpr double kLongestReturn = 600;
constexpr std::size_t kAtOnce = 4;
/// Within so much of the beginning everybody has signed in.
constexpr double kSignsInWithin = 80;
/// Longer than what is spread takes once the link is up.
constexpr double kWatchedAfterwards = 6;

ConnectPlan planOf(Absence absence) {
  switch (absence) {
    case Absence::Refuses:
      return ConnectPlan::refuse(kRoundTrip);
    case Absence::Drops:
      return ConnectPlan::endOfStream(kRoundTrip);
    case Absence::Mute:
      return ConnectPlan::accept(kRoundTrip);
    case Absence::Hangs:
      break;
  }
  return ConnectPlan::neverAnswer();
}

std::string_view nameOf(Absence absence) {
  switch (absence) {
    case Absence::Refuses:
      return "refuses";
    case Absence::Drops:
      return "drops";
    case Absence::Mute:
      return "is mute";
    case Absence::Hangs:
      break;
  }
  return "hangs";
}

/// A life as one line of numbers, as a process tells it to the one that has started it.
std::string lineOf(const HerdLife& life) {
  std::string line = std::to_string(life.backAt);
  const auto add = [&line](double time, int what) {
    line += " " + std::to_string(time) + " " + std::to_string(what);
  };
  for (const auto& attempt : life.attempts) add(attempt.time, attempt.isSupervisors ? 1 : 0);
  for (const double time : life.openings) add(time, 2);
  for (const double time : life.renewals) add(time, 3);
  for (const double time : life.reloads) add(time, 4);
  return line + "\n";
}

HerdLife lifeOf(const std::string& line) {
  HerdLife life;
  int read = 0, used = 0;
  if (std::sscanf(line.c_str(), "%lf%n", &life.backAt, &used) != 1) {
    throw std::runtime_error("a client has told nothing");
  }
  double time = 0;
  int what = 0;
  for (read = used; std::sscanf(line.c_str() + read, " %lf %d%n", &time, &what, &used) == 2; read += used) {
    if (what < 2) life.attempts.push_back({time, what == 1});
    if (what == 2) life.openings.push_back(time);
    if (what == 3) life.renewals.push_back(time);
    if (what == 4) life.reloads.push_back(time);
  }
  return life;
}

/// A process that lives one life and tells it through a pipe.
class Process {
 public:
  explicit Process(const std::function<HerdLife()>& live) {
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0) throw std::runtime_error("no pipe");
    pid_ = ::fork();
    if (pid_ < 0) throw std::runtime_error("no process");
    if (pid_ == 0) {
      const std::string line = lineOf(live());
      const auto written = ::write(pipe[1], line.data(), line.size());
      ::_exit(written == static_cast<ssize_t>(line.size()) ? 0 : 1);
    }
    ::close(pipe[1]);
    descriptor_ = pipe[0];
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Waits for its end.
  HerdLife told() {
    std::string line;
    std::array<char, 4096> part{};
    for (ssize_t size = 0; (size = ::read(descriptor_, part.data(), part.size())) > 0;) {
      line.append(part.data(), static_cast<std::size_t>(size));
    }
    ::close(descriptor_);
    int status = 0;
    if (::waitpid(pid_, &status, 0) != pid_ || status != 0) {
      throw std::runtime_error("a client has ended too early");
    }
    return lifeOf(line);
  }

 private:
  pid_t pid_ = -1;
  int descriptor_ = -1;
};

/// The most that come within one second.
std::size_t mostWithinASecond(std::vector<double> times) {
  std::ranges::sort(times);
  std::size_t most = 0;
  for (std::size_t first = 0, last = 0; last < times.size(); ++last) {
    while (times[last] - times[first] >= 1) ++first;
    most = std::max(most, last - first + 1);
  }
  return most;
}

}  // namespace

HerdLife Herd::liveOne(std::uint64_t seed) const {
  auto& platform = SimulatedPlatform::install(seed);
  Console::setSink([](std::string_view) {});
  ClientOptions options;
  options.server = "wss://classroom.test/link";
  options.version = options.build = "1";
  options.installation = "herd";
  const auto client = *Client::start(std::move(options));
  const auto visitor = isSignedIn ? std::make_unique<HerdVisitor>(platform, *client) : nullptr;
  testing::SeededRandom chance(seed);
  if (visitor) {
    // The renewals that come every two minutes are so no herd of their own.
    platform.runFor(Seconds(1 + (kSignsInWithin - 1) * static_cast<double>(chance.below(1000)) / 1000));
    visitor->signIn();
    platform.runFor(Seconds(kUpFor) - platform.elapsed());
  } else {
    platform.runFor(Seconds(kUpFor));
  }
  platform.runFor(Seconds(kNoticedWithin * static_cast<double>(chance.below(1000)) / 1000));
  if (!client->link().isUp()) throw std::runtime_error("the link did not come up");

  HerdLife life;
  const auto sinceLoss = std::chrono::round<SteadyTime::duration>(platform.elapsed() - Seconds(kUpFor));
  const SteadyTime away = platform.clock().steadyNow() - sinceLoss;
  std::uint64_t attempt = 0;
  const auto seen = client->link().onChanged([&](const LinkChange& change) {
    if (change.before.state != LinkState::Up && change.now.state == LinkState::Up) {
      life.openings.push_back(Seconds(change.now.since - away).count());
    }
    if (change.before == change.now || change.now.attempt == std::exchange(attempt, change.now.attempt)) {
      return;
    }
    if (change.now.attempt == 0) return;
    life.attempts.push_back(
        {Seconds(change.now.since - away).count(), change.now.starter == LinkStarter::Supervisor});
  });
  platform.settle();
  attempt = 0;
  platform.network().setDefaultPlan(planOf(absence));
  platform.server().setAnswersPing(absence != Absence::Mute);
  platform.server().cutAll();
  platform.runFor(Seconds(kUpFor + seconds) - platform.elapsed());
  platform.network().setDefaultPlan(ConnectPlan::accept(kRoundTrip));
  platform.server().setAnswersPing(true);
  const bool isBack = platform.runUntil([&] { return client->link().isUp(); }, Seconds(kLongestReturn));
  life.backAt = isBack ? platform.elapsed().count() - kUpFor - seconds : kLongestReturn;
  platform.settle();
  if (visitor) {
    platform.runFor(Seconds(kWatchedAfterwards));
    if (!visitor->isListWhole()) throw std::runtime_error("the list has not come back");
    visitor->tell(life, away);
  }
  return life;
}

std::vector<HerdLife> Herd::live(std::size_t clients) const {
  std::vector<HerdLife> lives;
  std::vector<std::unique_ptr<Process>> running;
  for (std::size_t client = 0; client < clients || !running.empty();) {
    if (client < clients && running.size() < kAtOnce) {
      running.push_back(std::make_unique<Process>([&] { return liveOne(client + 1); }));
      ++client;
      continue;
    }
    lives.push_back(running.front()->told());
    running.erase(running.begin());
  }
  return lives;
}

HerdFigures::HerdFigures(const std::vector<HerdLife>& lives) {
  std::vector<double> all, supervisors, returns, renewals, reloads;
  for (const auto& life : lives) {
    returns.push_back(life.backAt);
    renewals.insert(renewals.end(), life.renewals.begin(), life.renewals.end());
    reloads.insert(reloads.end(), life.reloads.begin(), life.reloads.end());
    for (const auto& attempt : life.attempts) {
      all.push_back(attempt.time);
      if (attempt.isSupervisors) supervisors.push_back(attempt.time);
    }
  }
  std::ranges::sort(returns);
  const auto clients = static_cast<double>(lives.size());
  halfBack = returns.at(returns.size() / 2);
  lastBack = returns.back();
  supervisorsAttempts = static_cast<double>(supervisors.size()) / clients;
  ownAttempts = static_cast<double>(all.size()) / clients - supervisorsAttempts;
  mostOfAll = mostWithinASecond(std::move(all));
  mostOfSupervisor = mostWithinASecond(std::move(supervisors));
  mostRenewals = mostWithinASecond(std::move(renewals));
  mostReloads = mostWithinASecond(std::move(reloads));
}

std::string HerdFigures::heading() {
  return "the server   away     most in 1 s: all  supervisor   half back  last back   attempts each: own  "
         "supervisor   most in 1 s: renewals  lists";
}

std::string HerdFigures::row(const Herd& herd) const {
  std::array<char, 200> text{};
  std::snprintf(text.data(), text.size(),
                "%-10s %5.0f s %16zu %11zu %10.1f s %8.1f s %20.2f %11.2f %24zu %6zu",
                std::string(nameOf(herd.absence)).c_str(), herd.seconds, mostOfAll, mostOfSupervisor,
                halfBack, lastBack, ownAttempts, supervisorsAttempts, mostRenewals, mostReloads);
  return text.data();
}

}  // namespace orv
