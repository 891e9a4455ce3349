// `call` and `invoke` with one request.

#include "Program.h"
#include <devserver/DevServer.h>
#include <devserver/school/School.h>

#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

#include <filesystem>
#include <string_view>

namespace orv::test::request_test {
namespace {

namespace json = boost::json;

constexpr const char* kGeneric = "requestWithCommand:values:completeBlock:timeoutBlock:";
constexpr const char* kLogin = "loginWithMobile:password:completeBlock:timeoutBlock:";

/// The request frame with this command that the server received; empty when there is none.
json::object requestFrame(const DevServer& server, std::string_view command) {
  for (const auto& frame : server.receivedFrames()) {
    boost::system::error_code error;
    const auto value = json::parse(frame.text, error);
    if (!error && value.is_object() && value.as_object().at("c") == json::value(command)) {
      return value.as_object();
    }
  }
  return {};
}

TEST(Call, PrintsTheWholeReplyOfTheEmbeddedServer) {
  const Result result = runOrv({"call", "Dev.Echo", R"({"word":"你好","n":[1,2.5,null]})"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  ASSERT_EQ(result.lines().size(), 1U);
  json::object answer = result.json();
  const json::value timestamp = answer.at("reply").at("s");
  EXPECT_EQ(
      answer,
      (json::object{
          {"operation", kGeneric},
          {"command", "Dev.Echo"},
          {"outcome", "complete"},
          {"success", true},
          {"reply",
           {{"C", "Dev.Echo"},
            {"s", timestamp},
            {"v",
             {{"ret", 0},
              {"data",
               {{"command", "Dev.Echo"}, {"values", {{"word", "你好"}, {"n", {1, 2.5, nullptr}}}}}}}}}}}));
  EXPECT_EQ(result.lines()[0].rfind(R"({"operation":"requestWithCommand:)", 0), 0U)
      << "members in their order";
}

TEST(Call, WithoutValuesSendsNone) {
  DevServer server;
  server.start();
  EXPECT_EQ(runOrv({"--server", server.url(), "call", "Dev.Echo"}).exitCode, 0);
  EXPECT_FALSE(requestFrame(server, "Dev.Echo").contains("v"));
}

TEST(Call, FrameCarriesWhatTheOptionsSay) {
  DevServer server;
  server.start();
  const Result result = runOrv({"--server", server.url(), "--uuid", "device-7", "--app-version", "2.3.1",
                                "--app-build", "57", "call", "Dev.Echo", "{}"});
  EXPECT_EQ(result.exitCode, 0);
  const json::object frame = requestFrame(server, "Dev.Echo");
  EXPECT_EQ(frame.at("g"), "device-7");
  EXPECT_EQ(frame.at("b"), "2.3.1.57");
}

TEST(Call, HasAnotherIdentifierInEachRunUnlessOneIsGiven) {
  DevServer server;
  server.start();
  runOrv({"--server", server.url(), "call", "Dev.First"});
  runOrv({"--server", server.url(), "call", "Dev.Second"});
  const json::value first = requestFrame(server, "Dev.First").at("g");
  EXPECT_EQ(first.as_string().size(), 36U);
  EXPECT_NE(first, requestFrame(server, "Dev.Second").at("g"));
}

TEST(Call, RefusalOfTheServerExits2) {
  const Result result = runOrv({"call", "User.Post.Login", R"({"phone":"1","pwd":"x"})"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.json().at("outcome"), "complete");
  EXPECT_EQ(result.json().at("success"), false);
  EXPECT_EQ(result.json().at("reply").at("v").at("ret"), 1101);
}

TEST(Call, ReplyThatNeverComesIsATimeoutAfter10SecondsAndExits3) {
  DevServer server;
  server.start();
  server.faults().dropReplies();
  const Result result = runOrv({"--server", server.url(), "call", "Dev.Lost"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.json(), (json::object{{"operation", kGeneric},
                                         {"command", "Dev.Lost"},
                                         {"outcome", "timeout"},
                                         {"message", "no reply within 10 s"}}));
  EXPECT_GE(result.seconds, 10);
}

TEST(Call, RequestThatIsHeldForASessionIsGivenUp) {
  const Result result = runOrv({"call", "Classroom.Get.Items", "{}"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(
      result.json(),
      (json::object{{"operation", kGeneric},
                    {"command", "Classroom.Get.Items"},
                    {"outcome", "timeout"},
                    {"message",
                     "waiting for a session: the server wants a log-in first, and the request is held until "
                     "one succeeds"}}));
  EXPECT_GE(result.seconds, 12);
}

TEST(Invoke, LogsInWithThePasswordsDigestOnly) {
  DevServer server;
  server.start();
  const Result result =
      runOrv({"--server", server.url(), "invoke", kLogin, "\"13800000001\"", "\"classroom\""});
  EXPECT_EQ(result.exitCode, 0) << result.out;
  EXPECT_EQ(result.json().at("operation"), kLogin);
  EXPECT_EQ(result.json().at("command"), "User.Post.Login");
  EXPECT_EQ(result.json().at("reply").at("v").at("data").at("uID"), "100001");
  EXPECT_EQ(requestFrame(server, "User.Post.Login").at("v").at("pwd"),
            json::value(devserver::md5Hex("classroom")));
}

TEST(Invoke, NullAndMissingArgumentsLeaveTheirMembersOut) {
  DevServer server;
  server.start();
  const Result result = runOrv(
      {"--server", server.url(), "invoke", "loginWithMobile:code:completeBlock:timeoutBlock:", "null"});
  EXPECT_EQ(result.exitCode, 2);
  const json::object values = requestFrame(server, "User.Post.Login").at("v").as_object();
  EXPECT_FALSE(values.contains("phone"));
  EXPECT_FALSE(values.contains("scode"));
  EXPECT_TRUE(values.contains("guid"));
}

TEST(Invoke, WrongArgumentsOpenNoLink) {
  DevServer server;
  server.start();
  EXPECT_EQ(runOrv({"--server", server.url(), "invoke", kLogin, "1", "2"}).exitCode, 1);
  EXPECT_EQ(runOrv({"--server", server.url(), "invoke", "noSuchOperation:"}).exitCode, 1);
  EXPECT_EQ(server.counters().tcpAccepted, 0U);
}

TEST(Home, HoldsTheDocumentsOfTheRunAndIsMadeIfMissing) {
  const auto home = std::filesystem::path(std::getenv("HOME")) / "new" / "home";
  setenv("XDG_CONFIG_HOME", "/nonexistent", 1);
  const Result result = runOrv({"--home", home.string(), "call", "Dev.Echo"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(std::filesystem::is_directory(home / "Documents/OrvLog/OrvCourse"));
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(std::getenv("HOME")) / "Documents"));
}

}  // namespace
}  // namespace orv::test::request_test
