#pragma once

#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <boost/json/object.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// How long to wait for what should come at once.
inline constexpr std::chrono::seconds kLivePatience{60};

/// The link on the real platform, with everything that it posts written down. The test's thread is the main
/// thread; nothing runs on it but inside `pumpUntil` and what uses that.
class LiveLinkTest : public ::testing::Test {
 protected:
  using Strings = std::vector<std::string>;

  struct Posted {
    std::string name;
    const void* object = nullptr;
    /// As JSON text; empty when the notification carried nothing.
    std::string userInfo;
  };

  LiveLinkTest();
  ~LiveLinkTest() override;

  /// Makes the calling thread the main thread and points the link to a server.
  void configure(const std::string& url);
  /// Points the link to a server and starts to follow the network's state, which opens it.
  void start(const std::string& url);
  /// The same, and waits until the link is up. What was written down so far is forgotten.
  void bringUp(const std::string& url);

  /// Runs the main queue until the condition holds; false when it does not within the time.
  bool pumpUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience = kLivePatience);
  /// Waits until the library would not ignore a `reconnect` as one that comes too soon after the last.
  bool waitForReconnectPause();
  bool waitUntilOpen();
  /// Waits until a notification has been posted so many times.
  bool waitForPosted(std::string_view name, std::size_t times = 1);
  /// Waits until the link is up again after it was lost.
  bool waitUntilReopened() { return waitForPosted(QXNotificationDidOpen) && waitUntilOpen(); }

  /// A request whose identifier is none that one before it had (see `DistinctIdentifiers`).
  std::shared_ptr<QXRequestItem> makeRequest(const std::string& command,
                                             const std::optional<json::object>& values,
                                             const CompleteBlock& completed, const TimeoutBlock& timedOut);
  /// Sends such a request, whose outcome is written down as "COMMAND ok", "COMMAND refused" or "COMMAND timeout".
  std::shared_ptr<QXRequestItem> send(const std::string& command,
                                      const std::optional<json::object>& values = json::object());
  CompleteBlock completion(const std::string& command);
  TimeoutBlock timeout(const std::string& command);
  /// Waits until so many outcomes have been written down.
  bool waitForOutcomes(std::size_t count);
  /// Sends a request and waits for its reply; fails the test when there is none.
  json::object ask(const std::string& command, json::object values = {});
  /// Whether an echo of the server comes back as it was sent.
  bool echoes();

  Strings names() const;
  std::size_t count(std::string_view name) const;
  /// The user information of the last notification of this name.
  std::string lastUserInfo(std::string_view name) const;

  /// The lines of the log without their stamps; what was logged before the call is in it.
  Strings logLines();
  std::size_t countLogged(std::string_view start);

  QXWebSocketMgr& link = QXWebSocketMgr::standard();
  std::vector<Posted> notifications;
  Strings outcomes;
  json::object lastReply;

 private:
  ObserverToken observer_;
};

}  // namespace orv::test
