// `login`, `whoami` and `logout`.

#include "Program.h"
#include "Terminal.h"
#include <devserver/DevServer.h>
#include <devserver/school/School.h>

#include <boost/json/parse.hpp>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>

namespace orv::test::login_test {
namespace {

namespace json = boost::json;

const std::string kMobile = "13800000001";

class Login : public ::testing::Test {
 protected:
  Login() { server.start(); }

  Result orv(std::vector<std::string> arguments, const std::string& input = {}) {
    arguments.insert(arguments.begin(), {"--server", server.url()});
    return runOrv(std::move(arguments), input);
  }
  static std::string file() {
    std::ifstream stream(plist(), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  static std::string plist() {
    return std::string(std::getenv("HOME")) + "/Documents/userInfo/userInfo.plist";
  }
  /// The token in the user file.
  static std::string storedToken() {
    const std::string text = file();
    const auto key = text.find("<key>token</key>");
    if (key == std::string::npos) return {};
    const auto begin = text.find("<string>", key) + 8;
    return text.substr(begin, text.find("</string>", begin) - begin);
  }
  /// The values of the frames of this command that the server received.
  std::vector<json::object> received(std::string_view command) const {
    std::vector<json::object> values;
    for (const auto& frame : server.receivedFrames()) {
      boost::system::error_code error;
      const auto value = json::parse(frame.text, error);
      if (error || value.at("c") != json::value(command)) continue;
      values.push_back(value.as_object().contains("v") ? value.at("v").as_object() : json::object());
    }
    return values;
  }

  DevServer server;
};

TEST_F(Login, ReadsThePasswordFromStandardInputAndKeepsTheUser) {
  const Result result = orv({"login", kMobile}, "classroom\n");
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
  ASSERT_EQ(result.lines().size(), 1u);
  const json::object answer = result.json();
  EXPECT_EQ(answer.at("operation"), "loginWithMobile:password:completeBlock:timeoutBlock:");
  EXPECT_EQ(answer.at("command"), "User.Post.Login");
  EXPECT_EQ(answer.at("outcome"), "complete");
  EXPECT_EQ(answer.at("success"), true);
  EXPECT_EQ(answer.at("reply").at("v").at("data").at("uID"), "100001");
  EXPECT_EQ(received("User.Post.Login").at(0).at("pwd"), json::value(devserver::md5Hex("classroom")));
  EXPECT_NE(file().find("<string>100001</string>"), std::string::npos);
  struct stat status {};
  ASSERT_EQ(::stat(plist().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(Login, ShowsNeitherPasswordNorTokenAnywhere) {
  const Result result = orv({"login", kMobile}, "classroom\n");
  const std::string token = storedToken();
  ASSERT_GE(token.size(), 16u);
  for (const std::string& secret : {token, devserver::md5Hex("classroom"), std::string("classroom\n")}) {
    EXPECT_EQ(result.out.find(secret), std::string::npos);
    EXPECT_EQ(result.err.find(secret), std::string::npos);
  }
  EXPECT_EQ(result.json().at("reply").at("v").at("data").at("token"), "***");
  const Result who = orv({"whoami"});
  EXPECT_EQ(who.exitCode, 0);
  EXPECT_EQ(who.out.find(token), std::string::npos);
  EXPECT_EQ(who.err.find(token), std::string::npos);
}

TEST_F(Login, TakesALineWithoutItsEndAndLinesOfOtherSystems) {
  EXPECT_EQ(orv({"login", kMobile}, "classroom").exitCode, 0);
  EXPECT_EQ(orv({"login", kMobile}, "classroom\r\nmore\n").exitCode, 0);
}

TEST_F(Login, WithoutAPasswordIsWrongUseAndSendsNothing) {
  for (const char* input : {"", "\n"}) {
    const Result result = orv({"login", kMobile}, input);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.json().at("outcome"), "error");
  }
  EXPECT_EQ(server.counters().tcpAccepted, 0u);
  EXPECT_EQ(orv({"login"}).exitCode, 1);
  EXPECT_EQ(orv({"login", kMobile, "classroom"}).exitCode, 1) << "never on the command line";
}

TEST_F(Login, ByVerificationCode) {
  const Result result =
      orv({"login", kMobile, "--code"}, std::string(devserver::School::kVerificationCode) + "\n");
  EXPECT_EQ(result.exitCode, 0) << result.out;
  EXPECT_EQ(result.json().at("operation"), "loginWithMobile:code:completeBlock:timeoutBlock:");
  EXPECT_EQ(received("User.Post.Login").at(0).at("scode"), json::value(devserver::School::kVerificationCode));
  EXPECT_FALSE(storedToken().empty());
}

TEST_F(Login, RefusedByTheServerExits2AndKeepsWhoWasThere) {
  EXPECT_EQ(orv({"login", kMobile}, "wrong\n").exitCode, 2);
  EXPECT_FALSE(std::filesystem::exists(plist()));
  ASSERT_EQ(orv({"login", kMobile}, "classroom\n").exitCode, 0);
  const std::string before = file();
  EXPECT_EQ(orv({"login", kMobile}, "wrong\n").exitCode, 2);
  EXPECT_EQ(file(), before);
}

TEST_F(Login, WithoutALinkExits3) {
  server.stop();
  const Result result = runOrv({"--server", server.url(), "--wait", "0.3", "login", kMobile}, "classroom\n");
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.json().at("outcome"), "timeout");
}

TEST_F(Login, ReplyWithoutAUserStoresNobody) {
  server.faults().failRequests(0, "", 1, "User.Post.Login");
  const Result result = orv({"login", kMobile}, "classroom\n");
  EXPECT_EQ(result.exitCode, 1) << result.out;
  EXPECT_FALSE(std::filesystem::exists(plist()));
}

TEST_F(Login, AnotherUserTakesThePlaceOfTheFirst) {
  ASSERT_EQ(orv({"login", kMobile}, "classroom\n").exitCode, 0);
  ASSERT_EQ(orv({"login", "13800000002"}, "classroom\n").exitCode, 0);
  server.clearReceivedFrames();
  const Result who = orv({"whoami"});
  EXPECT_EQ(who.json().at("user").at("phone"), "13800000002");
  EXPECT_EQ(who.json().at("session"), "good");
  const auto sessions = received("User.Post.Session");
  ASSERT_EQ(sessions.size(), 1u);
  EXPECT_EQ(sessions[0].at("uID"), who.json().at("user").at("uID")) << "nobody asks for the former one";
}

TEST_F(Login, OnTheEmbeddedServerIsKeptToo) {
  EXPECT_EQ(runOrv({"login", kMobile}, "classroom\n").exitCode, 0);
  const Result who = runOrv({"whoami"});
  EXPECT_EQ(who.exitCode, 0);
  EXPECT_EQ(who.json().at("user").at("uID"), "100001");
  EXPECT_EQ(who.json().at("session"), "unknown");
}

TEST_F(Login, HomesHaveUsersOfTheirOwn) {
  const std::string home = std::string(std::getenv("HOME")) + "/other";
  ASSERT_EQ(orv({"--home", home, "login", kMobile}, "classroom\n").exitCode, 0);
  EXPECT_EQ(orv({"whoami"}).exitCode, 2);
  EXPECT_EQ(orv({"--home", home, "whoami"}).exitCode, 0);
}

TEST_F(Login, InATerminalThePasswordIsNotShown) {
  Terminal terminal({"--server", server.url(), "login", kMobile});
  ASSERT_TRUE(terminal.waitForScreen("Password: "));
  EXPECT_FALSE(terminal.echoes());
  terminal.type("classroom\n");
  EXPECT_EQ(terminal.wait(), 0) << terminal.screen();
  EXPECT_TRUE(terminal.echoes()) << "as it was before";
  EXPECT_EQ(terminal.screen().find("classroom\r"), std::string::npos) << terminal.screen();
  EXPECT_NE(terminal.screen().find("\"uID\":\"100001\""), std::string::npos);
  EXPECT_FALSE(storedToken().empty());
}

TEST_F(Login, InATerminalTheCodeIsNotShownEither) {
  Terminal terminal({"--server", server.url(), "login", kMobile, "--code"});
  ASSERT_TRUE(terminal.waitForScreen("Verification code: "));
  EXPECT_FALSE(terminal.echoes());
  terminal.type("000000\n");
  EXPECT_EQ(terminal.wait(), 2);
  EXPECT_EQ(terminal.screen().find("000000"), std::string::npos) << terminal.screen();
}

TEST_F(Login, SignalsLeaveTheTerminalAsItWas) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    Terminal terminal({"--server", server.url(), "login", kMobile});
    ASSERT_TRUE(terminal.waitForScreen("Password: "));
    ASSERT_FALSE(terminal.echoes());
    terminal.signal(number);
    EXPECT_EQ(terminal.wait(), 3) << number;
    EXPECT_TRUE(terminal.echoes()) << number;
  }
}

TEST_F(Login, KeysThatInterruptOrSuspendLeaveTheTerminalAsItWas) {
  Terminal terminal({"--server", server.url(), "login", kMobile});
  ASSERT_TRUE(terminal.waitForScreen("Password: "));
  terminal.type("\x1a\x1c");  // suspend and quit: typed like any other key
  terminal.type("\x03");
  EXPECT_EQ(terminal.wait(), 3) << terminal.screen();
  EXPECT_TRUE(terminal.echoes());
}

TEST_F(Login, EndOfInputInATerminalIsWrongUse) {
  Terminal terminal({"--server", server.url(), "login", kMobile});
  ASSERT_TRUE(terminal.waitForScreen("Password: "));
  terminal.type("\x04");
  EXPECT_EQ(terminal.wait(), 1) << terminal.screen();
  EXPECT_TRUE(terminal.echoes());
}

class StoredUser : public Login {
 protected:
  StoredUser() {
    EXPECT_EQ(orv({"login", kMobile}, "classroom\n").exitCode, 0);
    server.clearReceivedFrames();
  }
};

TEST_F(Login, WhoamiAndLogoutOfNobodyExit2AndOpenNoLink) {
  for (const char* command : {"whoami", "logout"}) {
    const Result result = orv({command});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.json(), (json::object{{"outcome", "error"},
                                           {"message", "nobody is logged in; see `orv login --help`"}}));
    EXPECT_EQ(runOrv({command}).exitCode, 2);
  }
  EXPECT_EQ(server.counters().tcpAccepted, 0u);
}

TEST_F(StoredUser, WhoamiPrintsTheUserAndTheLatestClassroom) {
  const Result result = orv({"whoami"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const json::object line = result.json();
  EXPECT_EQ(line.at("outcome"), "complete");
  EXPECT_EQ(line.at("session"), "good");
  EXPECT_EQ(line.at("user").at("uID"), "100001");
  EXPECT_FALSE(line.at("user").as_object().contains("token"));
  EXPECT_FALSE(line.at("user").as_object().contains("classroominfo"));
  EXPECT_EQ(line.at("classroom").at("id"), line.at("user").at("classroom"));
  EXPECT_FALSE(line.contains("message"));
  EXPECT_EQ(received("User.Post.Session").size(), 1u);
  EXPECT_EQ(received("Course.Room.Info").size(), 1u);
}

// Two requests that are made within a millisecond may get one name, and one of them the reply to the other.
TEST_F(StoredUser, WhoamiAsksFarEnoughAfterTheSessionRequestToShareNoName) {
  constexpr int kTimes = 12;
  std::string input;
  for (int i = 0; i < kTimes; ++i) input += "whoami\n";
  const Result result = orv({"shell"}, input);
  EXPECT_EQ(result.exitCode, 0) << result.out;
  std::int64_t session = 0;
  int pairs = 0;
  for (const auto& frame : server.receivedFrames()) {
    boost::system::error_code error;
    const auto request = json::parse(frame.text, error);
    if (error) continue;
    const std::int64_t name = std::stoll(std::string(request.at("s").as_string()));
    if (request.at("c") == "User.Post.Session") session = name;
    if (request.at("c") != "Course.Room.Info") continue;
    EXPECT_GT(name, session) << "the time in it goes before the chance in it";
    ++pairs;
  }
  EXPECT_GE(pairs, kTimes);
}

TEST_F(StoredUser, WhoamiNeedsNoServer) {
  const Result result = runOrv({"whoami"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.json().at("user").at("uID"), "100001");
  EXPECT_EQ(result.json().at("session"), "unknown");
  EXPECT_EQ(result.json().at("message"), "as stored; with --server the server is asked");
  EXPECT_TRUE(result.json().at("classroom").is_object());
}

TEST_F(StoredUser, WhoamiWithoutALinkShowsWhatIsStoredAndSaysSo) {
  server.stop();
  const Result result = runOrv({"--server", server.url(), "--wait", "0.3", "whoami"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.json().at("user").at("uID"), "100001");
  EXPECT_EQ(result.json().at("session"), "unknown");
  EXPECT_EQ(result.json().at("message"), json::value("as stored: no link to " + server.url() +
                                                     " within 0.3 s: the connection was refused"));
  EXPECT_EQ(result.json().at("reason"), "refused");
}

TEST_F(StoredUser, WhoamiSaysThatTheSessionIsOverAndExits2) {
  server.revokeTokens();
  const Result result = orv({"whoami"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.json().at("session"), "refused");
  EXPECT_EQ(result.json().at("user").at("uID"), "100001");
  EXPECT_EQ(result.json().at("message"),
            "the server does not know the session of this user any more: log in again");
  EXPECT_FALSE(storedToken().empty()) << "the user is kept until somebody decides";
}

TEST_F(StoredUser, WhoamiShowsTheStoredClassroomWhenTheServerRefusesIt) {
  server.faults().failRequests(5, "not now", 9, "Course.Room.Info");
  const Result result = orv({"whoami"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.json().at("session"), "good");
  EXPECT_TRUE(result.json().at("classroom").is_object());
  EXPECT_EQ(result.json().at("message"), "the classroom is as stored: the server refuses it");
}

TEST_F(StoredUser, LogoutTellsTheServerAndForgetsTheUser) {
  const std::string token = storedToken();
  const Result result = orv({"logout"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.json().at("command"), "User.Post.Logout");
  EXPECT_EQ(result.json().at("success"), true);
  EXPECT_EQ(received("User.Post.Logout").size(), 1u);
  EXPECT_EQ(file().find("<string>"), std::string::npos) << "an empty dictionary";
  EXPECT_EQ(file().find(token), std::string::npos);
  EXPECT_EQ(orv({"whoami"}).exitCode, 2);
  EXPECT_EQ(orv({"call", "User.Post.Session", R"({"uID":"100001","token":")" + token + "\"}"}).exitCode, 2)
      << "the server has dropped the token";
}

TEST_F(StoredUser, LogoutForgetsTheUserWithoutALinkToo) {
  server.stop();
  const Result result = runOrv({"--server", server.url(), "--wait", "0.3", "logout"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.json().at("outcome"), "timeout");
  EXPECT_EQ(result.json().at("message"),
            json::value("logged out here; the server was not told: no link to " + server.url() +
                        " within 0.3 s: the connection was refused"));
  EXPECT_EQ(result.json().at("reason"), "refused");
  EXPECT_EQ(runOrv({"whoami"}).exitCode, 2);
}

TEST_F(StoredUser, LogoutForgetsAUserWhomTheServerDoesNotKnowAnyMore) {
  server.revokeTokens();
  const Result result = orv({"logout"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.json().at("outcome"), "error");
  EXPECT_EQ(orv({"whoami"}).exitCode, 2);
  EXPECT_TRUE(storedToken().empty());
}

TEST_F(StoredUser, LogoutWithoutAServerForgetsTheUserHere) {
  const Result result = runOrv({"logout"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.json().at("message"), "logged out here; with --server the server is told too");
  EXPECT_TRUE(storedToken().empty());
  EXPECT_EQ(runOrv({"whoami"}).exitCode, 2);
}

TEST_F(StoredUser, LogoutThatIsInterruptedKeepsTheUser) {
  server.faults().setPingAnswer(std::nullopt);
  Program program({"--server", server.url(), "logout"});
  ASSERT_TRUE(server.waitUntil([&] { return server.counters().pings > 1; }, std::chrono::seconds(60)));
  program.signal(SIGINT);
  EXPECT_EQ(program.wait().exitCode, 3);
  EXPECT_FALSE(storedToken().empty());
}

}  // namespace
}  // namespace orv::test::login_test
