#include "Program.h"
#include <devserver/DevServer.h>

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>

namespace orv::test {
namespace {

namespace json = boost::json;

TEST(Watch, PrintsEachNotificationWhenItIsPosted) {
  DevServer server;
  server.start();
  Program program({"--server", server.url(), "watch"});
  ASSERT_TRUE(program.waitForOutput("QXNotificationDidOpen"));
  server.push("Rooms.Push.Message", {{"data", {{"roomID", 7001}}}});
  ASSERT_TRUE(program.waitForOutput("QXNotificationPushOrvMessage")) << "each line is written at once";
  server.push("User.OtherDevice.Login");
  server.push("System.Upload.Log");
  ASSERT_TRUE(program.waitForOutput("QXNotificationSystemUploadLog"));
  program.signal(SIGTERM);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0);
  ASSERT_EQ(result.lines().size(), 4U) << result.out;
  EXPECT_EQ(
      result.lines()[0],
      R"({"notification":"QXNotificationReachabilityStatusChange","userInfo":{"WNNetworkNotificationKey_Status":2}})");
  EXPECT_EQ(result.lines()[1], R"({"notification":"QXNotificationDidOpen","userInfo":null})");
  const json::object push = result.json(2);
  EXPECT_EQ(push.at("notification"), "QXNotificationPushOrvMessage");
  EXPECT_EQ(push.at("userInfo").at("C"), "Rooms.Push.Message");
  EXPECT_EQ(push.at("userInfo").at("v").at("data").at("roomID"), 7001);
  EXPECT_EQ(result.json(3).at("userInfo").at("C"), "System.Upload.Log");
}

TEST(Watch, EndsAfterItsTime) {
  const Result result = runOrv({"watch", "--for", "1"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.lines().size(), 2U) << result.out;
  EXPECT_GE(result.seconds, 1);
  EXPECT_LT(result.seconds, 10);
}

TEST(Watch, KeepsTheLinkThroughALoss) {
  DevServer server;
  server.start();
  Program program({"--server", server.url(), "watch"});
  ASSERT_TRUE(program.waitForOutput("QXNotificationDidOpen"));
  // The library does not reconnect within 1.5 s of the last time.
  EXPECT_FALSE(
      server.waitUntil([&] { return server.connectionCount() == 0; }, std::chrono::milliseconds(1700)));
  server.cut({devserver::Cut::Kind::Close, 4001, "so long"});
  ASSERT_TRUE(program.waitForOutput("QXNotificationDidCloseWithCode"));
  ASSERT_TRUE(server.waitUntil([&] { return server.counters().pings == 2; }, std::chrono::seconds(20)));
  server.push("Rooms.Push.Message");
  ASSERT_TRUE(program.waitForOutput("QXNotificationPushOrvMessage"));
  program.signal(SIGINT);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.json(2),
            (json::object{{"notification", "QXNotificationDidCloseWithCode"},
                          {"userInfo", {{"code", 4001}, {"reason", "so long"}, {"wasClean", true}}}}));
}

TEST(Watch, PrintsWhatTheManagersPostForTheStoredUser) {
  DevServer server;
  server.start();
  ASSERT_EQ(runOrv({"--server", server.url(), "login", "13800000001"}, "classroom\n").exitCode, 0);
  ASSERT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, std::chrono::seconds(20)));
  {
    Program program({"--server", server.url(), "watch"});
    // The session is renewed, so that the user's pushes come here.
    ASSERT_TRUE(server.waitUntil([&] { return server.push("Rooms.Push.Message", {}, "13800000001") == 1; },
                                 std::chrono::seconds(20)));
    ASSERT_TRUE(program.waitForOutput("QXNotificationPushOrvMessage"));
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait().exitCode, 0);
  }
  server.revokeTokens();
  Program program({"--server", server.url(), "watch"});
  ASSERT_TRUE(
      program.waitForOutput(R"({"notification":"QXNotificationUserInfoInvalidate","userInfo":null})"));
  program.signal(SIGTERM);
  EXPECT_EQ(program.wait().exitCode, 0);
}

TEST(Watch, WithoutALinkExits3AndTellsWhyOnStandardError) {
  const Result result = runOrv({"--server", "ws://127.0.0.1:1", "--wait", "0.3", "watch"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_NE(result.err.find("orv: no link to ws://127.0.0.1:1 within 0.3 s: the connection was refused\n"),
            std::string::npos)
      << result.err;
  EXPECT_NE(result.out.find("QXNotificationDidAutoReconnectFailed"), std::string::npos) << result.out;
}

}  // namespace
}  // namespace orv::test
