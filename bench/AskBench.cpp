// What `ask` costs beside the same operation with two callbacks, on the same link: the time of a round trip, and the
// main thread's work for it.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/orvnetwork.h>

#include "bench/support/OpenLink.h"
#include "bench/support/ServerProcess.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using orv::QXAPIHelper;
namespace json = boost::json;

constexpr int kWarmUp = 200;
constexpr int kRoundTrips = 2000;
constexpr int kRounds = 15;

json::object someValues() {
  return {{"roomID", "1234567"}, {"title", "代数 lesson 12"}, {"start", 0}, {"limit", 30}};
}

[[noreturn]] void fail() {
  std::fputs("a request was not answered\n", stderr);
  std::abort();
}

double processorMicroseconds() {
  rusage usage;
  ::getrusage(RUSAGE_THREAD, &usage);
  const auto micro = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
  };
  return micro(usage.ru_utime) + micro(usage.ru_stime);
}

struct Cost {
  double roundTrip = 0;  // microseconds, median
  double work = 0;       // microseconds of the main thread, mean
};

/// Makes the next request when the one before has been answered.
class Series {
 public:
  using Request = std::function<void(Series&)>;

  Cost run(const Request& request) {
    request_ = &request;
    left_ = kWarmUp + kRoundTrips;
    times_.clear();
    next();
    orv::MainQueue::instance().run();
    std::ranges::nth_element(times_, times_.begin() + kRoundTrips / 2);
    return {times_[kRoundTrips / 2], (processorMicroseconds() - work_) / kRoundTrips};
  }

  void answered() {
    if (left_ <= kRoundTrips) {
      times_.push_back(std::chrono::duration<double, std::micro>(Clock::now() - sent_).count());
    }
    if (--left_ == 0) return orv::MainQueue::instance().stop();
    if (left_ == kRoundTrips) work_ = processorMicroseconds();
    next();
  }

 private:
  void next() {
    sent_ = Clock::now();
    (*request_)(*this);
  }

  const Request* request_ = nullptr;
  int left_ = 0;
  double work_ = 0;
  Clock::time_point sent_;
  std::vector<double> times_;
};

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

}  // namespace

int main() {
  bench::ServerProcess server;
  bench::openLink(server.url());

  std::int64_t answers = 0;
  const Series::Request plain = [&](Series& series) {
    QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(
        "Dev.Echo", someValues(),
        [&](const auto&, bool success, const json::object&) {
          if (!success) fail();
          ++answers;
          series.answered();
        },
        [](const auto&) { fail(); });
  };
  orv::PendingCallback kept;
  const Series::Request asked = [&](Series& series) {
    kept =
        orv::ask<&QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>("Dev.Echo", someValues())
            .then([&](const orv::Reply& reply) {
              if (!reply) fail();
              ++answers;
              series.answered();
            });
  };

  std::vector<double> plainTrip, askedTrip, tripRatio, plainWork, askedWork, workRatio;
  Series series;
  for (int round = 0; round < kRounds; ++round) {
    const Cost first = series.run(plain);
    const Cost second = series.run(asked);
    plainTrip.push_back(first.roundTrip);
    askedTrip.push_back(second.roundTrip);
    tripRatio.push_back(second.roundTrip / first.roundTrip);
    plainWork.push_back(first.work);
    askedWork.push_back(second.work);
    workRatio.push_back(second.work / first.work);
  }
  std::printf("round trip p50: two callbacks %.2f us, ask %.2f us, ratio %.3f (budget 1.05)\n",
              median(plainTrip), median(askedTrip), median(tripRatio));
  std::printf("main thread's work: two callbacks %.2f us, ask %.2f us, ratio %.3f\n", median(plainWork),
              median(askedWork), median(workRatio));
  return 0;
}
