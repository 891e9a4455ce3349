#pragma once

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/native/NativePlatform.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace orv::test {

/// The operating system with clocks that run faster: on real sockets what takes ten seconds takes one. Who waits by these
/// clocks waits for the same time as ever, so everything keeps its order.
class HurriedPlatform final : public Platform, private Clock, private DelayService {
 public:
  /// How many times as fast.
  static constexpr int kPace = 10;

  /// Puts one in place, first thing in a test. A test that comes too late is aborted.
  static HurriedPlatform& install() {
    auto made = std::make_unique<HurriedPlatform>();
    HurriedPlatform& platform = *made;
    if (!Platform::install(std::move(made))) std::abort();
    return platform;
  }

  /// From now on the date stands still and chance gives this number: all that is drawn at random or from the date is equal.
  void setEqualDraws(std::uint32_t number) {
    date_ = wallNow().time_since_epoch().count();
    draw_ = number;
    isEqual_ = true;
  }

  Clock& clock() override { return *this; }
  MainQueue& mainQueue() override { return inner_->mainQueue(); }
  Executor& globalQueue() override { return inner_->globalQueue(); }
  DelayService& delays() override { return *this; }
  Reachability& reachability() override { return inner_->reachability(); }
  FileSystem& files() override { return inner_->files(); }
  Directories& directories() override { return inner_->directories(); }
  std::uint32_t random() override { return isEqual_ ? draw_.load() : inner_->random(); }
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request) override {
    return inner_->makeWebSocket(std::move(request));
  }
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override {
    return inner_->makeBackgroundDrain(std::move(drain));
  }
  std::string localeName() override { return inner_->localeName(); }
  TimeZonePtr timeZone() override { return inner_->timeZone(); }

 private:
  WallTime wallNow() const override {
    if (isEqual_) return WallTime(WallTime::duration(date_));
    return wallBegin_ + (steadyNow() - begin_);
  }
  SteadyTime steadyNow() const override { return begin_ + (inner_->clock().steadyNow() - begin_) * kPace; }
  Handle runAt(SteadyTime when, Executor& executor, Task task) override {
    // Rounded up: never before its time.
    const auto real = (when - begin_) / kPace + SteadyTime::duration(1);
    return inner_->delays().runAt(begin_ + real, executor, std::move(task));
  }
  void cancel(Handle handle) override { inner_->delays().cancel(handle); }

  const std::unique_ptr<Platform> inner_ = makeNativePlatform();
  const SteadyTime begin_ = inner_->clock().steadyNow();
  const WallTime wallBegin_ = inner_->clock().wallNow();
  std::atomic<WallTime::rep> date_ = 0;
  std::atomic<std::uint32_t> draw_ = 0;
  std::atomic<bool> isEqual_ = false;
};

}  // namespace orv::test
