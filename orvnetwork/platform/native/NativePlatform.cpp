#include "orvnetwork/platform/native/NativePlatform.h"

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/NativeSettings.h>
#include <orvnetwork/platform/native/files/NativeDirectories.h>
#include <orvnetwork/platform/native/files/NativeFileSystem.h>
#include <orvnetwork/platform/native/network/NativeReachability.h>
#include <orvnetwork/platform/native/system/SystemRandom.h>
#include <orvnetwork/platform/native/threads/NativeBackgroundDrain.h>
#include <orvnetwork/platform/native/threads/NativeDelayService.h>
#include <orvnetwork/platform/native/threads/NativeMainQueue.h>
#include <orvnetwork/platform/native/threads/WorkerPool.h>
#include <orvnetwork/platform/native/websocket/FailedWebSocket.h>
#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>
#include <orvnetwork/platform/native/zones/NativeTimeZones.h>

#include <chrono>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <system_error>

namespace orv {

namespace {

class NativeClock final : public Clock {
 public:
  WallTime wallNow() const override { return std::chrono::system_clock::now(); }
  SteadyTime steadyNow() const override { return std::chrono::steady_clock::now(); }
};

class NativePlatform final : public Platform {
 public:
  Clock& clock() override { return clock_; }
  MainQueue& mainQueue() override { return mainQueue_; }
  Executor& globalQueue() override { return workers_; }
  DelayService& delays() override { return delays_; }
  FileSystem& files() override { return files_; }
  Directories& directories() override { return directories_; }
  std::uint32_t random() override { return systemRandom(); }
  std::string localeName() override { return nativeLocaleName(); }
  TimeZonePtr timeZone() override { return NativeTimeZones::instance().inUse(&Console::write); }

  Reachability& reachability() override {
    std::call_once(reachabilityMade_, [this] { reachability_ = makeNativeReachability(mainQueue_); });
    return *reachability_;
  }
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request) override {
    try {
      return makeNativeWebSocket(std::move(request), mainQueue_);
    } catch (const std::system_error& error) {
      return makeFailedWebSocket(mainQueue_,
                                 {websocket_error::kSystemDomain, error.code().value(), error.what()});
    } catch (const std::exception& error) {
      return makeFailedWebSocket(mainQueue_, {"OrvWebSocket", 0, error.what()});
    }
  }
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override {
    return std::make_unique<NativeBackgroundDrain>(std::move(drain));
  }

 private:
  NativeClock clock_;
  NativeMainQueue mainQueue_;
  WorkerPool workers_;
  NativeDelayService delays_;
  NativeFileSystem files_;
  NativeDirectories directories_;
  std::once_flag reachabilityMade_;
  std::unique_ptr<Reachability> reachability_;
};

}  // namespace

std::unique_ptr<Platform> makeNativePlatform() {
  return std::make_unique<NativePlatform>();
}

}  // namespace orv
