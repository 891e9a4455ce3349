#include "Program.h"
#include <cli/TextWidth.h>
#include <devserver/school/School.h>

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

namespace orv::test::demo_test {
namespace {

constexpr const char* kTitles[] = {
    "The embedded classroom server starts",
    "The link opens: network, PING, PONG",
    "A request is answered",
    "Many requests are under way at once",
    "A request without a session is held",
    "A wrong password is refused",
    "A teacher logs in",
    "The session is renewed, and the held request goes out again",
    "The catalogue is loaded, page by page",
    "A course is recorded, published and confirmed",
    "A lesson is held, from its creation to its end",
    "Another device signs in",
    "Pushes of the server become notifications",
    "Garbage does no harm",
    "A reply is lost",
    "The link is lost and comes back",
    "The request without a reply times out",
    "The teacher logs out",
    "The rolling log has it all",
    "What is on the disk",
};

void expectEveryStepDidWhatItMust(const Result& result) {
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
  EXPECT_EQ(result.out.find("✗"), std::string::npos) << result.out;
  std::size_t number = 0;
  const std::string verdicts = result.out.substr(result.out.find("\nVerdicts\n"));
  for (const char* title : kTitles) {
    const std::string digits = std::to_string(++number);
    EXPECT_NE(verdicts.find("✓ " + std::string(3 - 1 - digits.size(), ' ') + digits + "  " + title + "\n"),
              std::string::npos)
        << title << "\n"
        << verdicts;
  }
  EXPECT_NE(result.out.find("20 of 20 steps did what they must"), std::string::npos);
}

void expectPlainTextIn80Columns(const Result& result) {
  EXPECT_EQ(result.out.find('\x1b'), std::string::npos) << "colours are for terminals";
  for (const std::string& line : result.lines()) {
    // The path of the home is as long as it is.
    if (line.find(std::getenv("HOME")) == std::string::npos) {
      EXPECT_LE(cli::textWidth(line), 80U) << line;
    }
    EXPECT_FALSE(line.ends_with(' ')) << line;
  }
}

void expectTheCourseOfALesson(const Result& result, const std::string& home) {
  std::size_t at = 0;
  for (const char* text :
       {"to come: 7 *, on the air: 2, over: 8", "to come: 6, on the air: 3 *, over: 8", "老师好！",
        "to come: 6, on the air: 2, over: 9 *", "QXNotificationOtherUserLoggedIn", "userInfo.plist"}) {
    at = result.out.find(text, at);
    ASSERT_NE(at, std::string::npos) << text;
  }
  EXPECT_TRUE(std::filesystem::exists(home + "/Documents/orv_course/100001/5001/cloud/cloudCourse.plist"));
}

void expectNoPasswordAndNoToken(const Result& result) {
  EXPECT_NE(result.out.find("\"token\":\"***\""), std::string::npos);
  EXPECT_NE(result.out.find("\"pwd\":\"***\""), std::string::npos);
  for (const std::string& text : {result.out, result.err}) {
    EXPECT_EQ(text.find(":\"" + std::string(devserver::School::kPassword) + '"'), std::string::npos);
    EXPECT_EQ(text.find("open-sesame-4711"), std::string::npos);
    EXPECT_EQ(text.find(devserver::md5Hex("open-sesame-4711")), std::string::npos);
    EXPECT_EQ(text.find(devserver::md5Hex(devserver::School::kPassword)), std::string::npos);
  }
}

// The tour takes its time, so it runs once and everything is looked at in what it printed.
TEST(Demo, EveryStepDoesWhatItMustIn80ColumnsAndShowsNoSecret) {
  const std::string home = std::string(std::getenv("HOME")) + "/demo";
  const Result result = runOrv({"--home", home, "demo"});
  expectEveryStepDidWhatItMust(result);
  EXPECT_NE(result.out.find(home), std::string::npos) << "it says where its files are";
  expectPlainTextIn80Columns(result);
  expectTheCourseOfALesson(result, home);
  expectNoPasswordAndNoToken(result);
}

TEST(Demo, LeavesTheUsersDocumentsAlone) {
  Program program({"demo"});
  ASSERT_TRUE(program.waitForOutput("PONG brings it up"));
  program.signal(SIGINT);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_NE(result.out.find(": not run"), std::string::npos) << "a step that did not run has no good verdict";
  EXPECT_TRUE(std::filesystem::is_empty(std::getenv("HOME")));
  const auto begin = result.out.find("Home of this run: ") + 18;
  const std::string home = result.out.substr(begin, result.out.find(' ', begin) - begin);
  EXPECT_TRUE(std::filesystem::is_directory(home + "/Documents/OrvLog/OrvCourse")) << home;
  std::filesystem::remove_all(home);
}

}  // namespace
}  // namespace orv::test::demo_test
