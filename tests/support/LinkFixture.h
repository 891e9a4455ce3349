#pragma once

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/Environment.h>

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv {

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

  LinkFixture() {
    Console::setSink([this](std::string_view line) { console.emplace_back(line); });
    link.setApiServerUrl("wss://classroom.test/link");
    link.setGlobalUUID("uuid-1");
    link.setAppVersion("2.3.1");
    link.setAppBuildVersion("57");
    observer_ = NotificationCenter::defaultCenter().observe(std::nullopt, [this](const Notification& posted) {
      EXPECT_TRUE(platform.mainQueue().isCurrent()) << posted.name << " was posted off the main thread";
      notifications.push_back({std::string(posted.name), posted.object,
                               posted.userInfo ? std::optional(*posted.userInfo) : std::nullopt, now()});
    });
  }
  ~LinkFixture() override { Console::setSink(nullptr); }

  double now() const { return platform.elapsed().count(); }
  void runFor(double seconds) { platform.runFor(Seconds(seconds)); }
  void settle() { platform.settle(); }

  /// Reports a reachable network and lets the link come up.
  void bringUp() {
    link.watchNetworkStatus();
    settle();
    ASSERT_TRUE(link.isOpen());
    notifications.clear();
    server.clearRecords();
  }

  std::shared_ptr<QXRequestItem> makeItem(std::string command,
                                          std::optional<json::object> values = json::object()) {
    return QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
        command, std::move(values),
        [this, command](const auto& item, bool success, const json::object& reply) {
          EXPECT_TRUE(platform.mainQueue().isCurrent());
          EXPECT_TRUE(item);
          outcomes.push_back(command + (success ? " ok" : " refused"));
          lastReply = reply;
        },
        [this, command](const auto& item) {
          EXPECT_TRUE(item);
          outcomes.push_back(command + " timeout");
        });
  }
  /// Sends a request whose outcome is written down as "COMMAND ok", "COMMAND refused" or "COMMAND timeout".
  std::shared_ptr<QXRequestItem> send(const std::string& command,
                                      std::optional<json::object> values = json::object()) {
    auto item = makeItem(command, std::move(values));
    link.sendRequestItem(item);
    return item;
  }
  /// Answers a request that was sent.
  void answer(const std::shared_ptr<QXRequestItem>& item, json::object values) {
    server.send(server.latest(), json::serialize(json::object{{"C", *item->command},
                                                              {"s", std::to_string(item->timestamp)},
                                                              {"v", std::move(values)}}));
  }
  /// Lets the server answer every request with these values.
  void answerAll(json::object values) {
    server.onRequest(
        [this, values = std::move(values)](testing::ConnectionId connection, const json::object& frame) {
          server.reply(connection, frame, values);
        });
  }

  Strings names() const {
    Strings all;
    for (const auto& posted : notifications) all.push_back(posted.name);
    return all;
  }
  std::size_t count(std::string_view name) const {
    std::size_t times = 0;
    for (const auto& posted : notifications) times += posted.name == name ? 1 : 0;
    return times;
  }
  /// The lines of the log without their time stamps. Lines that a message itself holds stand by themselves.
  Strings logLines() {
    settle();
    const auto path = QXFileLog::standard().logFilePath();
    std::error_code error;
    const auto text = platform.files().read(path.value(), error).value_or("");
    Strings lines;
    for (std::size_t begin = 0; begin < text.size();) {
      const auto end = text.find('\n', begin);
      auto line = text.substr(begin, end - begin);
      if (line.size() > 26 && line.substr(23, 3) == " - ") line = line.substr(26);
      lines.push_back(line);
      begin = end + 1;
    }
    return lines;
  }
  std::size_t countLogged(std::string_view line) {
    std::size_t times = 0;
    for (const auto& logged : logLines()) times += logged == line ? 1 : 0;
    return times;
  }
  std::size_t countLoggedStart(std::string_view start) {
    std::size_t times = 0;
    for (const auto& logged : logLines()) times += logged.starts_with(start) ? 1 : 0;
    return times;
  }
  /// The times at which sockets were made.
  std::vector<double> attempts() const {
    std::vector<double> times;
    for (const auto& socket : platform.network().sockets()) {
      times.push_back(Seconds(socket.madeAt - firstMoment_).count());
    }
    return times;
  }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install(seed());
  testing::SimulatedServer& server = platform.server();
  QXWebSocketMgr& link = QXWebSocketMgr::standard();
  std::vector<Posted> notifications;
  Strings console;
  Strings outcomes;
  json::object lastReply;

 private:
  static std::uint64_t seed() { return test::numberFromEnvironment("ORV_TEST_SEED", 1); }
  const SteadyTime firstMoment_ = platform.clock().steadyNow();
  ObserverToken observer_;
};

}  // namespace orv
