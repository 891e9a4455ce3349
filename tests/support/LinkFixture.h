#pragma once

#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class QXWebSocketMgr;

/// The link on the simulated platform, with everything that it posts and logs written down.
class LinkFixture : public ::testing::Test {
 protected:
  using Strings = std::vector<std::string>;

  struct Posted {
    std::string name;
    const void* object;
    std::optional<json::object> userInfo;
    double time;
  };

  LinkFixture();
  ~LinkFixture() override;

  double now() const { return platform.elapsed().count(); }
  void runFor(double seconds) { platform.runFor(Seconds(seconds)); }
  void settle() { platform.settle(); }

  /// Reports a reachable network and lets the link come up.
  void connect();
  /// The same, and forgets what led to it.
  void bringUp();
  /// What the link says of itself, for tests that do not need its header otherwise.
  bool isLinkOpen() const;
  std::size_t outstandingRequests() const;
  std::size_t parkedRequests() const;

  std::shared_ptr<QXRequestItem> makeItem(std::string command,
                                          std::optional<json::object> values = json::object());
  /// Sends a request whose outcome is written down as "COMMAND ok", "COMMAND refused" or "COMMAND timeout".
  std::shared_ptr<QXRequestItem> send(const std::string& command,
                                      std::optional<json::object> values = json::object());
  void sendItem(std::shared_ptr<QXRequestItem> item);
  /// Answers a request that was sent.
  void answer(const std::shared_ptr<QXRequestItem>& item, json::object values);
  /// Lets the server answer every request with these values.
  void answerAll(json::object values);

  /// The notifications that were posted.
  Strings names() const;
  std::size_t count(std::string_view name) const;
  /// The lines of the log without their time stamps. Lines that a message itself holds stand by themselves.
  Strings logLines();
  std::size_t countLogged(std::string_view line);
  std::size_t countLoggedStart(std::string_view start);
  /// The times at which sockets were made.
  std::vector<double> attempts() const;

  testing::SimulatedPlatform& platform;
  testing::SimulatedServer& server;
  QXWebSocketMgr& link;
  std::vector<Posted> notifications;
  Strings console;
  Strings outcomes;
  json::object lastReply;

 private:
  const SteadyTime firstMoment_;
  ObserverToken observer_;
};

}  // namespace orv
