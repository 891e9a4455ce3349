#pragma once

#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/testing/Scheduler.h>

#include <functional>
#include <memory>

namespace orv::testing {

/// The main queue of the simulation.
///
/// The test's own code and the tasks of this queue count as the main thread; tasks of every other lane do
/// not. Tasks run whenever the simulation runs; `drain()` runs the waiting ones and nothing else, as a
/// host's loop does. To drive it from a host's loop alone, hold it: `platform.holdMainQueue(true)`.
///
///     platform.holdMainQueue(true);
///     platform.settle();                       // workers, link and timers run; nothing reaches the main thread
///     const std::size_t ran = platform.mainQueue().drain();
///
/// The simulation's one thread only.
class ORV_EXPORT SimulatedMainQueue final : public MainQueue {
 public:
  /// @param scheduler gets one more lane, of the kind `LaneKind::Main`
  explicit SimulatedMainQueue(std::shared_ptr<Scheduler> scheduler);
  ~SimulatedMainQueue() override;

  /// Tasks run in the order posted, on the main lane.
  void post(Task task) override;
  /// Does nothing: the simulation's thread is the main thread from the start.
  void claim() override {}
  /// True in the test's own code and in tasks of the main queue.
  bool isCurrent() const override { return scheduler_->isMainCurrent(); }
  /// Runs the simulation, moving time to whatever is due next, until `stop()` or until nothing can happen any
  /// more. A task may call it, too, as a modal loop does.
  void run() override;
  /// Lets `run()` return once the task that runs has ended. When none runs, the next `run()` returns at once.
  void stop() override;
  /// Runs what waits now, not what is posted meanwhile, and gives how many tasks that were.
  /// Held tasks run, too. Called from a task of another lane it ends the program with a message.
  std::size_t drain() override;
  /// A real descriptor, readable while tasks wait: for tests of a host's loop.
  /// Watch it and never read from it; it is closed with the queue.
  int wakeUpDescriptor() override;
  /// Called whenever the first task begins to wait; empty for nobody.
  /// When tasks wait already, it is called before this returns. What it throws is logged on the console.
  void setWaker(std::function<void()> waker) override;

  /// The lane of the main thread, to look at or to hold.
  Lane& lane() { return *lane_; }

 private:
  class WakeUp;
  void laneChanged();

  const std::shared_ptr<Scheduler> scheduler_;
  const std::shared_ptr<Lane> lane_;
  std::unique_ptr<WakeUp> wakeUp_;  // made when it is first asked for
  std::function<void()> waker_;
  bool waiting_ = false;
  bool stopRequested_ = false;
  int draining_ = 0;
};

}  // namespace orv::testing
