#include "orvnetwork/platform/native/threads/NativeBackgroundDrain.h"

#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/native/threads/ServiceThread.h>
#include <orvnetwork/platform/native/threads/WordWait.h>

#include <unistd.h>

#include <system_error>

namespace orv {

NativeBackgroundDrain::NativeBackgroundDrain(std::function<void()> drain, Pace pace)
    : drain_(std::move(drain)), pace_(pace), process_(::getpid()) {
  try {
    thread_ = startServiceThread("orv-drain", [this] { loop(); });
  } catch (const std::system_error&) {
    // No thread to be had: the work waits for `runNow`.
  }
}

NativeBackgroundDrain::~NativeBackgroundDrain() {
  ending_.store(true);
  nudge();
  if (thread_.joinable()) thread_.join();
}

void NativeBackgroundDrain::nudge() {
  // An exchange and not a look first: it makes what the caller has done visible to the thread that clears the
  // word, or else leaves the word set for the thread's next look.
  if (state_.exchange(Work, std::memory_order_acq_rel) == Asleep) wakeOne(state_);
}

void NativeBackgroundDrain::runNow() {
  if (::getpid() != process_ || runner_.load() == std::this_thread::get_id()) return;
  run();
}

void NativeBackgroundDrain::run() {
  const std::lock_guard lock(runs_);
  runner_.store(std::this_thread::get_id());
  runGuarded("background drain", [this] { drain_(); });
  runner_.store(std::thread::id());
}

void NativeBackgroundDrain::loop() {
  int looksInVain = 0;
  while (!ending_.load()) {
    const auto begin = std::chrono::steady_clock::now();
    std::uint32_t state = Work;
    if (state_.compare_exchange_strong(state, Idle, std::memory_order_acq_rel)) {
      looksInVain = 0;
      run();
    } else if (++looksInVain >= pace_.looksInVain) {
      looksInVain = 0;
      sleepUntilNudged();
      continue;
    }
    std::this_thread::sleep_until(begin + pace_.betweenLooks);
  }
}

void NativeBackgroundDrain::sleepUntilNudged() {
  std::uint32_t state = Idle;
  if (!state_.compare_exchange_strong(state, Asleep, std::memory_order_acq_rel)) return;
  while (state_.load(std::memory_order_acquire) == Asleep) waitWhile(state_, Asleep);
}

}  // namespace orv
