// The link on real sockets while all goes well: it comes up, asks, is answered, and gets pushes.

#include <orvnetwork/api/QXAPIHelper.h>

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::link_life_test {
namespace {

using test::kLivePatience;

class LinkLife : public test::LiveLinkTest {
 protected:
  void SetUp() override { server.start(); }

  void logIn(const char* password = "classroom") {
    const std::size_t before = outcomes.size();
    QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock("13800000001", password,
                                                                     completion("login"), timeout("login"));
    ASSERT_TRUE(waitForOutcomes(before + 1));
  }
  void takeUpSession(const std::string& uID, const std::string& token) {
    QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock(uID, token, completion("session"),
                                                                   timeout("session"));
  }
  std::string replied(const char* key) const {
    return std::string(lastReply.at("v").at("data").at(key).as_string().c_str());
  }
  std::int64_t code() const { return lastReply.at("v").at("ret").as_int64(); }

  /// The commands that the server received, oldest first.
  Strings receivedCommands(std::string_view prefix) const {
    Strings commands;
    for (const auto& frame : server.receivedFrames()) {
      if (frame.text == "PING") continue;
      const std::string command(json::parse(frame.text).at("c").as_string().c_str());
      if (command.starts_with(prefix)) commands.push_back(command);
    }
    return commands;
  }

  DevServer server;
};

TEST_F(LinkLife, ComesUpByFollowingTheNetworkAndIsConfirmedByPong) {
  EXPECT_TRUE(link.isClosed());
  start(server.url());
  ASSERT_TRUE(waitUntilOpen());
  EXPECT_EQ(names(), (Strings{"QXNotificationReachabilityStatusChange", "QXNotificationDidOpen"}));
  EXPECT_EQ(notifications[0].userInfo, R"({"WNNetworkNotificationKey_Status":2})");
  EXPECT_EQ(notifications[1].userInfo, "");
  EXPECT_EQ(notifications[1].object, &link);
  EXPECT_EQ(server.receivedFrames().at(0).text, "PING");
  EXPECT_FALSE(link.isAutoReconnecting());
  EXPECT_EQ(logLines(), (Strings{"Network status change: 2", "auto reconnect, retry times: 0",
                                 "Websocket Connected", "Recieve PONG form server, connect server success"}));
}

TEST_F(LinkLife, IsNotOpenBeforeTheServerHasAnsweredPong) {
  server.faults().setPingAnswer(std::nullopt);
  start(server.url());
  ASSERT_TRUE(pumpUntil([&] { return server.counters().pings == 1; }));
  EXPECT_FALSE(link.isOpen());
  EXPECT_FALSE(link.isClosed());
  send("Dev.Echo");
  EXPECT_EQ(outcomes, Strings{"Dev.Echo timeout"}) << "before the answer the link counts as closed";
  EXPECT_EQ(server.sendText("PONG"), 1u);
  EXPECT_TRUE(waitUntilOpen());
  EXPECT_TRUE(echoes());
}

TEST_F(LinkLife, LogsInTakesUpTheSessionAsksAndLogsOut) {
  bringUp(server.url());
  logIn("not the password");
  EXPECT_EQ(outcomes.back(), "login refused");
  EXPECT_NE(code(), 0);
  logIn();
  EXPECT_EQ(outcomes.back(), "login ok");
  const std::string uID = replied("uID"), token = replied("token");
  EXPECT_FALSE(token.empty());
  EXPECT_TRUE(echoes());

  server.expireSessions();
  takeUpSession(uID, token);
  ASSERT_TRUE(waitForOutcomes(4));
  EXPECT_EQ(outcomes.back(), "session ok");
  EXPECT_EQ(replied("uID"), uID);

  QXAPIHelper::logoutWithCompleteBlock_timeoutBlock(completion("logout"), timeout("logout"));
  ASSERT_TRUE(waitForOutcomes(5));
  EXPECT_EQ(outcomes.back(), "logout ok");

  takeUpSession(uID, token);
  ASSERT_TRUE(waitForOutcomes(6));
  EXPECT_EQ(outcomes.back(), "session refused") << "the token went with the log-out";
  EXPECT_EQ(code(), 2);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
}

TEST_F(LinkLife, ClosesOnPurposeWithoutAWord) {
  bringUp(server.url());
  link.close();
  EXPECT_TRUE(link.isClosed());
  EXPECT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, kLivePatience));
  ASSERT_TRUE(waitForReconnectPause());
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(server.counters().opened, 1u) << "nothing reconnects by itself";
  link.reconnect();
  EXPECT_TRUE(waitUntilOpen());
}

TEST_F(LinkLife, PostsEachPushAsItsNotificationInOrder) {
  bringUp(server.url());
  const json::object values{{"type", "message"}, {"text", "同学们好"}};
  for (const char* command : {"Rooms.Push.Message", "User.OtherDevice.Login", "User.OtherDevice.Logout",
                              "System.Upload.Log", "Rooms.Push.Message"}) {
    EXPECT_EQ(server.push(command, values), 1u);
  }
  ASSERT_TRUE(waitForPosted(QXNotificationPushOrvMessage, 2));
  EXPECT_EQ(names(), (Strings{"QXNotificationPushOrvMessage", "QXNotificationLogoutByOtherUser",
                              "QXNotificationSystemUploadLog", "QXNotificationPushOrvMessage"}))
      << "a log-in elsewhere is dropped";
  const json::object frame = json::parse(notifications[1].userInfo).as_object();
  EXPECT_EQ(frame.at("C").as_string(), "User.OtherDevice.Logout");
  EXPECT_EQ(frame.at("v").as_object(), values);
  EXPECT_TRUE(frame.contains("s"));
  for (const auto& posted : notifications) EXPECT_EQ(posted.object, &link);
  EXPECT_EQ(countLogged("### WebSocket Timeout ###"), 0u);
}

TEST_F(LinkLife, SendsParkedRequestsAgainInOrderOnceThereIsASession) {
  bringUp(server.url());
  logIn();
  const std::string uID = replied("uID"), token = replied("token");
  server.expireSessions();
  const Strings parked{"Course.Get.Coming", "Course.User.Mycourse", "Course.Get.Income",
                       "Course.Replay.Courselist"};
  std::vector<std::shared_ptr<QXRequestItem>> items;
  for (const auto& command : parked) items.push_back(send(command));
  ASSERT_TRUE(pumpUntil([&] { return link.parkedRequestCount() == parked.size(); }));
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  EXPECT_EQ(outcomes, Strings{"login ok"}) << "held, not failed";
  EXPECT_EQ(countLogged("请求异常"), parked.size());

  server.clearReceivedFrames();
  takeUpSession(uID, token);
  ASSERT_TRUE(waitForOutcomes(6));
  EXPECT_EQ(outcomes, (Strings{"login ok", "session ok", "Course.Get.Coming ok", "Course.User.Mycourse ok",
                               "Course.Get.Income ok", "Course.Replay.Courselist ok"}));
  EXPECT_EQ(receivedCommands("Course."), parked);
  std::size_t same = 0;
  for (const auto& frame : server.receivedFrames()) {
    same += static_cast<std::size_t>(
        std::ranges::count_if(items, [&](const auto& item) { return item->jsonString == frame.text; }));
  }
  EXPECT_EQ(same, parked.size()) << "the same requests, to the letter";
  EXPECT_EQ(link.parkedRequestCount(), 0u);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
}

TEST_F(LinkLife, KeepsTheOrderOfAThousandRequestsAndTheirReplies) {
  bringUp(server.url());
  Strings commands, expected;
  for (int i = 0; i < 1000; ++i) {
    commands.push_back("Dev.Echo" + std::to_string(i));
    expected.push_back(commands.back() + " ok");
    send(commands.back());
  }
  ASSERT_TRUE(waitForOutcomes(1000));
  EXPECT_EQ(outcomes, expected);
  EXPECT_EQ(receivedCommands("Dev."), commands);
}

TEST_F(LinkLife, TellsAProtocolPong) {
  bringUp(server.url());
  link.sendPing();
  ASSERT_TRUE(waitForPosted(QXNotificationDidReceivePong));
  EXPECT_EQ(names(), Strings{"QXNotificationDidReceivePong"});
}

TEST_F(LinkLife, CarriesMessagesOfSixteenMegabytesBothWays) {
  bringUp(server.url());
  const std::string large(std::size_t{16} << 20, 'x');
  const json::object reply = ask("Dev.Echo", {{"text", large}});
  ASSERT_EQ(outcomes, Strings{"Dev.Echo ok"});
  EXPECT_TRUE(reply.at("v").at("data").at("values").at("text").as_string() == large);
  EXPECT_TRUE(echoes());
}

}  // namespace
}  // namespace orv::link_life_test
