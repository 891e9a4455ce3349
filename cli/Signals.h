#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace orv::cli {

/// Listens for SIGINT, SIGTERM and SIGHUP as long as it lives. To be made before any other thread.
class Signals {
 public:
  /// `interrupted` is called on a thread of this object at the first signal; a second one ends the program at
  /// once.
  explicit Signals(std::function<void()> interrupted);
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

 private:
  void listen();

  std::function<void()> interrupted_;
  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace orv::cli
