#pragma once

#include <orvnetwork/platform/Executor.h>

#include <functional>
#include <type_traits>
#include <utility>

namespace orv {

/// The queue of the thread that the host calls main. Every callback and every notification of the library
/// runs on it, one after another, in the order posted.
///
/// A host lends its main thread in one of three ways:
///  - a program without a loop of its own calls `run()`;
///  - a program with a loop watches `wakeUpDescriptor()` for reading and calls `drain()` when it is readable;
///  - a program whose loop takes closures installs a waker that makes the loop call `drain()`.
///
/// The first thread that calls `run()`, `drain()` or `claim()` is the main thread for good.
class ORV_EXPORT MainQueue : public Executor {
 public:
  /// The main queue of the platform in use. Any thread.
  static MainQueue& instance();

  /// Makes the calling thread the main thread without running anything.
  virtual void claim() = 0;

  /// Whether the calling thread is the main thread. False on every thread while none has been named.
  virtual bool isCurrent() const = 0;

  /// Runs tasks as they come until `stop()` is called. Main thread only; may be nested.
  virtual void run() = 0;

  /// Makes the innermost `run()` return after the task that is running; when none runs, the next one returns at
  /// once. Any thread.
  virtual void stop() = 0;

  /// Runs the tasks that were waiting when it was called and returns how many ran; what they post waits for
  /// the next call, so a task that keeps posting cannot hold up the host's loop. Main thread only. May be
  /// called from inside a task (a modal loop): the tasks that were left over run first.
  virtual std::size_t drain() = 0;

  /// A descriptor that is readable whenever tasks wait that no `run()` is there to take. Watch it level-triggered, for reading
  /// only, and never read from it: `drain()` does, and may find nothing to do. It stays the same for the process. Any thread.
  virtual int wakeUpDescriptor() = 0;

  /// Destroys something on the main thread: at once when it is called there, else behind what waits. For closures
  /// of the host that will not be called any more, since what they hold may belong to the main thread. Any thread.
  template <typename Thing>
  requires(std::is_nothrow_move_constructible_v<Thing> &&
           !std::is_lvalue_reference_v<Thing>) void destroyThere(Thing&& thing) {
    Thing taken = std::move(thing);
    if (!isCurrent()) post([left = std::move(taken)] {});
  }

  /// Installs a function that is called, on any thread, each time that tasks begin to wait: it must arrange
  /// for the host's loop to call `drain()` on the main thread soon, and must not call it itself. An empty
  /// function takes the waker away. When tasks wait already, it is called before this returns. Once this has
  /// returned, the function that was installed before is not called any more; a call that runs on another
  /// thread is waited for.
  virtual void setWaker(std::function<void()> waker) = 0;
};

}  // namespace orv
