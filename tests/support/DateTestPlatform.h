#pragma once

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/TimeZones.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace orv::test {

/// A platform with a clock that stands still until it is set, a locale and a time zone of the test's choice, and
/// nothing else. Unlike the simulated one it may be used on several threads at a time.
class DateTestPlatform final : public Platform, private Clock {
 public:
  /// Puts a new one in place; to be called once, at the beginning of a test.
  static DateTestPlatform& install(std::string locale = "en_US", const std::string& zone = "UTC") {
    auto platform = std::make_unique<DateTestPlatform>();
    DateTestPlatform& result = *platform;
    result.setUser(std::move(locale), zone);
    if (!Platform::install(std::move(platform))) std::abort();
    return result;
  }

  /// Sets the clock, in seconds since 1970.
  void setNow(Seconds since1970) {
    // In two parts: a double has too few digits for the nanoseconds of today.
    const auto whole = std::chrono::floor<std::chrono::seconds>(since1970);
    now_ = std::chrono::nanoseconds(whole).count() +
           std::chrono::round<std::chrono::nanoseconds>(since1970 - whole).count();
  }
  void setUser(std::string locale, const std::string& zone) {
    TimeZonePtr found = timeZoneNamed(zone);
    const std::lock_guard lock(mutex_);
    locale_ = std::move(locale);
    zone_ = std::move(found);
  }
  void setLocale(std::string locale) { setUser(std::move(locale), timeZoneName()); }
  void setZone(const std::string& zone) { setUser(localeName(), zone); }

  Clock& clock() override { return *this; }
  std::string localeName() override {
    const std::lock_guard lock(mutex_);
    return locale_;
  }
  TimeZonePtr timeZone() override {
    const std::lock_guard lock(mutex_);
    return zone_;
  }

  MainQueue& mainQueue() override { std::abort(); }
  Executor& globalQueue() override { std::abort(); }
  DelayService& delays() override { std::abort(); }
  Reachability& reachability() override { std::abort(); }
  FileSystem& files() override { std::abort(); }
  Directories& directories() override { std::abort(); }
  std::uint32_t random() override { std::abort(); }
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest) override { std::abort(); }
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()>) override { std::abort(); }

 private:
  WallTime wallNow() const override { return WallTime(std::chrono::nanoseconds(now_)); }
  SteadyTime steadyNow() const override { std::abort(); }

  std::atomic<std::int64_t> now_{1'706'690'702'000'000'000};  // 2024-01-31 08:45:02 UTC
  std::mutex mutex_;
  std::string locale_;
  TimeZonePtr zone_;
};

}  // namespace orv::test
