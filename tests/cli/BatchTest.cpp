// `invoke --batch`.

#include "Program.h"
#include <devserver/DevServer.h>

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <chrono>

namespace orv::test::batch_test {
namespace {

namespace json = boost::json;

std::string generic(const std::string& command, const json::value& values) {
  return json::serialize(json::object{{"operation", "requestWithCommand:values:completeBlock:timeoutBlock:"},
                                      {"args", {command, values}}}) +
         "\n";
}

TEST(Batch, AnswersInTheOrderOfTheLinesWhateverTheOrderOfTheReplies) {
  DevServer server;
  server.start();
  server.faults().reorderReplies(3);
  const Result result = runOrv(
      {"--server", server.url(), "invoke", "--batch"},
      generic("Dev.One", {{"n", 1}}) + generic("Dev.Two", {{"n", 2}}) + generic("Dev.Three", {{"n", 3}}));
  EXPECT_EQ(result.exitCode, 0) << result.out;
  ASSERT_EQ(result.lines().size(), 3U);
  EXPECT_EQ(result.json(0).at("command"), "Dev.One");
  EXPECT_EQ(result.json(1).at("command"), "Dev.Two");
  EXPECT_EQ(result.json(2).at("command"), "Dev.Three");
  EXPECT_EQ(result.json(2).at("reply").at("v").at("data").at("values").at("n"), 3);
  EXPECT_EQ(server.counters().opened, 1U) << "one link for all";
}

TEST(Batch, WrongLinesGetTheirErrorInPlaceAndTheRestGoesOn) {
  const std::string input = generic("Dev.One", {{"n", 1}}) + "this is not JSON\n" + "\n" +
                            "{\"operation\":\"nothing:\"}\n" + "{\"args\":[]}\n" +
                            "{\"operation\":\"logoutWithCompleteBlock:timeoutBlock:\",\"args\":[1]}\n" +
                            "{\"operation\":\"logoutWithCompleteBlock:timeoutBlock:\",\"argument\":1}\n" +
                            generic("Dev.Two", {{"n", 2}});
  const Result result = runOrv({"invoke", "--batch"}, input);
  EXPECT_EQ(result.exitCode, 1);
  ASSERT_EQ(result.lines().size(), 7U) << result.out;
  EXPECT_EQ(result.json(0).at("outcome"), "complete");
  EXPECT_EQ(result.json(1),
            (json::object{
                {"outcome", "error"},
                {"message", "line 2: not JSON: OrvJson 3840: neither an array nor a dictionary at byte 0"}}));
  EXPECT_EQ(result.json(2),
            (json::object{{"outcome", "error"},
                          {"message", "line 4: no operation of this name; see `orv operations`"}}));
  const json::object expected{{"outcome", "error"},
                              {"message", R"(line 5: {"operation":"…","args":[…]} is expected)"}};
  EXPECT_EQ(result.json(3), expected);
  EXPECT_EQ(result.json(4), (json::object{{"outcome", "error"},
                                          {"message",
                                           "line 6: at most 0 arguments expected, got 1: "
                                           "logoutWithCompleteBlock:timeoutBlock: ()"}}));
  EXPECT_EQ(result.json(5).at("message"), R"(line 7: {"operation":"…","args":[…]} is expected)");
  EXPECT_EQ(result.json(6).at("command"), "Dev.Two");
}

TEST(Batch, RequestsAreUnderWayTogether) {
  DevServer server;
  server.start();
  // No reply comes before the last request has.
  constexpr int kRequests = 20;
  server.faults().reorderReplies(kRequests, "Dev.Slow");
  std::string input;
  for (int i = 0; i < kRequests; ++i) input += generic("Dev.Slow", {{"n", i}});
  const Result result = runOrv({"--server", server.url(), "invoke", "--batch"}, input);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.lines().size(), 20U);
}

TEST(Batch, NeverHasMoreThan256RequestsUnderWay) {
  DevServer server;
  server.start();
  server.faults().setSilent(false);
  server.faults().dropReplies(1, "Dev.First");
  std::string input = generic("Dev.First", {});
  for (int i = 0; i < 400; ++i) input += generic("Dev.Later", {{"n", i}});
  Program program({"--server", server.url(), "invoke", "--batch"});
  program.write(input);
  // The first one holds the others' answers back until its time-out.
  const auto received = [&server] { return server.counters().requests; };
  ASSERT_TRUE(server.waitUntil([&] { return received() == 256; }, std::chrono::seconds(9)));
  EXPECT_FALSE(server.waitUntil([&] { return received() > 256; }, std::chrono::seconds(2)));
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.lines().size(), 401U);
  EXPECT_EQ(result.json(0).at("outcome"), "timeout");
  EXPECT_EQ(result.json(400).at("reply").at("v").at("data").at("values").at("n"), 399);
}

TEST(Batch, ThousandRequestsEachGetTheirOwnReply) {
  std::string input;
  for (int i = 0; i < 1000; ++i) input += generic("Dev.Count", {{"n", i}});
  const Result result = runOrv({"invoke", "--batch"}, input);
  EXPECT_EQ(result.exitCode, 0);
  ASSERT_EQ(result.lines().size(), 1000U);
  for (std::size_t i = 0; i < 1000; ++i) {
    const json::object answer = result.json(i);
    ASSERT_EQ(answer.at("outcome"), "complete") << result.lines()[i];
    ASSERT_EQ(answer.at("reply").at("v").at("data").at("values").at("n"), i);
  }
}

TEST(Batch, RequestHeldForASessionIsSentAgainByALaterLogIn) {
  DevServer server;
  server.start();
  Program program({"--server", server.url(), "invoke", "--batch"});
  program.write(generic("User.Post.Login", {{"phone", "13800000001"}, {"scode", "123456"}}));
  ASSERT_TRUE(program.waitForOutput("\n"));
  server.expireSessions();
  program.write(generic("Classroom.Get.Items", {}));
  ASSERT_TRUE(
      server.waitUntil([&] { return server.counters().refusedNoSession == 1; }, std::chrono::seconds(60)));
  const std::string token = [&] {
    // The token is whatever the log-in told; the last answer line has it.
    Result peek;
    peek.out = program.output();
    return std::string(peek.json().at("reply").at("v").at("data").at("token").as_string());
  }();
  program.write(generic("User.Post.Session", {{"uID", "100001"}, {"token", token}}));
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0) << result.out;
  ASSERT_EQ(result.lines().size(), 3U);
  EXPECT_EQ(result.json(1).at("command"), "Classroom.Get.Items");
  EXPECT_EQ(result.json(1).at("success"), true);
  EXPECT_EQ(result.json(2).at("command"), "User.Post.Session");
}

TEST(Batch, ExitCodeIsTheWorstOfRefusalAndSuccess) {
  const Result result =
      runOrv({"invoke", "--batch"},
             generic("User.Post.Login", {{"phone", "1"}, {"scode", "1"}}) + generic("Dev.Echo", {}));
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.lines().size(), 2U);
}

TEST(Batch, LastLineMayLackItsLineFeed) {
  std::string input = generic("Dev.One", {});
  input.pop_back();
  EXPECT_EQ(runOrv({"invoke", "--batch"}, input).lines().size(), 1U);
}

TEST(Batch, EmptyInputIsNoError) {
  const Result result = runOrv({"invoke", "--batch"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
}

TEST(Batch, LineBeyondItsBoundIsAnErrorAndTheNextOneIsRead) {
  const Result result = runOrv({"invoke", "--batch"},
                               std::string((std::size_t{4} << 20) + 1, 'x') + "\n" + generic("Dev.One", {}));
  EXPECT_EQ(result.exitCode, 1);
  ASSERT_EQ(result.lines().size(), 2U);
  EXPECT_EQ(result.json(0).at("message"), "line 1: too long");
  EXPECT_EQ(result.json(1).at("command"), "Dev.One");
}

TEST(Batch, WithoutALinkEveryLineIsAnswered) {
  const Result result = runOrv({"--server", "ws://127.0.0.1:1", "--wait", "0.2", "invoke", "--batch"},
                               generic("Dev.One", {}) + "wrong\n" + generic("Dev.Two", {}));
  EXPECT_EQ(result.exitCode, 1);
  ASSERT_EQ(result.lines().size(), 3U);
  EXPECT_EQ(result.json(0).at("outcome"), "timeout");
  EXPECT_EQ(result.json(0).at("message"), "the link is not open");
  EXPECT_EQ(result.json(1).at("outcome"), "error");
  EXPECT_EQ(result.json(2).at("outcome"), "timeout");
}

}  // namespace
}  // namespace orv::test::batch_test
