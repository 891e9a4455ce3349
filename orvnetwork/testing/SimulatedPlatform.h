#pragma once

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/TimeZones.h>
#include <orvnetwork/testing/Scheduler.h>
#include <orvnetwork/testing/SimulatedClock.h>
#include <orvnetwork/testing/SimulatedDelayService.h>
#include <orvnetwork/testing/SimulatedDirectories.h>
#include <orvnetwork/testing/SimulatedFileSystem.h>
#include <orvnetwork/testing/SimulatedMainQueue.h>
#include <orvnetwork/testing/SimulatedNetwork.h>
#include <orvnetwork/testing/SimulatedReachability.h>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Test doubles for hosts: a simulated platform, with its network, its disk and its time.
namespace orv::testing {

/// An operating system for tests: one thread, virtual time, a seeded order of whatever is ready, a network
/// that exists in memory, and files that can fail.
///
///     auto& platform = orv::testing::SimulatedPlatform::install();   // first thing in the test
///     auto timer = orv::Timer::schedule(orv::Seconds(30), true, [&] { ++rings; });
///     platform.runFor(orv::Seconds(95));                             // takes microseconds
///     EXPECT_EQ(rings, 3);
///
/// Nothing runs by itself: `settle`, `runFor`, `runUntil` and `step` run it, on the calling thread. The
/// test's own code counts as the main thread. Two runs with one seed and the same calls are the same to the
/// last task; another seed interleaves main queue, workers, background work, timers and link differently,
/// in every way that real threads could (tasks themselves are never torn). Print the seed when a test
/// fails.
///
/// Everything must happen on the thread that made the platform.
class ORV_EXPORT SimulatedPlatform final : public Platform {
 public:
  /// Makes a platform and puts it in place for the whole process, which must not have used another one yet:
  /// throws std::logic_error otherwise. One test, one process.
  /// @param seed decides every order that is left to chance
  /// @return lives until the process ends
  static SimulatedPlatform& install(std::uint64_t seed = 1);

  /// A platform that nobody uses yet. Whatever it made must be gone before it is destroyed.
  explicit SimulatedPlatform(std::uint64_t seed = 1);
  ~SimulatedPlatform() override;

  /// Runs ready tasks until none is left; time stands still. Throws std::runtime_error with the names of the
  /// busy queues when `stepLimit` tasks did not bring that about.
  void settle(std::uint64_t stepLimit = Scheduler::kDefaultStepLimit);

  /// Runs all that is ready and all that becomes due within `span`, in the order of time; every delayed task
  /// sees the exact moment at which it was due. Afterwards the clocks have moved by `span`.
  void runFor(Seconds span);

  /// Like `runFor(limit)`, but ends as soon as `done` is true; it is asked after every task. True when it
  /// was.
  /// @param done what is waited for; it runs as the test's own code and must not throw
  /// @param limit virtual time; when `done` has not come true by then, all of it has passed
  bool runUntil(const std::function<bool()>& done, Seconds limit);

  /// Runs one ready task; false when there is none. Time does not move.
  bool step();

  /// Lets time pass while nothing runs, as when the process is stopped for a while. What became due in
  /// between is ready afterwards.
  void stall(Seconds span);

  /// Moves the wall clock alone, forwards or back; timers do not notice. A computer that wakes up after a
  /// sleep looks like this too.
  void jumpWallClock(Seconds by);
  void setWallTime(WallTime time) { clock_.setWallTime(time); }

  /// Keeps the tasks of the main queue or of the worker pool waiting, as when that thread is busy or stuck.
  /// The state lasts until it is set again; a held task does not count as ready, so `settle` ends without it.
  void holdMainQueue(bool held) { mainQueue_.lane().setHeld(held); }
  void holdGlobalQueue(bool held) { workers_->setHeld(held); }

  /// The user's locale from now on, for example "zh_CN".
  void setLocale(std::string name) { locale_ = std::move(name); }
  /// The zone of that name by the system's zone files, or a rule, as for `timeZoneNamed`. The process's own zone has
  /// no say.
  void setTimeZone(const std::string& name) { timeZone_ = timeZoneNamed(name); }
  /// A zone with rules of the test's own; never null.
  void setTimeZone(TimeZonePtr zone) { timeZone_ = std::move(zone); }

  /// The next answers of `random()`; after them it goes on with seeded ones.
  void queueRandom(const std::vector<std::uint32_t>& values);

  /// The seed that it was made with: print it when a test fails.
  std::uint64_t seed() const { return seed_; }
  std::uint64_t stepsRun() const { return scheduler_->stepsRun(); }
  /// The same for two runs when their tasks took turns in the same order.
  std::uint64_t orderHash() const { return scheduler_->orderHash(); }
  /// Time until the next delayed task is due; absent when there is none.
  std::optional<Seconds> nextDueIn() const;
  /// Virtual time since the platform was made.
  Seconds elapsed() const { return scheduler_->now() - start_; }

  /// What is between the library and its server: attempts to connect that fail, latency, broken links.
  SimulatedNetwork& network() { return network_; }
  /// The server that the library talks to, whatever address it connects to.
  SimulatedServer& server() { return network_.server(); }
  /// For doubles of your own.
  Scheduler& scheduler() { return *scheduler_; }

  SimulatedClock& clock() override { return clock_; }
  SimulatedMainQueue& mainQueue() override { return mainQueue_; }
  Executor& globalQueue() override { return *workers_; }
  SimulatedDelayService& delays() override { return delays_; }
  SimulatedReachability& reachability() override { return reachability_; }
  SimulatedFileSystem& files() override { return files_; }
  SimulatedDirectories& directories() override { return directories_; }
  /// The numbers of `queueRandom`, then those that come from the seed.
  std::uint32_t random() override;
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request) override;
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override;
  /// "en_US_POSIX" and "UTC" unless set.
  std::string localeName() override { return locale_; }
  TimeZonePtr timeZone() override { return timeZone_; }

 private:
  const std::uint64_t seed_;
  const std::shared_ptr<Scheduler> scheduler_;
  const SteadyTime start_;
  SimulatedClock clock_;
  SimulatedMainQueue mainQueue_;
  const std::shared_ptr<Lane> workers_;
  SimulatedDelayService delays_;
  SimulatedReachability reachability_;
  SimulatedFileSystem files_;
  SimulatedDirectories directories_;
  SimulatedNetwork network_;
  SeededRandom randomNumbers_;
  std::deque<std::uint32_t> queuedRandom_;
  std::string locale_ = "en_US_POSIX";
  TimeZonePtr timeZone_ = std::make_shared<const TimeZone>();
};

}  // namespace orv::testing
