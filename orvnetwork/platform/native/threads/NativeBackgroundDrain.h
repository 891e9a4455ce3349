#pragma once

#include <orvnetwork/platform/BackgroundDrain.h>

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace orv {

/// Runs a function on one thread of its own. While work keeps coming the thread looks for it every
/// millisecond, and reporting work is a single atomic exchange. After some looks in vain it sleeps in the
/// kernel, and the next report wakes it.
class NativeBackgroundDrain final : public BackgroundDrain {
 public:
  /// A wake-up costs the reporter some microseconds, and a look takes the processor about 15. So the first
  /// comes at most ten times a second, and the second uses less than a fiftieth of a processor.
  struct Pace {
    std::chrono::nanoseconds betweenLooks = std::chrono::milliseconds(1);
    int looksInVain = 100;
  };

  explicit NativeBackgroundDrain(std::function<void()> drain) : NativeBackgroundDrain(std::move(drain), {}) {}
  NativeBackgroundDrain(std::function<void()> drain, Pace pace);
  /// Waits for a run that is under way; work reported since is not done.
  ~NativeBackgroundDrain() override;

  void nudge() override;
  /// In a child process made by `fork` it does nothing: the work belongs to the parent, which does it. Called
  /// from inside the function it does nothing either.
  void runNow() override;

  /// Whether the thread has gone to sleep, so that the next report has to wake it. Any thread.
  bool isAsleep() const { return state_.load(std::memory_order_relaxed) == Asleep; }

 private:
  enum State : std::uint32_t { Idle, Work, Asleep };

  void loop();
  void run();
  void sleepUntilNudged();

  const std::function<void()> drain_;
  const Pace pace_;
  const pid_t process_;
  std::atomic<std::uint32_t> state_{Idle};
  std::atomic<bool> ending_{false};
  std::mutex runs_;
  std::atomic<std::thread::id> runner_{};
  std::thread thread_;
};

}  // namespace orv
