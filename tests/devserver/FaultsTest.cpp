#include "devserver/DevServer.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace orv::test::faults_test {
namespace {

using devserver::TimestampFault;
using Clock = std::chrono::steady_clock;

class ReplyFaults : public ServerTest {};

TEST_F(ReplyFaults, DelayedRepliesComeLaterInTheirOrder) {
  server.faults().delayReplies(60ms);
  RawClient client = open();
  const auto start = Clock::now();
  send(client, "1");
  send(client, "2");
  EXPECT_EQ(nextTimestamp(client), R"("1")");
  EXPECT_EQ(nextTimestamp(client), R"("2")");
  EXPECT_GE(Clock::now() - start, 60ms);
}

TEST_F(ReplyFaults, DelayMayBeForOneCommandAndSomeReplies) {
  server.faults().delayReplies(1h, "Dev.Slow", 1);
  RawClient client = open();
  send(client, "1", "Dev.Slow");
  send(client, "2");
  send(client, "3", "Dev.Slow");
  EXPECT_EQ(nextTimestamp(client), R"("2")");
  EXPECT_EQ(nextTimestamp(client), R"("3")");
  EXPECT_EQ(alive(client), "PONG");
}

TEST_F(ReplyFaults, DelayedReplyToAConnectionThatIsGoneIsForgotten) {
  server.faults().delayReplies(20ms, "", 1);
  {
    RawClient client = open();
    send(client, "1");
    ASSERT_TRUE(server.waitUntil([&] { return server.counters().requests == 1; }, kPatience));
  }
  server.faults().delayReplies(20ms, "", 1);
  RawClient client = open();
  send(client, "2");
  EXPECT_EQ(nextTimestamp(client), R"("2")");
}

TEST_F(ReplyFaults, WaitingRepliesAreDroppedBeyondABoundOfBytes) {
  DevServer::Options options;
  options.maxWaitingBytes = 10'000;
  DevServer narrow(options);
  narrow.start();
  RawClient client = RawClient::open(narrow.port());
  const std::string text(3'000, 'x');  // three replies fit, and not the fourth one
  const auto askUntilDropped = [&](std::uint64_t dropped) {
    for (const char* timestamp : {"1", "2", "3", "4"}) {
      client.sendText(RawClient::standardFrame("Dev.Echo", {{"text", text}, {"n", 1}}, timestamp));
    }
    return narrow.waitUntil([&] { return narrow.counters().repliesDropped == dropped; }, kPatience);
  };
  for (std::uint64_t round = 1; round <= 2; ++round) {
    narrow.faults().reorderReplies(100);
    ASSERT_TRUE(askUntilDropped(round));
    narrow.faults().clear();
    for (const char* timestamp : {"3", "2", "1"}) EXPECT_EQ(client.receiveObject().at("s"), timestamp);
  }
  for (int round = 0; round < 2; ++round) {
    narrow.faults().delayReplies(20ms, "", 3);
    for (const char* timestamp : {"1", "2", "3"}) {
      client.sendText(RawClient::standardFrame("Dev.Echo", {{"text", text}, {"n", 1}}, timestamp));
    }
    for (const char* timestamp : {"1", "2", "3"}) EXPECT_EQ(client.receiveObject().at("s"), timestamp);
  }
  narrow.faults().delayReplies(1h);
  EXPECT_TRUE(askUntilDropped(3));
  EXPECT_EQ(alive(client), "PONG");
}

TEST_F(ReplyFaults, DroppedRepliesNeverCome) {
  server.faults().dropReplies(2, "Dev.Lost");
  RawClient client = open();
  for (const char* timestamp : {"1", "2", "3"}) send(client, timestamp, "Dev.Lost");
  EXPECT_EQ(nextTimestamp(client), R"("3")");
  EXPECT_EQ(server.counters().repliesDropped, 2u);
}

TEST_F(ReplyFaults, DuplicatedRepliesComeTwice) {
  server.faults().duplicateReplies(1);
  RawClient client = open();
  send(client, "1");
  send(client, "2");
  EXPECT_EQ(nextTimestamp(client), R"("1")");
  EXPECT_EQ(nextTimestamp(client), R"("1")");
  EXPECT_EQ(nextTimestamp(client), R"("2")");
}

TEST_F(ReplyFaults, HeldRepliesComeInReverseOrder) {
  server.faults().reorderReplies(3);
  RawClient client = open();
  for (const char* timestamp : {"1", "2", "3", "4"}) send(client, timestamp);
  for (const char* expected : {R"("3")", R"("2")", R"("1")", R"("4")"}) {
    EXPECT_EQ(nextTimestamp(client), expected);
  }
}

TEST_F(ReplyFaults, ClearSendsWhatIsHeld) {
  server.faults().reorderReplies(3);
  RawClient client = open();
  send(client, "1");
  send(client, "2");
  EXPECT_EQ(alive(client), "PONG");
  server.faults().clear();
  EXPECT_EQ(nextTimestamp(client), R"("2")");
  EXPECT_EQ(nextTimestamp(client), R"("1")");
}

TEST_F(ReplyFaults, RepliesToOneCommandAreHeldAloneUntilTheyAreLetGo) {
  server.faults().reorderReplies(2, "Dev.Held");
  RawClient client = open();
  send(client, "1", "Dev.Held");
  send(client, "2");
  send(client, "3");
  EXPECT_EQ(nextTimestamp(client), R"("2")");
  EXPECT_EQ(nextTimestamp(client), R"("3")");
  server.faults().clear();
  EXPECT_EQ(nextTimestamp(client), R"("1")");
}

TEST_F(ReplyFaults, TimestampsAreSpoiltInThreeWays) {
  RawClient client = open();
  server.faults().spoilTimestamp(TimestampFault::Unknown);
  send(client, "7");
  const std::string unknown = nextTimestamp(client);
  EXPECT_NE(unknown, R"("7")");
  EXPECT_NE(unknown, "none");
  server.faults().spoilTimestamp(TimestampFault::Text);
  send(client, "7");
  EXPECT_EQ(nextTimestamp(client), R"("not a number")");
  server.faults().spoilTimestamp(TimestampFault::Missing);
  send(client, "7");
  EXPECT_EQ(nextTimestamp(client), "none");
  send(client, "7");
  EXPECT_EQ(nextTimestamp(client), R"("7")");
}

TEST_F(ReplyFaults, FailedRequestsAreNotCarriedOut) {
  RawClient client = open();
  server.faults().failRequests(1000, "nobody", 1, "User.Post.Login");
  const auto reply = login(client);
  EXPECT_EQ(code(reply), 1000);
  EXPECT_EQ(errorText(reply), "nobody");
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 1001);
  EXPECT_EQ(code(login(client)), 0);
}

TEST_F(ReplyFaults, SilentServerReadsAndAnswersNothing) {
  RawClient client = open();
  server.faults().setSilent(true);
  client.sendText("PING");
  send(client, "1");
  ASSERT_TRUE(server.waitUntil([&] { return server.counters().framesReceived == 2; }, kPatience));
  server.faults().setSilent(false);
  send(client, "2");
  EXPECT_EQ(nextTimestamp(client), R"("2")");
}

TEST_F(ReplyFaults, PingIsAnsweredBySomethingElseOrNotAtAll) {
  RawClient client = open();
  server.faults().setPingAnswer("PONK");
  EXPECT_EQ(alive(client), "PONK");
  server.faults().setPingAnswer(std::nullopt);
  client.sendText("PING");
  send(client, "1");
  EXPECT_EQ(nextTimestamp(client), R"("1")");
  server.faults().clear();
  EXPECT_EQ(alive(client), "PONG");
}

TEST_F(ReplyFaults, ExpiredSessionGivesNoSessionUntilItIsRefreshed) {
  RawClient teacher = open(), student = open();
  const json::string token = data(login(teacher)).at("token").as_string();
  login(student, "13900000001");
  EXPECT_EQ(server.expireSessions("100001"), 1u);
  EXPECT_EQ(code(teacher.request("Course.Get.Coming", {})), 1001);
  EXPECT_EQ(code(student.request("Course.Get.Coming", {})), 0);
  EXPECT_EQ(code(teacher.request("User.Post.Session", {{"uID", "100001"}, {"token", token}})), 0);
  EXPECT_EQ(code(teacher.request("Course.Get.Coming", {})), 0);
  EXPECT_EQ(server.expireSessions(), 2u);
  EXPECT_EQ(code(student.request("Course.Get.Coming", {})), 1001);
}

TEST_F(ReplyFaults, RevokedTokenEndsTheSessionForGood) {
  RawClient client = open();
  const json::string token = data(login(client)).at("token").as_string();
  EXPECT_EQ(server.revokeTokens("13800000001"), 1u);
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 1001);
  EXPECT_EQ(code(client.request("User.Post.Session", {{"uID", "100001"}, {"token", token}})), 2);
}

TEST_F(ReplyFaults, FaultsOfDifferentKindsAddUp) {
  server.faults().duplicateReplies(1);
  server.faults().spoilTimestamp(TimestampFault::Missing);
  RawClient client = open();
  send(client, "1");
  EXPECT_EQ(nextTimestamp(client), "none");
  EXPECT_EQ(nextTimestamp(client), "none");
  send(client, "2");
  EXPECT_EQ(nextTimestamp(client), R"("2")");
}

}  // namespace
}  // namespace orv::test::faults_test
