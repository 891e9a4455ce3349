#pragma once

#include <orvnetwork/platform/Executor.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace orv {

/// Runs tasks one at a time, in the order posted, on another executor. A queue whose target is the main
/// queue runs on the main thread; one whose target is the worker pool runs on whichever worker is free.
///
/// A task may keep its *turn* beyond its own return: the queue stands still until the turn is given back,
/// and no thread waits meanwhile. That is how "work on this queue, then wait for a callback on main" is
/// written without a blocked worker. A task that runs a nested main loop keeps its turn the whole time.
///
///     auto queue = SerialQueue::make("lessons", Platform::current().globalQueue());
///     queue->post([] { readList(); });
///     queue->postKeepingTurn([](SerialQueue::Turn turn) {
///       auto kept = std::make_shared<SerialQueue::Turn>(std::move(turn));
///       askServer([kept](const json::object& reply) {   // on the main thread, later
///         merge(reply);
///         kept->release();
///       });
///     });
///     queue->post([] { writeList(); });                 // after the merging
class ORV_EXPORT SerialQueue final : public Executor, public std::enable_shared_from_this<SerialQueue> {
 public:
  /// The right to be the task that runs. Given back on destruction or by `release()`, on any thread. It keeps its
  /// queue alive.
  class ORV_EXPORT Turn {
   public:
    Turn(Turn&&) noexcept = default;
    /// Gives back the turn that it had, and takes the other one.
    Turn& operator=(Turn&& other) noexcept;
    ~Turn() { release(); }
    /// Gives the turn back: the next task is posted to the target. Does nothing the second time.
    void release();

   private:
    friend class SerialQueue;
    explicit Turn(std::shared_ptr<SerialQueue> queue) : queue_(std::move(queue)) {}
    std::shared_ptr<SerialQueue> queue_;
  };

  /// A new queue. It lives as long as somebody holds it or a task of it waits or runs.
  /// @param label its name, for what its tasks throw
  /// @param target where its tasks run; must outlive it
  static std::shared_ptr<SerialQueue> make(std::string label, Executor& target);

  /// Queues a task behind all that wait. It runs on the target, never inside this call; what it throws is told on
  /// the console. The queue goes on when it has returned and has been destroyed. Any thread.
  void post(Task task) override;

  /// Like `post`, but the task is handed its turn and the queue goes on only when that is given back. A turn that
  /// is never given back stops the queue for good.
  /// A task that throws gives its turn back, unless it has passed it on. Any thread.
  void postKeepingTurn(std::function<void(Turn)> task);

  /// The name that it was made with. Any thread.
  const std::string& label() const { return label_; }

  /// How many tasks wait, and one more as long as the queue is busy: from the first `post` until the last turn has
  /// been given back. So 0 says that nothing is left to do. Any thread.
  std::size_t size() const;

 private:
  struct Entry {
    Task task;
    std::function<void(Turn)> keeping;
  };
  SerialQueue(std::string label, Executor& target) : label_(std::move(label)), target_(target) {}

  // What runs next holds the queue; it is handed from one to the other, since counting anew costs more than the rest.
  static void postNext(std::shared_ptr<SerialQueue> queue);
  static void runNext(std::shared_ptr<SerialQueue> queue);
  static void turnEnded(std::shared_ptr<SerialQueue> queue);
  void enqueue(Entry entry);

  const std::string label_;
  Executor& target_;
  mutable std::mutex mutex_;
  std::deque<Entry> entries_;
  bool busy_ = false;
};

}  // namespace orv
