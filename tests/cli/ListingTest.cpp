// `operations` and `log`.

#include "Program.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace orv::test::listing_test {
namespace {

namespace json = boost::json;

std::filesystem::path logFolder() {
  return std::filesystem::path(std::getenv("HOME")) / "Documents/OrvLog/OrvCourse";
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

TEST(Operations, TellsNameCommandAndArgumentsOfEachOnALine) {
  const Result result = runOrv({"operations", "WITHMOBILE:PASSWORD"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(
      result.out,
      R"({"operation":"loginWithMobile:password:completeBlock:timeoutBlock:","command":"User.Post.Login",)"
      R"("arguments":[{"name":"mobile","kind":"text","required":false},)"
      R"({"name":"password","kind":"text","required":true}]})"
      "\n");
}

TEST(Operations, FilterLooksAtCommandsToo) {
  const Result result = runOrv({"operations", "Post.Session"});
  ASSERT_EQ(result.lines().size(), 1U);
  EXPECT_EQ(result.json().at("operation"), "loginWithSession:token:completeBlock:timeoutBlock:");
}

TEST(Operations, WithoutATextListsAll) {
  const Result all = runOrv({"operations"});
  EXPECT_EQ(all.exitCode, 0);
  EXPECT_GE(all.lines().size(), 5U);
  for (std::size_t i = 0; i < all.lines().size(); ++i) {
    EXPECT_TRUE(all.json(i).contains("arguments")) << all.lines()[i];
  }
}

TEST(Operations, GenericRequestHasNoCommandOfItsOwn) {
  const Result result = runOrv({"operations", "requestWithCommand:values:"});
  EXPECT_EQ(result.json().at("command"), nullptr);
  EXPECT_EQ(result.json().at("arguments").as_array().size(), 2U);
}

TEST(Operations, TextThatFitsNoneListsNothing) {
  const Result result = runOrv({"operations", "xyzzy"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
}

TEST(Log, PrintsTheNewestFileAndItsPath) {
  writeFile(logFolder() / "20240101000000_0.log", "old\n");
  writeFile(logFolder() / "20240131084502_0.log", "2024/01/31 08:45:02.000 - new\n");
  writeFile(logFolder() / "notes.txt", "no log\n");
  const Result text = runOrv({"log"});
  EXPECT_EQ(text.exitCode, 0);
  EXPECT_EQ(text.out, "2024/01/31 08:45:02.000 - new\n");
  EXPECT_EQ(runOrv({"log", "--path"}).out, (logFolder() / "20240131084502_0.log").string() + "\n");
}

TEST(Log, ReadingItWritesNothing) {
  writeFile(logFolder() / "20240131084502_0.log", "line\n");
  runOrv({"log"});
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(logFolder()), {}), 1);
}

TEST(Log, HoldsTheLinesOfTheLastRun) {
  ASSERT_EQ(runOrv({"call", "Dev.Echo"}).exitCode, 0);
  const Result result = runOrv({"log"});
  EXPECT_NE(result.out.find(" - Websocket Connected\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(" - Recieve PONG form server, connect server success\n"), std::string::npos);
}

TEST(Log, OfAnotherHomeIsReadThere) {
  const std::string home = std::string(std::getenv("HOME")) + "/elsewhere";
  ASSERT_EQ(runOrv({"--home", home, "call", "Dev.Echo"}).exitCode, 0);
  EXPECT_EQ(runOrv({"log"}).exitCode, 1);
  EXPECT_EQ(runOrv({"--home", home, "log", "--path"}).out.rfind(home + "/Documents/", 0), 0U);
}

}  // namespace
}  // namespace orv::test::listing_test
