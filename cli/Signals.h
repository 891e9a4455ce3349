#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace orv::cli {

/// Listens for SIGINT, SIGTERM and SIGHUP as long as it lives. To be made before any other thread.
class Signals {
 public:
  /// `interrupted` is called with the signal's number on a thread of this object at the first signal; a second one ends the
  /// program at once.
  explicit Signals(std::function<void(int number)> interrupted);
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  /// The first signal has been dealt with: the next one counts as the first. Any thread.
  void forget() { first_ = true; }
  /// What is to be put right before a second signal ends the program; null for nothing. It is called on the thread of
  /// this object. Any thread.
  static void beforeAbruptEnd(void (*putRight)());

 private:
  void listen();

  std::function<void(int)> interrupted_;
  std::atomic<bool> first_{true};
  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace orv::cli
