#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Task.h>

#include <concepts>
#include <exception>

namespace orv {

/// A place where work runs: the main queue, the worker pool, or a serial queue on one of them.
///
///     void load(Executor& workers, std::function<void(std::string)> tell) {
///       workers.post([tell] {                                             // on a worker
///         const std::string text = readAll();
///         MainQueue::instance().post([tell, text] { tell(text); });       // and back
///       });
///     }
///
/// Whoever keeps a reference to one is not its owner: the platform owns the main queue and the pool.
class ORV_EXPORT Executor {
 public:
  virtual ~Executor() = default;

  /// Queues `task` and returns at once; the task never runs inside this call. May be called on any thread.
  /// Tasks start in the order in which they were posted. What a task throws is caught and told on the
  /// console, and the next task runs all the same.
  /// @param task must hold work; it is destroyed where it has run
  virtual void post(Task task) = 0;
};

/// Tells the console what `where` has thrown. To be called inside a catch block. Any thread.
ORV_EXPORT void reportException(const char* where) noexcept;

/// Runs `function` and keeps what it throws from going further: it is logged to the console, after `where`.
/// For host code that is called from inside the library. Any thread.
/// @param where what is called, for the line on the console, for example "completion callback"
/// @param function called once, without arguments, on the calling thread; what it returns is dropped
template <std::invocable Function>
void runGuarded(const char* where, Function&& function) noexcept {
  try {
    function();
  } catch (...) {
    reportException(where);
  }
}

}  // namespace orv
