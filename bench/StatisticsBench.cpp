// What the statistics and the trace cost a frame, beside what a frame costs the main thread on a real link.

#include <orvnetwork/data/Json.h>
#include <orvnetwork/orvnetwork.h>
#include <orvnetwork/transport/detail/LinkCounters.h>
#include <orvnetwork/transport/detail/TraceDesk.h>

#include "bench/support/OpenLink.h"
#include "bench/support/ServerProcess.h"
#include "bench/support/UniqueRequests.h"

#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
namespace json = boost::json;

constexpr int kCounted = 3'000'000;
constexpr int kRounds = 7;
constexpr int kRequests = 30'000;
constexpr int kOutstanding = 64;

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

/// Time of the processor, which a busy machine does not lengthen as much as that of the wall.
double threadNanoseconds() {
  timespec spent{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
  return static_cast<double>(spent.tv_sec) * 1e9 + static_cast<double>(spent.tv_nsec);
}

double nanosecondsEach(int times, const std::function<void(int)>& all) {
  std::vector<double> spent;
  for (int round = 0; round < kRounds; ++round) {
    const double begin = threadNanoseconds();
    all(times);
    spent.push_back((threadNanoseconds() - begin) / times);
  }
  return median(spent);
}

/// What a request and its reply cost the main thread, in nanoseconds.
double exchangeOnMain() {
  auto& main = orv::MainQueue::instance();
  auto& link = orv::QXWebSocketMgr::standard();
  bench::UniqueRequests requests;
  int toSend = kRequests, toCome = kRequests;
  std::function<void()> next = [&] {
    if (toSend-- <= 0) return;
    link.sendRequestItem(requests.make(
        "Dev.Echo", {{"roomID", "1234567"}, {"title", "代数 lesson 12"}, {"start", 0}, {"limit", 30}},
        [&](const auto& item, bool, const json::object&) {
          requests.ended(*item);
          next();
          if (--toCome == 0) main.stop();
        },
        [](const auto&) {
          std::fputs("a request timed out\n", stderr);
          std::abort();
        }));
  };
  const double before = threadNanoseconds();
  for (int i = 0; i < kOutstanding; ++i) next();
  main.run();
  return (threadNanoseconds() - before) / kRequests;
}

double medianExchange() {
  std::vector<double> all;
  for (int round = 0; round < kRounds; ++round) all.push_back(exchangeOnMain());
  return median(all);
}

}  // namespace

int main() {
  bench::ServerProcess server;
  bench::openLink(server.url());
  auto& link = orv::QXWebSocketMgr::standard();

  orv::LinkCounters counters;
  const orv::SteadyTime at = Clock::now();
  counters.attemptBegins(at, std::nullopt);
  // The spans differ, so that the buckets do.
  const double counted = nanosecondsEach(kCounted, [&](int times) {
    for (int i = 0; i < times; ++i) {
      counters.requestSent(200, at);
      counters.received(400, at);
      counters.requestAnswered(std::chrono::microseconds(100 + i % 1000));
    }
  });
  orv::Clock& clock = orv::Platform::current().clock();
  std::int64_t sum = 0;
  const double clockRead = nanosecondsEach(kCounted, [&](int times) {
    for (int i = 0; i < times; ++i) sum += clock.steadyNow().time_since_epoch().count();
  });
  orv::TraceDesk desk;
  int on = 0;
  const double off = nanosecondsEach(kCounted, [&](int times) {
    for (int i = 0; i < times; ++i) on += desk.isOn() ? 1 : 0;
  });
  const double read = nanosecondsEach(2000, [&](int times) {
    for (int i = 0; i < times; ++i) sum += static_cast<std::int64_t>(link.statistics().total.attempts);
  });
  const double exchange = medianExchange();
  link.setFrameTrace([&sum](const orv::TraceEntry& entry) { sum += static_cast<std::int64_t>(entry.size); });
  const double traced = medianExchange();

  std::printf(
      "counting, a frame: %.1f ns, with the reading of the clock for each reply %.1f ns (budget 20)\n",
      counted / 2, (counted + clockRead) / 2);
  std::printf("a frame on a real link: %.0f ns of the main thread alone; counting is %.2f %% of it\n",
              exchange / 2, 100 * counted / exchange);
  std::printf("trace, a frame: off %.1f ns; on %.0f ns of the main thread, %.2f times the frame without\n",
              off, (traced - exchange) / 2, traced / exchange);
  std::printf("reading the statistics: %.1f us\n", read / 1000);
  return sum == 1 && on == 1 ? 1 : 0;
}
