// `courses`.

#include "Program.h"
#include "Terminal.h"
#include <devserver/DevServer.h>

#include <boost/json/parse.hpp>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string_view>

namespace orv::test::courses_command_test {
namespace {

namespace json = boost::json;
using namespace std::chrono_literals;

/// What the seeded school lists of recorded courses in classroom 5001.
constexpr std::int64_t kListed = 48;

class Courses : public ::testing::Test {
 protected:
  Courses() { server.start(); }

  void logIn(const std::string& mobile = "13800000001") {
    ASSERT_EQ(runOrv({"--server", server.url(), "login", mobile}, "classroom\n").exitCode, 0);
  }
  Result courses(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"--server", server.url(), "courses"});
    return runOrv(std::move(arguments));
  }
  static std::vector<std::int64_t> rooms(const Result& result) {
    std::vector<std::int64_t> rooms;
    const json::object answer = result.json();
    if (!answer.contains("courses")) return rooms;
    for (const json::value& course : answer.at("courses").as_array()) {
      rooms.push_back(course.at("roomID").to_number<std::int64_t>());
    }
    return rooms;
  }
  std::size_t received(std::string_view command) const {
    std::size_t count = 0;
    for (const auto& frame : server.receivedFrames()) {
      count += frame.text.find('"' + std::string(command) + '"') != std::string::npos ? 1 : 0;
    }
    return count;
  }
  static std::filesystem::path catalogue() {
    return std::filesystem::path(std::getenv("HOME")) / "Documents/orv_course/100001/5001";
  }

  DevServer server;
};

TEST_F(Courses, PrintsTheRecordedCoursesOfTheClassroomNewestFirst) {
  logIn();
  const Result result = courses({"--count", "5"});
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
  ASSERT_EQ(result.lines().size(), 1U);
  const json::object answer = result.json();
  EXPECT_EQ(answer.at("outcome"), "complete");
  EXPECT_EQ(answer.at("success"), true);
  EXPECT_EQ(answer.at("start"), 0);
  EXPECT_EQ(answer.at("count"), 5);
  const auto listed = rooms(result);
  ASSERT_EQ(listed.size(), 5U);
  EXPECT_TRUE(std::ranges::is_sorted(listed, std::ranges::greater()));
  EXPECT_EQ(answer.at("courses").at(0).at("classroomID"), 5001);
  EXPECT_TRUE(std::filesystem::exists(catalogue() / "cloud" / (std::to_string(listed.front()) + ".plist")));
}

TEST_F(Courses, LoadsAsManyPagesAsTheRangeNeedsThoughSomeOfTheirCoursesAreNotListed) {
  logIn();
  const Result result = courses({"--count", "100"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.json().at("listed"), kListed);
  EXPECT_EQ(rooms(result).size(), static_cast<std::size_t>(kListed));
  EXPECT_LE(received("Course.Get.Items"), 4U) << "no page is asked for over and over";
}

TEST_F(Courses, AFullLastPageDoesNotLoseTheList) {
  logIn();
  // With the 51 that are there, two pages to the last course.
  server.addCourses(9);
  const Result result = courses({"--count", "200"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(rooms(result).size(), static_cast<std::size_t>(kListed) + 9);
  EXPECT_EQ(rooms(courses({"--start", "50", "--count", "60"})).size(), 7U);
}

TEST_F(Courses, ARangeInTheMiddleIsThatOfTheWholeList) {
  logIn();
  const Result middle = courses({"--start", "40", "--count", "30"});
  const Result whole = courses({"--count", "100"});
  const auto all = rooms(whole);
  ASSERT_EQ(all.size(), static_cast<std::size_t>(kListed));
  EXPECT_EQ(rooms(middle), std::vector<std::int64_t>(all.begin() + 40, all.end()));
  EXPECT_EQ(rooms(courses({"--start", "500"})).size(), 0U);
}

TEST_F(Courses, WhatIsThereIsNotLoadedAgainUnlessForced) {
  logIn();
  ASSERT_EQ(courses().exitCode, 0);
  const auto before = received("Course.Get.Items");
  const std::int64_t newest = rooms(courses({"--count", "1"})).front();
  EXPECT_EQ(received("Course.Get.Items"), before);
  server.changeCourse(newest, {{"title", "renamed"}, {"status", 5}});
  const Result kept = courses({"--count", "1"});
  EXPECT_NE(kept.json().at("courses").at(0).at("title"), "renamed");
  const Result forced = courses({"--count", "1", "--force"});
  EXPECT_EQ(forced.json().at("courses").at(0).at("title"), "renamed");
}

TEST_F(Courses, ForcedLeavesOutWhatTheServerHasRemoved) {
  logIn();
  const auto before = rooms(courses({"--count", "10"}));
  ASSERT_EQ(before.size(), 10U);
  server.removeCourse(before[3]);
  const auto after = rooms(courses({"--count", "10", "--force"}));
  EXPECT_EQ(std::ranges::count(after, before[3]), 0);
}

TEST_F(Courses, LiveCoursesByStatus) {
  logIn();
  for (const auto& [status, count] : {std::pair{1, 6}, {2, 2}, {3, 8}}) {
    const Result result = courses({"--status", std::to_string(status)});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(rooms(result).size(), static_cast<std::size_t>(count));
    const json::object answer = result.json();
    for (const json::value& course : answer.at("courses").as_array()) EXPECT_EQ(course.at("status"), status);
  }
  const std::int64_t room = rooms(courses({"--status", "1"})).front();
  server.changeCourse(room, {{"status", 2}, {"liveStatus", 1}});
  EXPECT_EQ(std::ranges::count(rooms(courses({"--status", "2", "--force"})), room), 1);
}

TEST_F(Courses, StatusesWithoutAListAreWrongUse) {
  for (const char* status : {"0", "4", "x"}) EXPECT_EQ(courses({"--status", status}).exitCode, 1) << status;
  EXPECT_EQ(courses({"--count", "1000001"}).exitCode, 1);
  EXPECT_EQ(server.counters().requests, 0U);
}

TEST_F(Courses, WithNobodyLoggedInExits2) {
  const Result result = courses();
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.json().at("message"), "nobody is logged in; see `orv login --help`");
}

TEST_F(Courses, OfAUserWithoutAClassroomExits2) {
  logIn("13900000001");
  const Result result = courses();
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.json().at("message"), "the user has no classroom, and so no courses");
}

TEST_F(Courses, WithASessionThatIsOverExits2) {
  logIn();
  server.revokeTokens();
  const Result result = courses();
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.json().at("message"),
            "the server does not know the session of this user any more: log in again");
}

TEST_F(Courses, WithoutAServerPrintsWhatIsStored) {
  logIn();
  ASSERT_EQ(courses().exitCode, 0);
  server.stop();
  const Result result = runOrv({"courses", "--count", "3"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(rooms(result).size(), 3U);
  EXPECT_EQ(result.json().at("message"), "as stored; with --server the server is asked");
}

TEST_F(Courses, WithoutALinkExits3) {
  logIn();
  server.stop();
  const Result result = runOrv({"--server", server.url(), "--wait", "0.3", "courses"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.json().at("message"),
            json::value("no link to " + server.url() + " within 0.3 s: the connection was refused"));
  EXPECT_EQ(result.json().at("reason"), "refused");
}

TEST_F(Courses, ALinkThatIsLostInTheMiddleIsToldAtOnceAndExits3) {
  logIn();
  // The second page never comes.
  server.addCourses(100);
  Program program({"--server", server.url(), "courses", "--count", "90"});
  ASSERT_TRUE(server.waitForFrame(
      [](const auto& frame) { return frame.text.find("Course.Get.Items") != std::string::npos; }, 20s));
  server.faults().dropReplies(100, "Course.Get.Items");
  const auto asked = server.counters().repliesDropped;
  ASSERT_TRUE(server.waitUntil([&] { return server.counters().repliesDropped > asked; }, 20s));
  server.stop();
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 3) << result.out;
  EXPECT_EQ(result.json().at("message"), "the link was lost; what had come by then is stored");
}

TEST_F(Courses, APageThatIsRefusedIsToldAndExits2) {
  logIn();
  ASSERT_EQ(courses().exitCode, 0);
  server.faults().failRequests(5, "not now", 9, "Course.Get.Items");
  const Result result = courses({"--count", "100"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.json(), (json::object{{"outcome", "error"}, {"message", "not now"}}));
  EXPECT_FALSE(rooms(runOrv({"courses"})).empty()) << "what is stored stays";
}

TEST_F(Courses, AnInterruptionExits3) {
  logIn();
  server.faults().dropReplies(100, "Course.Get.Items");
  Program program({"--server", server.url(), "courses"});
  ASSERT_TRUE(server.waitUntil([&] { return server.counters().repliesDropped > 0; }, 20s));
  program.signal(SIGINT);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.json().at("message"), "interrupted");
}

TEST_F(Courses, ProgressIsOnStandardErrorAndDoesNotGoBack) {
  logIn();
  server.faults().delayReplies(200ms, "Course.Get.Items");
  const Result result = courses({"--count", "48"});
  EXPECT_EQ(result.lines().size(), 1U);
  std::vector<int> percents;
  for (auto at = result.err.find("loading "); at != std::string::npos;
       at = result.err.find("loading ", at + 1)) {
    percents.push_back(std::atoi(result.err.c_str() + at + 8));
  }
  EXPECT_GE(percents.size(), 2U) << result.err;
  EXPECT_TRUE(std::ranges::is_sorted(percents));
}

TEST_F(Courses, OnATerminalTheBarGoesInTheEnd) {
  logIn();
  server.faults().delayReplies(200ms, "Course.Get.Items");
  Terminal terminal({"--server", server.url(), "courses", "--count", "48"});
  EXPECT_EQ(terminal.wait(), 0);
  const std::string& screen = terminal.screen();
  const auto bar = screen.find("loading [");
  ASSERT_NE(bar, std::string::npos) << screen;
  const auto answer = screen.find("TITLE");
  ASSERT_NE(answer, std::string::npos);
  EXPECT_LT(bar, answer);
  EXPECT_EQ(screen.find("loading [", answer), std::string::npos);
  EXPECT_NE(screen.rfind("\r\x1b[K", answer), std::string::npos);
}

}  // namespace
}  // namespace orv::test::courses_command_test
