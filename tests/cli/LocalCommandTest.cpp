// `local list`, `create`, `add` and `delete`.

#include "Program.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>

namespace orv::test::local_command_test {
namespace {

namespace json = boost::json;
namespace fs = std::filesystem;

fs::path home() {
  return std::getenv("HOME");
}
fs::path localFolder(const fs::path& in = home()) {
  return in / "Documents/orv_course/public/local";
}

std::vector<std::int64_t> rooms(const Result& result) {
  std::vector<std::int64_t> numbers;
  const json::object answer = result.json();
  for (const auto& course : answer.at("courses").as_array()) {
    numbers.push_back(course.at("roomID").to_number<std::int64_t>());
  }
  return numbers;
}
std::vector<std::int64_t> listed() {
  return rooms(runOrv({"local", "list"}));
}
void add(std::int64_t room, const std::string& title = "课程") {
  const json::object course{{"roomID", room}, {"title", title}};
  ASSERT_EQ(runOrv({"local", "add", json::serialize(course)}).exitCode, 0);
}
std::string message(const Result& result) {
  const json::object answer = result.json();
  EXPECT_EQ(answer.at("outcome"), "error");
  return std::string(answer.at("message").as_string());
}

TEST(LocalList, IsEmptyAtFirst) {
  const Result result = runOrv({"local", "list"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "{\"outcome\":\"complete\",\"success\":true,\"count\":0,\"courses\":[]}\n");
}

TEST(LocalCreate, NewCourseIsAddedAndPrinted) {
  const Result result = runOrv({"local", "create", "--title", "第一课"});
  EXPECT_EQ(result.exitCode, 0);
  ASSERT_EQ(result.lines().size(), 1u);
  EXPECT_EQ(result.json().at("count"), 1);
  const json::object answer = result.json();
  const json::object& course = answer.at("courses").at(0).as_object();
  EXPECT_EQ(course.at("title"), "第一课");
  EXPECT_EQ(course.at("publishStatus"), 99);
  EXPECT_EQ(course.at("liveType"), 2);
  EXPECT_GT(course.at("roomID").to_number<std::int64_t>(), 0);
  const Result list = runOrv({"local", "list"});
  EXPECT_EQ(list.json().at("courses"), result.json().at("courses"));
}

TEST(LocalCreate, ManyHaveNumbersOfTheirOwnAndTheProgressIsOnStandardError) {
  const Result result = runOrv({"local", "create", "--count", "25"});
  EXPECT_EQ(result.exitCode, 0);
  ASSERT_EQ(result.lines().size(), 1u);
  auto created = rooms(result);
  EXPECT_EQ(created.size(), 25u);
  EXPECT_NE(result.err.find("creating 100 % (25 of 25 courses)\n"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("creating 40 % (10 of 25 courses)\n"), std::string::npos) << result.err;
  EXPECT_EQ(result.err.find('\x1b'), std::string::npos) << "no terminal, no bar";
  std::ranges::reverse(created);
  EXPECT_EQ(listed(), created);
  std::ranges::sort(created);
  EXPECT_EQ(std::ranges::adjacent_find(created), created.end());
}

TEST(LocalCreate, ThatIsInterruptedLeavesWhatWasMade) {
  Program program({"local", "create", "--count", "100000"});
  for (int second = 0; second < 30 && !fs::exists(localFolder() / "localCourse.plist"); ++second) {
    program.waitForOutput("nothing of the kind", std::chrono::seconds(1));
  }
  program.signal(SIGINT);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.out, "{\"outcome\":\"timeout\",\"message\":\"interrupted\"}\n");
  EXPECT_FALSE(listed().empty());
}

TEST(LocalCreate, CountsThatMakeNoSenseAreWrongUse) {
  for (const auto* count : {"0", "-1", "x", "100001"}) {
    EXPECT_EQ(runOrv({"local", "create", "--count", count}).exitCode, 1) << count;
  }
  EXPECT_FALSE(fs::exists(localFolder()));
}

TEST(LocalAdd, TellsWhetherTheCourseIsNewAndPutsItInFront) {
  add(5, "five");
  add(6, "six");
  const Result again = runOrv({"local", "add", R"({"roomID":5,"title":"anew","orv_local":false})"});
  EXPECT_EQ(again.exitCode, 0);
  EXPECT_EQ(again.json().at("new"), false);
  EXPECT_EQ(again.json().at("course").at("title"), "anew");
  const Result fresh = runOrv({"local", "add", R"({"roomID":"7"})"});
  EXPECT_EQ(fresh.json().at("new"), true);
  EXPECT_EQ(listed(), (std::vector<std::int64_t>{7, 5, 6}));
}

TEST(LocalAdd, WhatIsNoCourseIsRefusedAndNothingIsWritten) {
  for (const auto* record : {"", "roomID", "[]", "7", "null", "{\"roomID\":7", "{}", R"({"roomID":0})",
                             R"({"roomID":-7})", R"({"roomID":null})", R"({"roomid":7})"}) {
    const Result result = runOrv({"local", "add", record});
    EXPECT_EQ(result.exitCode, 1) << record;
    EXPECT_NE(result.out.find("\"error\""), std::string::npos) << record;
  }
  EXPECT_FALSE(fs::exists(localFolder() / "localCourse.plist"));
}

TEST(LocalAdd, CourseThatNoFileCanHoldIsAnError) {
  const Result result = runOrv({"local", "add", R"({"roomID":7,"orv_createInfo":{"a":null}})"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(message(result).find("course 7 could not be written"), std::string::npos);
  EXPECT_NE(result.err.find("is null"), std::string::npos) << result.err;
}

TEST(LocalDelete, RemovesCoursesWithTheirRecordings) {
  for (const std::int64_t room : {5, 6, 7}) add(room);
  fs::create_directories(home() / "Documents/0-6/mp4");
  std::ofstream(home() / "Documents/0-6/mp4/1.mp4") << "film";
  const Result result = runOrv({"local", "delete", "6", "5", "6"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "{\"outcome\":\"complete\",\"success\":true,\"deleted\":2}\n");
  EXPECT_NE(result.err.find("deleting 100 % (2 of 2 courses)"), std::string::npos) << result.err;
  EXPECT_EQ(listed(), std::vector<std::int64_t>{7});
  EXPECT_FALSE(fs::exists(home() / "Documents/0-6"));
  EXPECT_FALSE(fs::exists(localFolder() / "6.plist"));
}

TEST(LocalDelete, OneUnknownNumberLeavesAll) {
  add(5);
  for (const auto* room : {"8", "0", "-5"}) {
    const Result result = runOrv({"local", "delete", "--", "5", room});
    EXPECT_EQ(result.exitCode, 1) << room;
    EXPECT_EQ(message(result), std::string("there is no local course ") + room);
  }
  EXPECT_EQ(runOrv({"local", "delete", "five"}).exitCode, 1);
  EXPECT_EQ(runOrv({"local", "delete"}).exitCode, 1);
  EXPECT_EQ(listed(), std::vector<std::int64_t>{5});
}

TEST(Local, NeedsOneOfItsCommands) {
  EXPECT_EQ(runOrv({"local"}).exitCode, 1);
  EXPECT_EQ(runOrv({"local", "rename"}).exitCode, 1);
}

TEST(Local, NeedsNoServer) {
  const Result result = runOrv({"--server", "ws://127.0.0.1:1/none", "local", "create"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err.find("ws://"), std::string::npos) << result.err;
}

TEST(Local, RunsWithOneHomeShareTheirCoursesAndOthersDoNot) {
  const std::string one = home() / "one", other = home() / "other";
  ASSERT_EQ(runOrv({"--home", one, "local", "add", R"({"roomID":5})"}).exitCode, 0);
  ASSERT_EQ(runOrv({"--home", one, "local", "add", R"({"roomID":6})"}).exitCode, 0);
  EXPECT_EQ(rooms(runOrv({"--home", one, "local", "list"})), (std::vector<std::int64_t>{6, 5}));
  EXPECT_EQ(rooms(runOrv({"--home", other, "local", "list"})), std::vector<std::int64_t>{});
  EXPECT_TRUE(fs::exists(localFolder(one) / "5.plist"));
  EXPECT_TRUE(listed().empty());
}

TEST(Local, StoredUserHasCoursesOfTheirOwn) {
  add(5);
  fs::create_directories(home() / "Documents/userInfo");
  std::ofstream(home() / "Documents/userInfo/userInfo.plist")
      << "<plist version=\"1.0\"><dict><key>uID</key><string>7</string>"
         "<key>classroom</key><string>8</string></dict></plist>";
  EXPECT_TRUE(listed().empty());
  add(6);
  EXPECT_TRUE(fs::exists(home() / "Documents/orv_course/7/8/local/6.plist"));
  fs::remove(home() / "Documents/userInfo/userInfo.plist");
  EXPECT_EQ(listed(), std::vector<std::int64_t>{5});
}

TEST(Local, CoursesWithoutARecordAreLeftOutOfTheList) {
  add(5);
  add(6);
  fs::remove(localFolder() / "5.plist");
  EXPECT_EQ(listed(), std::vector<std::int64_t>{6});
}

// What stands in the way here does so whoever runs the test.

TEST(Local, HomeWithoutRoomForACatalogueIsAnError) {
  fs::create_directories(home() / "Documents");
  std::ofstream(home() / "Documents/orv_course") << "a file where the folder should be";
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"local", "create"}, {"local", "add", R"({"roomID":5})"}}) {
    const Result result = runOrv(arguments);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(message(result).find("could not be written; standard error tells why"), std::string::npos);
    EXPECT_NE(result.err.find("createFolderWithSuffix:domain:"), std::string::npos) << result.err;
  }
}

TEST(Local, ListThatCannotBeWrittenIsAnError) {
  fs::create_directories(localFolder() / "localCourse.plist/in the way");
  fs::create_directories(localFolder() / "localCourse.plist.damaged/in the way");
  const Result added = runOrv({"local", "add", R"({"roomID":5})"});
  EXPECT_EQ(added.exitCode, 1);
  EXPECT_NE(message(added).find("course 5 could not be written"), std::string::npos);
  EXPECT_EQ(runOrv({"local", "create", "--count", "3"}).exitCode, 1);
}

/// Runs the program where no file can grow, as on a full disk.
Result runWithoutRoom(std::vector<std::string> arguments) {
  ::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const rlimit none{0, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &none);
  Result result = runOrv(std::move(arguments));
  ::setrlimit(RLIMIT_FSIZE, &before);
  return result;
}

TEST(Local, FullDiskIsAnErrorAndLeavesWhatWasThere) {
  add(5, "five");
  const Result created = runWithoutRoom({"local", "create", "--count", "2"});
  EXPECT_EQ(created.exitCode, 1);
  EXPECT_NE(message(created).find("could not be written"), std::string::npos);
  EXPECT_NE(created.err.find("File too large"), std::string::npos) << created.err;
  const Result added = runWithoutRoom({"local", "add", R"({"roomID":5,"title":"new"})"});
  EXPECT_EQ(added.exitCode, 1) << "the old record is no sign of success";
  EXPECT_EQ(runOrv({"local", "list"}).json().at("courses").at(0).at("title"), "five");
  const Result deleted = runWithoutRoom({"local", "delete", "5"});
  EXPECT_EQ(deleted.exitCode, 1);
  EXPECT_NE(message(deleted).find("course 5 could not be removed from the disk"), std::string::npos);
}

}  // namespace
}  // namespace orv::test::local_command_test
