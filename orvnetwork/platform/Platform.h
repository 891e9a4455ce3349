#pragma once

#include <orvnetwork/data/TimeZone.h>
#include <orvnetwork/platform/BackgroundDrain.h>
#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/platform/Directories.h>
#include <orvnetwork/platform/FileSystem.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Reachability.h>
#include <orvnetwork/platform/WebSocket.h>

#include <functional>
#include <memory>
#include <string>

namespace orv {

/// Everything that the library takes from the operating system. Above this interface nothing creates a
/// thread, reads a clock, opens a socket or touches a file by itself, so a whole life of the library can run
/// on a simulated platform in virtual time.
///
/// Hosts seldom need it: what they do with the library goes through it anyway. Their tests put
/// `testing::SimulatedPlatform` in its place, first thing in `main` or in the test:
///
///     testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
class ORV_EXPORT Platform {
 public:
  /// The platform in use: the one installed, else the operating system's, made on first use. Any thread.
  static Platform& current();

  /// Puts another platform in place. Must be called before anything else of the library is used; false, and
  /// no effect, when a platform is in use already. An installed platform is never destroyed. Any thread.
  static bool install(std::unique_ptr<Platform> platform);

  virtual ~Platform() = default;

  /// The services, each one object for the life of the platform. Any thread.
  virtual Clock& clock() = 0;
  /// The queue of the host's main thread.
  virtual MainQueue& mainQueue() = 0;
  /// The worker pool: tasks start in the order posted and run at the same time where there are threads.
  virtual Executor& globalQueue() = 0;
  /// Runs tasks later; `Timer` is what most of the library uses of it.
  virtual DelayService& delays() = 0;
  /// Whether there is a network. One watcher: monitoring it again replaces who is told of it.
  virtual Reachability& reachability() = 0;
  /// The disk; every file that the library keeps is read and written through it.
  virtual FileSystem& files() = 0;
  /// Where the user's folders are.
  virtual Directories& directories() = 0;

  /// 32 bits from a source that is not seeded by the program. Any thread.
  virtual std::uint32_t random() = 0;
  /// A socket that is not open yet; never null and never an exception: one that cannot be made for want of
  /// descriptors or threads fails after its `open()`. Any thread.
  virtual std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request) = 0;
  /// A drain that calls `drain` on a thread of its own. Any thread.
  /// @param drain called by that thread alone, or inside `runNow`, and never twice at once
  virtual std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) = 0;

  /// The user's locale, read at each call, for example "zh_CN" or "sr_Latn_RS". "C" and "POSIX" are told as
  /// "en_US_POSIX".
  virtual std::string localeName() = 0;

  /// The user's time zone, read at each call: all local times of the library come from its rules. Never null; the same
  /// object for as long as it stays the same zone with the same rules.
  virtual TimeZonePtr timeZone() = 0;
  /// Its name, for example "Asia/Shanghai".
  std::string timeZoneName() { return timeZone()->name; }
};

}  // namespace orv
