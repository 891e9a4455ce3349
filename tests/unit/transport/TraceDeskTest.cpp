#include <orvnetwork/transport/detail/TraceDesk.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
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

/// Says on which thread it has gone.
class Witness {
 public:
  explicit Witness(std::atomic<std::thread::id>& gone) : gone_(gone) {}
  Witness(const Witness&) = delete;
  Witness& operator=(const Witness&) = delete;
  ~Witness() { gone_ = std::this_thread::get_id(); }

 private:
  std::atomic<std::thread::id>& gone_;
};

/// A desk whose first entry is being taken, on the desk's own thread, until it is let go on.
class TraceDeskInACall : public ::testing::Test {
 protected:
  void SetUp() override {
    desk.set(
        [this, witness = std::make_shared<Witness>(gone)](const TraceEntry&) {
          ++calls;
          caller = std::this_thread::get_id();
          isInside.set_value();
          goOn.get_future().wait();
          if (atTheEnd) atTheEnd();
          hasReturned = true;
        },
        TraceMode::SecretsHidden);
    desk.event(TraceKind::Opened, 1);
    isInside.get_future().wait();
  }
  /// Ends the trace on a thread of its own, and tells which one that is.
  std::future<std::thread::id> endElsewhere() {
    return std::async(std::launch::async, [this] {
      desk.set({}, TraceMode::SecretsHidden);
      return std::this_thread::get_id();
    });
  }
  static bool isReady(const std::future<std::thread::id>& one) {
    return one.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  }
  void waitUntilOff() {
    while (desk.isOn()) std::this_thread::yield();
  }

  std::promise<void> isInside, goOn;
  std::function<void()> atTheEnd;
  std::atomic<bool> hasReturned{false};
  std::atomic<int> calls{0};
  std::atomic<std::thread::id> caller, gone;
  TraceDesk desk;
};

TEST_F(TraceDeskInACall, IsWaitedForByWhoeverEndsTheTrace) {
  desk.event(TraceKind::Up, 1);  // would be the next call
  auto end = endElsewhere();
  waitUntilOff();
  EXPECT_FALSE(isReady(end)) << "the sink is still in its call";
  EXPECT_EQ(gone.load(), std::thread::id()) << "and holds what it uses";
  goOn.set_value();
  const std::thread::id ender = end.get();
  EXPECT_TRUE(hasReturned);
  EXPECT_EQ(gone.load(), ender) << "it goes on the thread that has ended the trace";
  EXPECT_NE(caller.load(), ender);
  desk.flush();
  EXPECT_EQ(calls, 1);
}

TEST_F(TraceDeskInACall, IsWaitedForByWhoeverSetsAnotherSink) {
  std::atomic<int> others{0};
  auto change = std::async(std::launch::async, [&] {
    desk.set([&others](const TraceEntry&) { ++others; }, TraceMode::SecretsHidden);
    return hasReturned.load();
  });
  goOn.set_value();
  EXPECT_TRUE(change.get());
  desk.event(TraceKind::Up, 1);
  desk.flush();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(others, 1);
}

TEST_F(TraceDeskInACall, MayEndTheTraceWhileAnotherThreadDoesSoToo) {
  atTheEnd = [this] { desk.set({}, TraceMode::SecretsHidden); };
  auto end = endElsewhere();
  waitUntilOff();
  goOn.set_value();
  end.get();
  EXPECT_TRUE(hasReturned);
  EXPECT_NE(gone.load(), std::thread::id());
}

TEST_F(TraceDeskInACall, GoesWithItsLastCallWhenItHasEndedTheTraceItself) {
  std::thread::id goneInside;
  atTheEnd = [this, &goneInside] {
    desk.set({}, TraceMode::SecretsHidden);
    goneInside = gone.load();
  };
  goOn.set_value();
  waitUntilOff();
  desk.set({}, TraceMode::SecretsHidden);  // waits for the call
  EXPECT_TRUE(hasReturned);
  EXPECT_EQ(goneInside, std::thread::id()) << "not while it runs";
  EXPECT_EQ(gone.load(), caller.load()) << "on the thread of its call";
}

TEST(TraceDesk, CallsItsSinkOnTheThreadThatFlushes) {
  TraceDesk desk;
  std::vector<std::thread::id> threads;
  // The flush finds entries that the desk's own thread has not come to: the first one holds it up until there are more.
  std::promise<void> isInside, goOn;
  desk.set(
      [&](const TraceEntry& entry) {
        threads.push_back(std::this_thread::get_id());
        if (entry.kind != TraceKind::Opened) return;
        isInside.set_value();
        goOn.get_future().wait();
      },
      TraceMode::SecretsHidden);
  desk.event(TraceKind::Opened, 1);
  isInside.get_future().wait();
  desk.event(TraceKind::Up, 1);
  const std::thread::id own = threads.at(0);
  EXPECT_NE(own, std::this_thread::get_id());
  auto flush = std::async(std::launch::async, [&desk] {
    desk.flush();
    return std::this_thread::get_id();
  });
  goOn.set_value();
  const std::thread::id flusher = flush.get();
  ASSERT_EQ(threads.size(), 2U) << "when it has returned the sink has got it";
  EXPECT_TRUE(threads[1] == own || threads[1] == flusher);
  // Entries come faster than the desk's thread looks for them, so sooner or later the flush is the first.
  bool wasHere = false;
  for (int i = 0; i < 10000 && !wasHere; ++i) {
    desk.event(TraceKind::Up, 1);
    desk.flush();
    wasHere = threads.back() == std::this_thread::get_id();
  }
  EXPECT_TRUE(wasHere);
  desk.set({}, TraceMode::SecretsHidden);
}

TEST(TraceDesk, GivesASinkNothingBehindTheEntryThatTellsWhatIsMissing) {
  TraceDesk desk;
  std::atomic<int> calls{0};
  std::promise<void> isInside, goOn;
  desk.set(
      [&](const TraceEntry& entry) {
        ++calls;
        if (entry.kind == TraceKind::Opened) {
          isInside.set_value();
          goOn.get_future().wait();
        }
        // The entry that the gap stands before is taken from what waits already.
        if (entry.skipped > 0) desk.set({}, TraceMode::SecretsHidden);
      },
      TraceMode::SecretsHidden);
  desk.event(TraceKind::Opened, 1);
  isInside.get_future().wait();
  for (std::size_t i = 0; i < TraceDesk::kMostEntries + 10; ++i) desk.event(TraceKind::Up, 1);
  goOn.set_value();
  desk.flush();
  EXPECT_EQ(calls, 2) << "the first one, and the gap";
}

}  // namespace
}  // namespace orv::trace_desk_test
