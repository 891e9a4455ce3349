#include "orvnetwork/platform/native/network/NativeReachability.h"

#include <orvnetwork/data/Url.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/ThisMachine.h>
#include <orvnetwork/platform/native/network/NetworkWatcher.h>
#include <orvnetwork/platform/native/network/ReachabilitySubscription.h>
#include <orvnetwork/platform/native/threads/ServiceThread.h>

#include <cerrno>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace orv {

namespace {

class NativeReachability final : public Reachability {
 public:
  NativeReachability(Executor& mainQueue, NativeReachabilityOptions options)
      : mainQueue_(mainQueue), watcher_(mainQueue, std::move(options), subscription_) {}

  ~NativeReachability() override {
    subscription_->stop();
    watcher_.stop();
    if (thread_.joinable()) thread_.join();
  }

  void setServer(const OptionalString& url) override {
    const auto parts = url ? parseUrl(*url) : std::nullopt;
    subscription_->setServerIsOnThisMachine(parts && isThisMachine(parts->server.host));
  }

  void startMonitoring(Callback callback) override {
    letGo(subscription_->start(std::move(callback)));
    const std::lock_guard lock(threadMutex_);
    const int error = thread_.joinable() ? 0 : startThread();
    if (error == 0) return watcher_.wake();
    watcher_.reportUnknown(subscription_->monitoredPeriod(), "no thread to watch the network", error);
  }

  void stopMonitoring() override {
    letGo(subscription_->stop());
    watcher_.wake();
  }

 private:
  /// What a callback holds may belong to the main thread, on which it was called.
  void letGo(ReachabilitySubscription::SharedCallback callback) {
    if (callback && !MainQueue::instance().isCurrent()) mainQueue_.post([left = std::move(callback)] {});
  }

  /// Returns 0 or the number of the error.
  int startThread() {
    if (!watcher_.isUsable()) return EMFILE;
    try {
      thread_ = startServiceThread("orv-network", [this] { watcher_.run(); });
      return 0;
    } catch (const std::system_error& error) {
      return error.code().value();
    }
  }

  Executor& mainQueue_;
  const std::shared_ptr<ReachabilitySubscription> subscription_ =
      std::make_shared<ReachabilitySubscription>();
  NetworkWatcher watcher_;
  std::mutex threadMutex_;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<Reachability> makeNativeReachability(Executor& mainQueue, NativeReachabilityOptions options) {
  return std::make_unique<NativeReachability>(mainQueue, std::move(options));
}

}  // namespace orv
