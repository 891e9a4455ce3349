#pragma once

#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/native/network/Debounce.h>
#include <orvnetwork/platform/native/network/NativeReachabilityOptions.h>
#include <orvnetwork/platform/native/network/NetlinkSocket.h>
#include <orvnetwork/platform/native/network/ReachabilitySubscription.h>
#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <atomic>
#include <memory>
#include <optional>

namespace orv {

/// Watches what the kernel announces about links and routes, and queues a report on the main queue after each
/// burst of announcements for as long as the subscription wants them. A network that it cannot watch, as when all
/// descriptors are in use, is reported as `reportUnknown` says, once, and tried again from time to time.
class NetworkWatcher {
 public:
  NetworkWatcher(Executor& mainQueue, NativeReachabilityOptions options,
                 std::shared_ptr<ReachabilitySubscription> subscription);

  /// Whether `run` can work; false when the system had no descriptor left to wake it with.
  bool isUsable() const { return static_cast<bool>(wakeUp_); }

  /// Watches until `stop`, on the thread that calls this.
  void run();

  /// Makes `run` return soon, also when it is called later. Any thread.
  void stop();

  /// Makes `run` look at the subscription again. Any thread.
  void wake();

  /// Queues the report for a network that nothing can be found out about: better a vain attempt to connect
  /// than none, so it counts as reachable. Tells the console why. Any thread.
  void reportUnknown(ReachabilitySubscription::Period period, const char* why, int error);

 private:
  using Period = ReachabilitySubscription::Period;

  void waitUntilWoken(int milliseconds);
  void forgetWaking();
  bool isWanted(Period period) const;
  void watch(Period period);
  bool waitForNews(NetlinkSocket& announcements, Debounce& debounce);
  bool takeAnnouncements(NetlinkSocket& announcements, Debounce& debounce);
  void lookAndReport(Period period, Debounce& debounce);
  void reportBlindness(Period period, const char* why, int error);
  void report(Period period, NetworkFacts facts);

  Executor& mainQueue_;
  const NativeReachabilityOptions options_;
  const std::shared_ptr<ReachabilitySubscription> subscription_;
  const FileDescriptor wakeUp_;
  std::atomic<bool> stopping_ = false;

  // Of the thread that watches: the period for which it was reported that nothing is to be seen, if nothing was seen since;
  // and when it looks again without news.
  Period blindIn_ = 0;
  std::optional<Debounce::Clock::time_point> lookAgainAt_;
};

}  // namespace orv
