#include "Program.h"
#include <devserver/DevServer.h>

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace orv::test::watch_test {
namespace {

namespace json = boost::json;

/// The lines that have a member of this name.
std::vector<json::object> linesWith(const Result& result, const char* name) {
  std::vector<json::object> found;
  for (std::size_t i = 0; i < result.lines().size(); ++i) {
    if (const json::object line = result.json(i); line.contains(name)) found.push_back(line);
  }
  return found;
}

/// What the lines about the session say, one after another.
std::vector<std::string> sessions(const Result& result) {
  std::vector<std::string> words;
  for (const json::object& line : linesWith(result, "session")) {
    words.emplace_back(line.at("session").as_string());
  }
  return words;
}

int upsIn(const std::string& output) {
  int count = 0;
  const std::string up = R"({"link":"up",)";
  for (auto at = output.find(up); at != std::string::npos; at = output.find(up, at + 1)) ++count;
  return count;
}

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
  const auto posted = linesWith(result, "notification");
  ASSERT_EQ(posted.size(), 4U) << result.out;
  EXPECT_NE(
      result.out.find(
          R"({"notification":"QXNotificationReachabilityStatusChange","userInfo":{"WNNetworkNotificationKey_Status":2}})"
          "\n"),
      std::string::npos);
  EXPECT_NE(result.out.find(R"({"notification":"QXNotificationDidOpen","userInfo":null})"
                            "\n"),
            std::string::npos);
  EXPECT_EQ(posted[0].at("notification"), "QXNotificationReachabilityStatusChange");
  EXPECT_EQ(posted[1].at("notification"), "QXNotificationDidOpen");
  const json::object& push = posted[2];
  EXPECT_EQ(push.at("notification"), "QXNotificationPushOrvMessage");
  EXPECT_EQ(push.at("userInfo").at("C"), "Rooms.Push.Message");
  EXPECT_EQ(push.at("userInfo").at("v").at("data").at("roomID"), 7001);
  EXPECT_EQ(posted[3].at("userInfo").at("C"), "System.Upload.Log");
}

TEST(Watch, EndsAfterItsTime) {
  const Result result = runOrv({"watch", "--for", "1"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(linesWith(result, "notification").size(), 2U) << result.out;
  EXPECT_GE(result.seconds, 1);
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
  ASSERT_TRUE(server.waitUntil([&] { return server.counters().pings == 2; }, std::chrono::seconds(60)));
  server.push("Rooms.Push.Message");
  ASSERT_TRUE(program.waitForOutput("QXNotificationPushOrvMessage"));
  program.signal(SIGINT);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(linesWith(result, "notification").at(2),
            (json::object{{"notification", "QXNotificationDidCloseWithCode"},
                          {"userInfo", {{"code", 4001}, {"reason", "so long"}, {"wasClean", true}}}}));
}

TEST(Watch, PrintsWhatTheManagersPostForTheStoredUser) {
  DevServer server;
  server.start();
  ASSERT_EQ(runOrv({"--server", server.url(), "login", "13800000001"}, "classroom\n").exitCode, 0);
  ASSERT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, std::chrono::seconds(60)));
  {
    Program program({"--server", server.url(), "watch"});
    // The session is renewed, so that the user's pushes come here.
    ASSERT_TRUE(server.waitUntil([&] { return server.push("Rooms.Push.Message", {}, "13800000001") == 1; },
                                 std::chrono::seconds(60)));
    ASSERT_TRUE(program.waitForOutput("QXNotificationPushOrvMessage"));
    ASSERT_TRUE(program.waitForOutput(R"({"session":"good","user":"100001"})"));
    program.signal(SIGTERM);
    const Result result = program.wait();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(sessions(result), (std::vector<std::string>{"restoring", "good"}));
  }
  server.revokeTokens();
  Program program({"--server", server.url(), "watch"});
  ASSERT_TRUE(
      program.waitForOutput(R"({"notification":"QXNotificationUserInfoInvalidate","userInfo":null})"));
  ASSERT_TRUE(program.waitForOutput(R"({"session":"refused","user":"100001","message":)"));
  program.signal(SIGTERM);
  EXPECT_EQ(program.wait().exitCode, 0);
}

TEST(Watch, TellsHowTheLinkGoesAndComesBack) {
  DevServer server;
  server.start();
  Program program({"--server", server.url(), "watch"});
  ASSERT_TRUE(program.waitForOutput(R"({"link":"up","message":"the link is up"})"));
  // The library does not reconnect within 1.5 s of the last time, and what follows then comes by chance.
  EXPECT_FALSE(
      server.waitUntil([&] { return server.connectionCount() == 0; }, std::chrono::milliseconds(1700)));
  server.faults().setConnectionMode(devserver::ConnectionMode::Reject, 503);
  server.cut({devserver::Cut::Kind::Close, 4001, "so long"});
  ASSERT_TRUE(program.waitForOutput(R"("reason":"refusedByHttp")")) << program.output();
  server.faults().setConnectionMode(devserver::ConnectionMode::Accept);
  for (int second = 0; second < 60 && upsIn(program.output()) < 2; ++second) {
    program.waitForOutput("nothing of the kind", std::chrono::seconds(1));
  }
  program.signal(SIGTERM);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0);
  const auto told = linesWith(result, "link");
  EXPECT_EQ(upsIn(result.out), 2) << result.out;
  EXPECT_NE(result.out.find(R"({"link":"waiting","message":"waiting 5 s for attempt 2: )"),
            std::string::npos);
  EXPECT_EQ(told.back(), (json::object{{"link", "up"}, {"message", "the link is up"}}));
  EXPECT_EQ(std::ranges::adjacent_find(told), told.end()) << "each line tells something new";
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
}  // namespace orv::test::watch_test
