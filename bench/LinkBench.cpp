// Round trip and pipelined rate of the library beside a bare client, on the same server in another process.
//
// Run it under `taskset --cpu-list 0` to have client and server on one CPU.

#include <orvnetwork/orvnetwork.h>

#include "bench/support/BareClient.h"
#include "bench/support/OpenLink.h"
#include "bench/support/ServerProcess.h"
#include "bench/support/UniqueRequests.h"

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
namespace json = boost::json;

constexpr int kWarmUp = 500;
constexpr int kRoundTrips = 4000;
constexpr int kPipelined = 60000;
constexpr int kOutstanding = 256;
constexpr int kRounds = 5;

json::object someValues() {
  return {{"roomID", "1234567"}, {"title", "代数 lesson 12"}, {"start", 0}, {"limit", 30}};
}

using Send = std::function<void(std::function<void()> answered)>;
using RunLoop = std::function<void()>;

/// Sends the next request from the callback of the one before; returns the median in microseconds.
double roundTrip(const Send& send, const RunLoop& run, const std::function<void()>& stop) {
  std::vector<double> microseconds;
  int left = kWarmUp + kRoundTrips;
  Clock::time_point sent;
  std::function<void()> next = [&] {
    sent = Clock::now();
    send([&] {
      microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - sent).count());
      if (--left > 0) {
        next();
      } else {
        stop();
      }
    });
  };
  next();
  run();
  microseconds.erase(microseconds.begin(), microseconds.begin() + kWarmUp);
  std::ranges::nth_element(microseconds, microseconds.begin() + kRoundTrips / 2);
  return microseconds[kRoundTrips / 2];
}

/// Keeps 256 requests outstanding; returns requests a second.
double pipelined(const Send& send, const RunLoop& run, const std::function<void()>& stop) {
  int toSend = kPipelined;
  int toCome = kPipelined;
  std::function<void()> next = [&] {
    if (toSend-- <= 0) return;
    send([&] {
      next();
      if (--toCome == 0) stop();
    });
  };
  const auto begin = Clock::now();
  for (int i = 0; i < kOutstanding; ++i) next();
  run();
  return kPipelined / std::chrono::duration<double>(Clock::now() - begin).count();
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

}  // namespace

int main() {
  cpu_set_t set;
  ::sched_getaffinity(0, sizeof set, &set);
  const bool oneCpu = CPU_COUNT(&set) == 1;
  bench::ServerProcess server;

  bench::openLink(server.url());
  auto& main = orv::MainQueue::instance();
  auto& link = orv::QXWebSocketMgr::standard();

  bench::UniqueRequests requests;
  const Send ours = [&](std::function<void()> answered) {
    link.sendRequestItem(requests.make(
        "Dev.Echo", someValues(),
        [&requests, answered = std::move(answered)](const auto& item, bool, const json::object&) {
          requests.ended(*item);
          answered();
        },
        [](const auto&) {
          std::fputs("a request timed out\n", stderr);
          std::abort();
        }));
  };

  bench::MainLoop loop;
  bench::BareClient client("127.0.0.1", server.port(), loop);
  client.connect();
  const Send bare = [&](std::function<void()> answered) {
    client.request("Dev.Echo", someValues(),
                   [answered = std::move(answered)](const json::object&) { answered(); });
  };

  const RunLoop runOurs = [&] { main.run(); };
  const RunLoop runBare = [&] { loop.run(); };
  const auto stopOurs = [&] { main.stop(); };
  const auto stopBare = [&] { loop.stop(); };

  std::vector<double> latencyOurs, latencyBare, latencyRatio, rateOurs, rateBare, rateRatio;
  for (int round = 0; round < kRounds; ++round) {
    latencyOurs.push_back(roundTrip(ours, runOurs, stopOurs));
    latencyBare.push_back(roundTrip(bare, runBare, stopBare));
    latencyRatio.push_back(latencyOurs.back() / latencyBare.back());
    rateOurs.push_back(pipelined(ours, runOurs, stopOurs));
    rateBare.push_back(pipelined(bare, runBare, stopBare));
    rateRatio.push_back(rateOurs.back() / rateBare.back());
  }
  const char* where = oneCpu ? "client and server on one CPU" : "scheduler free";
  std::printf("round trip p50, %s: library %.1f us, bare client %.1f us, ratio %.2f\n", where,
              median(latencyOurs), median(latencyBare), median(latencyRatio));
  std::printf("pipelined, 256 outstanding, %s: library %.0f/s, bare client %.0f/s, ratio %.2f\n", where,
              median(rateOurs), median(rateBare), median(rateRatio));
  return 0;
}
