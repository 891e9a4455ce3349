#include "Program.h"
#include <devserver/DevServer.h>
#include <devserver/school/School.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace orv::test::trace_test {
namespace {

namespace json = boost::json;

class Trace : public ::testing::Test {
 protected:
  std::string path(const char* name = "link.jsonl") const {
    return (std::filesystem::current_path() / name).string();
  }
  static std::string text(const std::string& path) {
    std::ostringstream all;
    all << std::ifstream(path, std::ios::binary).rdbuf();
    return all.str();
  }
  static std::vector<json::object> entries(const std::string& path) {
    std::vector<json::object> all;
    std::istringstream lines(text(path));
    for (std::string line; std::getline(lines, line);) all.push_back(json::parse(line).as_object());
    return all;
  }
  static std::vector<std::string> kinds(const std::string& path) {
    std::vector<std::string> all;
    for (const auto& entry : entries(path)) all.emplace_back(entry.at("kind").as_string());
    return all;
  }

  void SetUp() override { std::filesystem::current_path(::getenv("HOME")); }
};

using Kinds = std::vector<std::string>;

TEST_F(Trace, HoldsEveryFrameOfARunAndEndsWithTheLink) {
  const Result result = runOrv({"--trace", path(), "call", "Dev.Echo", R"({"token":"hunter2","n":1})"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err.find("trace"), std::string::npos) << result.err;
  EXPECT_EQ(kinds(path()),
            (Kinds{"began", "attempt", "opened", "sent", "received", "up", "sent", "received", "closed"}));
  const auto all = entries(path());
  EXPECT_EQ(all[6].at("frame").at("v").at("token"), "***");
  EXPECT_EQ(all[6].at("frame").at("v").at("n"), 1);
  EXPECT_EQ(text(path()).find("hunter2"), std::string::npos);
  struct stat status {};
  ASSERT_EQ(::stat(path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(Trace, ClosesAnEarlierFileToOthersAndAppendsToIt) {
  std::ofstream(path()) << "{\"kind\":\"mine\"}\n";
  ::chmod(path().c_str(), 0644);
  runOrv({"--trace", "link.jsonl", "call", "Dev.Echo"});
  EXPECT_EQ(kinds(path()).front(), "mine") << "the path may be a relative one";
  EXPECT_EQ(kinds(path()).back(), "closed");
  struct stat status {};
  ASSERT_EQ(::stat(path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(Trace, WorksInAShellAndShowsStrangersNothingOfUsers) {
  const Result result =
      runOrv({"--trace", path(), "--shareable", "shell"}, "login 13800000001\nclassroom\ncourses\n");
  EXPECT_EQ(result.exitCode, 0) << result.out;
  const std::string all = text(path());
  EXPECT_NE(all.find("\"c\":\"User.Post.Login\""), std::string::npos) << all;
  EXPECT_NE(all.find("\"C\":\"User.Post.Login\""), std::string::npos) << all;
  for (const char* word : {"13800000001", "林老师", "classroom\"", "127.0.0.1", "\"g\""}) {
    EXPECT_EQ(all.find(word), std::string::npos) << word << "\n" << all;
  }
  EXPECT_EQ(all.find(devserver::md5Hex("classroom")), std::string::npos);
}

TEST_F(Trace, IsWholeWhenTheProgramIsInterrupted) {
  DevServer server;
  server.start();
  Program program({"--server", server.url(), "--trace", path(), "watch"});
  ASSERT_TRUE(program.waitForOutput("QXNotificationDidOpen"));
  server.push("Rooms.Push.Message", {{"data", {{"roomID", 7001}}}});
  ASSERT_TRUE(program.waitForOutput("QXNotificationPushOrvMessage"));
  program.signal(SIGTERM);
  program.wait();
  EXPECT_EQ(kinds(path()),
            (Kinds{"began", "attempt", "opened", "sent", "received", "up", "received", "closed"}));
}

TEST_F(Trace, TellsWhyThereIsNoLink) {
  runOrv({"--server", "ws://ada:hunter2@127.0.0.1:1/?token=hunter2", "--wait", "0.3", "--trace", path(),
          "watch"});
  EXPECT_EQ(kinds(path()), (Kinds{"began", "attempt", "failed"}));
  EXPECT_EQ(entries(path())[1].at("text"), "ws://127.0.0.1:1/?token=***");
  EXPECT_EQ(entries(path())[2].at("reason"), "refused");
}

TEST_F(Trace, IsWrongUseWhereTheFileCannotBeWritten) {
  for (const char* command : {"watch", "operations", "shell"}) {
    const Result result = runOrv({"--trace", "/nowhere/link.jsonl", command});
    EXPECT_EQ(result.exitCode, 1) << command;
    ASSERT_EQ(result.lines().size(), 1U) << result.out;
    EXPECT_EQ(result.json().at("message"),
              "--trace: /nowhere/link.jsonl cannot be opened: No such file or directory");
  }
  EXPECT_EQ(runOrv({"--trace", "/dev/full", "watch"}).json().at("message"),
            "--trace: /dev/full cannot be written: No space left on device");
  EXPECT_EQ(runOrv({"--trace", "", "watch"}).exitCode, 1);
  EXPECT_EQ(runOrv({"--shareable", "watch"}).json().at("message"), "--shareable belongs to --trace FILE");
}

}  // namespace
}  // namespace orv::test::trace_test
