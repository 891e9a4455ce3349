// The rolling log beside spdlog's asynchronous rotating file.
//
//   bench_LogBench [lines]
//
// What a line costs its caller, back to back and alone every 20 us, and how many lines a second reach the
// file when callers do not stop. Files go to a temporary folder under $TMPDIR.

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/support/QXFileLog.h>

#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <latch>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// One log under test.
struct Subject {
  std::string name;
  std::function<void(int)> log;
  /// Waits until every line is in the file.
  std::function<void()> drain;
  /// Takes `count` lines as fast as it can, without losing one, until they are in the file.
  std::function<void(int)> pour;
};

std::int64_t nanoseconds(Clock::duration duration) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count();
}

struct Percentiles {
  std::int64_t p50, p99, p999;
};

/// What one call costs, in nanoseconds, with the two clock readings around it taken off.
Percentiles measureCalls(const Subject& subject, int count, std::chrono::nanoseconds pause) {
  std::vector<std::int64_t> costs;
  costs.reserve(static_cast<std::size_t>(count));
  std::int64_t clockCost = std::numeric_limits<std::int64_t>::max();
  for (int i = 0; i < 1000; ++i) {
    const auto begin = Clock::now();
    clockCost = std::min(clockCost, nanoseconds(Clock::now() - begin));
  }
  auto next = Clock::now();
  for (int i = 0; i < count; ++i) {
    next += pause;
    while (pause.count() > 0 && Clock::now() < next) {
    }
    const auto begin = Clock::now();
    subject.log(i);
    costs.push_back(nanoseconds(Clock::now() - begin) - clockCost);
  }
  subject.drain();
  std::sort(costs.begin(), costs.end());
  const auto at = [&](double share) { return costs[static_cast<std::size_t>(share * (count - 1))]; };
  return {at(0.5), at(0.99), at(0.999)};
}

struct Rate {
  double linesPerSecond;
  double processorNanosecondsPerLine;
};

double processorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

Rate measureRate(const Subject& subject, int count) {
  const auto begin = Clock::now();
  const double processorBegin = processorSeconds();
  subject.pour(count);
  return {count / std::chrono::duration<double>(Clock::now() - begin).count(),
          (processorSeconds() - processorBegin) / count * 1e9};
}

Subject ownLog() {
  static auto& log = orv::QXFileLog::standard();
  const auto line = [](int i) {
    log.log("Request %@ sent, timestamp %ld, %d outstanding", "User.Get.Info", 1706690702345678L + i, i);
  };
  const auto drain = [] {
    std::latch written(1);
    log.opQueue().post([&] { written.count_down(); });
    written.wait();
  };
  // The log loses lines rather than stop its callers, so the benchmark keeps within its bound by itself.
  const auto pour = [=](int count) {
    constexpr int kPortion = 20'000;
    constexpr std::ptrdiff_t kPortionsUnderWay = 10;
    std::atomic<std::ptrdiff_t> portions{0};
    for (int i = 0; i < count; ++i) {
      line(i);
      if ((i + 1) % kPortion != 0) continue;
      ++portions;
      log.opQueue().post([&portions] {
        --portions;
        portions.notify_one();
      });
      for (auto now = portions.load(); now >= kPortionsUnderWay; now = portions.load()) portions.wait(now);
    }
    drain();
  };
  return {"OrvNetwork", line, drain, pour};
}

Subject peerLog(const std::string& folder) {
  spdlog::init_thread_pool(1 << 18, 1);
  auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(folder + "/peer.log", 2'097'152, 10);
  static const auto logger = std::make_shared<spdlog::async_logger>("peer", sink, spdlog::thread_pool(),
                                                                    spdlog::async_overflow_policy::block);
  logger->set_pattern("%Y/%m/%d %H:%M:%S.%e - %v");
  const auto line = [](int i) {
    logger->info("Request {} sent, timestamp {}, {} outstanding", "User.Get.Info", 1706690702345678L + i, i);
    if (i % 10 == 9) logger->flush();
  };
  const auto drain = [] {
    // A logger has no way to say that its queue has been written but to end its threads; it is enough to see
    // the queue empty, with at most the last line still on its way.
    while (spdlog::thread_pool()->queue_size() > 0) std::this_thread::yield();
  };
  const auto pour = [=](int count) {
    for (int i = 0; i < count; ++i) line(i);
    drain();
  };
  return {"spdlog async rotating", line, drain, pour};
}

void report(const Subject& subject, int lines) {
  measureCalls(subject, 20'000, std::chrono::nanoseconds(0));  // warms up
  const auto burst = measureCalls(subject, 200'000, std::chrono::nanoseconds(0));
  const auto lone = measureCalls(subject, 100'000, std::chrono::microseconds(20));
  const Rate rate = measureRate(subject, lines);
  std::printf("%-22s call, back to back: p50 %5ld ns  p99 %6ld ns  p99.9 %7ld ns\n", subject.name.c_str(),
              burst.p50, burst.p99, burst.p999);
  std::printf("%-22s call, every 20 us:  p50 %5ld ns  p99 %6ld ns  p99.9 %7ld ns\n", "", lone.p50, lone.p99,
              lone.p999);
  std::printf("%-22s sustained: %.2f million lines/s, %.0f ns of processor time a line\n", "",
              rate.linesPerSecond / 1e6, rate.processorNanosecondsPerLine);
}

}  // namespace

int main(int argc, char** argv) {
  const int lines = argc > 1 ? std::atoi(argv[1]) : 4'000'000;
  std::string folder = (std::filesystem::temp_directory_path() / "orv-log-bench-XXXXXX").string();
  if (lines <= 0 || mkdtemp(folder.data()) == nullptr) return EXIT_FAILURE;
  setenv("HOME", folder.c_str(), 1);
  orv::Console::setSink([](std::string_view) {});
  report(ownLog(), lines);
  report(peerLog(folder), lines);
  spdlog::shutdown();
  std::filesystem::remove_all(folder);
  return EXIT_SUCCESS;
}
