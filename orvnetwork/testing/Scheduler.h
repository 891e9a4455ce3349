#pragma once

#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/testing/SeededRandom.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::testing {

class Scheduler;

/// What a lane stands for in the real world.
enum class LaneKind {
  Main,        ///< the main thread
  Workers,     ///< the worker pool: its tasks start in order and may overlap
  Timers,      ///< the thread that posts delayed tasks when they are due
  Background,  ///< a thread of its own, such as that of a background drain
  Link         ///< input and output, and the world outside the process
};

/// A queue of ready tasks that stands for one thread (or for the worker pool). Tasks of one lane start in the
/// order posted; which lane goes next is the scheduler's choice. Made by `Scheduler::makeLane`.
/// A lane that goes takes its waiting tasks with it: they never run. The simulation's one thread only.
class ORV_EXPORT Lane final : public Executor, public std::enable_shared_from_this<Lane> {
 public:
  ~Lane() override;
  /// Puts a task behind those that wait; it runs when the simulation does.
  void post(Task task) override;

  /// How many tasks wait; the one that runs is not among them.
  std::size_t size() const { return tasks_.size(); }
  LaneKind kind() const { return kind_; }
  /// What messages call it: what a task throws is logged on the console under this name.
  const std::string& name() const { return name_; }

  /// Keeps the lane's tasks waiting, as a thread that is stuck would; they run once it is let go.
  /// `Scheduler::runFirst` runs them even so.
  void setHeld(bool held) { held_ = held; }

  /// `changed` is called after each change of the number of waiting tasks.
  /// An empty function takes the observer away. It is called while the number changes, so it must not run the
  /// simulation.
  void setObserver(std::function<void()> changed) { changed_ = std::move(changed); }

  /// Forgets the tasks that wait. They are destroyed without having run.
  void clear();

 private:
  friend class Scheduler;
  Lane(std::shared_ptr<Scheduler> scheduler, LaneKind kind, std::string name);
  bool canStart() const;

  const std::shared_ptr<Scheduler> scheduler_;
  const LaneKind kind_;
  const std::string name_;
  std::deque<Task> tasks_;
  std::function<void()> changed_;
  bool held_ = false;
  int running_ = 0;  // tasks of this lane on the call stack
};

/// The heart of the simulation: lanes of ready tasks, delayed tasks and virtual time, all on one thread.
///
/// At each step one of the lanes that have a task is drawn from the seed and its first task runs. Time stands
/// still while tasks run. `SimulatedPlatform` has the operations that tests need; use the scheduler itself to
/// build doubles of your own that take part in the simulation:
///
///     auto lane = platform.scheduler().makeLane(LaneKind::Link, "printer");
///     lane->post([] { ... });
///
/// Everything must happen on the thread that made the scheduler; another thread ends the program with a
/// message.
class ORV_EXPORT Scheduler final : public std::enable_shared_from_this<Scheduler> {
 public:
  /// How many tasks at one moment of virtual time count as an endless loop.
  static constexpr std::uint64_t kDefaultStepLimit = 1'000'000;

  /// A new simulation, whose steady clock starts at one hour.
  /// @param seed decides which lane goes next; the same seed and the same tasks give the same run
  static std::shared_ptr<Scheduler> make(std::uint64_t seed);
  ~Scheduler();

  /// A new, empty lane. The lane keeps the scheduler alive, and not the other way round: hold it as long as it is
  /// needed.
  /// @param name for messages; several lanes may share one
  std::shared_ptr<Lane> makeLane(LaneKind kind, std::string name);

  /// Runs one ready task; false when there is none.
  bool step();
  /// Runs the first task of this lane, held or not; false when there is none.
  bool runFirst(Lane& lane);
  /// Runs ready tasks until none is left. Throws std::runtime_error after `stepLimit` tasks.
  /// The message of the exception names the lanes that still have tasks, with their number.
  void settle(std::uint64_t stepLimit = kDefaultStepLimit);
  /// Runs ready tasks until `done` or none is left. Throws like `settle`.
  /// @param done asked before the first task and after each; it must not throw
  /// @return whether `done` said so
  bool settleUntil(const std::function<bool()>& done, std::uint64_t stepLimit = kDefaultStepLimit);

  /// The virtual time. It stands still but for `moveTo`.
  SteadyTime now() const { return now_; }
  /// Moves the clock forward; what is due by then becomes ready and nothing runs.
  /// A moment that has passed changes nothing.
  void moveTo(SteadyTime when);
  /// When the next delayed task is due; absent when there is none.
  /// Never before `now`: what is overdue and has not run yet is due now.
  std::optional<SteadyTime> nextDue() const;

  /// See `DelayService`.
  /// @param executor must live until it has the task or the task was cancelled
  DelayService::Handle runAt(SteadyTime when, Executor& executor, Task task);
  /// Forgets a task that has not been handed over; otherwise does nothing.
  void cancel(DelayService::Handle handle);

  /// Whether the code that runs now stands for the main thread: a task of a main lane, or no task at all.
  /// On another thread it is false.
  bool isMainCurrent() const;

  /// How many tasks have run since the scheduler was made.
  std::uint64_t stepsRun() const { return steps_; }
  /// A number that is the same for two runs exactly when the same lanes took turns in the same order.
  std::uint64_t orderHash() const { return orderHash_; }

  /// Drops all that waits. To be called before the last owner goes.
  /// Tasks that are posted by what goes away are dropped, too.
  void shutDown();
  /// Ends the program when called on a thread that is not the simulation's.
  void checkThread() const;

 private:
  friend class Lane;
  struct Delayed {
    Executor* executor;
    Task task;
  };
  using DelayedKey = std::pair<SteadyTime, DelayService::Handle>;

  explicit Scheduler(std::uint64_t seed);
  Lane* pick();
  void runTask(Lane& lane);
  void postFirstDue();
  [[noreturn]] void reportLivelock(std::uint64_t steps) const;

  SeededRandom random_;
  const void* const thread_;
  std::vector<Lane*> lanes_;
  std::vector<Lane*> candidates_;
  std::vector<Lane*> running_;  // innermost last
  std::shared_ptr<Lane> timers_;
  SteadyTime now_;
  std::map<DelayedKey, Delayed> delayed_;
  std::map<DelayService::Handle, SteadyTime> dueTimes_;
  DelayService::Handle lastHandle_ = 0;
  std::uint64_t steps_ = 0;
  std::uint64_t orderHash_ = 0xCBF29CE484222325U;
};

}  // namespace orv::testing
