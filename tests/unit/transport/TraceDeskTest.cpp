#include <orvnetwork/transport/detail/TraceDesk.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace orv::trace_desk_test {
namespace {

// On the operating system's threads.

TEST(TraceDesk, TakesEntriesOfManyThreadsWhileItsSinkChanges) {
  constexpr int kThreads = 3, kMessages = 3000;
  TraceDesk desk;
  std::atomic<std::uint64_t> taken{0};
  const auto sink = [&taken](const TraceEntry& entry) { taken += entry.skipped > 0 ? entry.skipped : 1; };
  desk.set(sink, TraceMode::SecretsHidden);
  std::vector<std::thread> writers;
  for (int thread = 0; thread < kThreads; ++thread) {
    writers.emplace_back([&desk] {
      const auto text = std::make_shared<const std::string>(R"({"pwd":"hunter2"})");
      for (int i = 0; i < kMessages; ++i) {
        if (desk.isOn()) desk.message(TraceKind::Sent, 1, text);
      }
    });
  }
  for (auto& writer : writers) writer.join();
  desk.flush();
  EXPECT_EQ(taken, std::uint64_t{kThreads} * kMessages) << "taken, or told as missing";
  std::thread changer([&] {
    for (int i = 0; i < 200; ++i) desk.set(i % 2 == 0 ? TraceSink(sink) : TraceSink(), TraceMode::Shareable);
  });
  for (int i = 0; i < 2000; ++i) desk.event(TraceKind::Opened, 1);
  changer.join();
  desk.flush();
  EXPECT_FALSE(desk.isOn());
}

TEST(TraceDesk, IsFlushedWhileEntriesKeepComing) {
  TraceDesk desk;
  std::atomic<std::uint64_t> calls{0};
  // Each entry brings the next one.
  desk.set(
      [&](const TraceEntry&) {
        ++calls;
        desk.event(TraceKind::Opened, 1);
      },
      TraceMode::SecretsHidden);
  desk.event(TraceKind::Opened, 1);
  for (int i = 0; i < 10; ++i) desk.flush();
  EXPECT_GE(calls, 10u);
  desk.set({}, TraceMode::SecretsHidden);
}

TEST(TraceDesk, MayBeFlushedInsideItsSink) {
  TraceDesk desk;
  std::atomic<int> calls{0};
  desk.set(
      [&](const TraceEntry&) {
        ++calls;
        desk.flush();
      },
      TraceMode::SecretsHidden);
  desk.event(TraceKind::Opened, 1);
  desk.event(TraceKind::Up, 1);
  desk.flush();
  EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace orv::trace_desk_test
