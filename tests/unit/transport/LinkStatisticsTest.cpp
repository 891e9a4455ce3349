#include <orvnetwork/data/Json.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/LinkStatistics.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace orv::link_statistics_test {
namespace {

using testing::ConnectPlan;

class LinkStatisticsOfLink : public LinkFixture {
 protected:
  LinkFigures present() { return link.statistics().link; }
  LinkFigures total() { return link.statistics().total; }
  double secondsOf(std::optional<SteadyTime> moment) const {
    return moment ? Seconds(*moment - begun_).count() : -1;
  }
  void delay(double toServer, double toClient) {
    platform.network().setLatency(Seconds(toServer), Seconds(toClient));
  }

 private:
  const SteadyTime begun_ = platform.clock().steadyNow();
};

void expectNothing(const LinkFigures& figures) {
  EXPECT_EQ(figures.begun, std::nullopt);
  EXPECT_EQ(figures.attempts, 0u);
  EXPECT_EQ(figures.ups, 0u);
  EXPECT_TRUE(figures.failures.empty());
  EXPECT_EQ(figures.steps.whole.count, 0u);
  EXPECT_EQ(figures.sent.frames + figures.sent.bytes + figures.received.frames + figures.received.bytes, 0u);
  EXPECT_EQ(figures.sent.last, std::nullopt);
  EXPECT_EQ(figures.received.last, std::nullopt);
  EXPECT_EQ(figures.requests.count + figures.pings.count, 0u);
  EXPECT_EQ(figures.requests.p50, std::nullopt);
  EXPECT_EQ(figures.timeouts + figures.equalTimestamps + figures.strayReplies, 0u);
  EXPECT_EQ(figures.pushes + figures.unreadable, 0u);
}

TEST_F(LinkStatisticsOfLink, SayNothingBeforeAnythingHappened) {
  runFor(5);
  const LinkStatistics none = link.statistics();
  expectNothing(none.link);
  expectNothing(none.total);
  EXPECT_EQ(none.outstanding + none.parked, 0u);
  EXPECT_EQ(secondsOf(none.readAt), 5);
}

TEST_F(LinkStatisticsOfLink, TellWhatTheWayUpHasTaken) {
  delay(0.1, 0.2);
  platform.network().planConnect(ConnectPlan::accept(Seconds(2)));
  runFor(1);
  link.watchNetworkStatus();
  runFor(10);
  ASSERT_TRUE(link.isOpen());
  for (const LinkFigures& figures : {present(), total()}) {
    EXPECT_EQ(secondsOf(figures.begun), 1);
    EXPECT_EQ(figures.attempts, 1u);
    EXPECT_EQ(figures.ups, 1u);
    EXPECT_EQ(figures.steps.confirm.count, 1u);
    EXPECT_NEAR(figures.steps.confirm.sum.count(), 0.3, 1e-9);
    EXPECT_EQ(figures.steps.confirm.longest, figures.steps.confirm.sum);
    EXPECT_GE(figures.steps.whole.sum.count(), 2.3 - 1e-9);
    EXPECT_EQ(figures.pings.count, 1u);
    EXPECT_NEAR(figures.pings.longest->count(), 0.3, 1e-9);
    EXPECT_EQ(figures.requests.count, 0u);
  }
}

TEST_F(LinkStatisticsOfLink, CountFramesAndBytesBothWays) {
  bringUp();
  runFor(3);
  const auto item = send("Room.Get");
  settle();
  const LinkFigures sent = present();
  EXPECT_EQ(sent.sent.frames, 2u) << "PING and the request";
  EXPECT_EQ(sent.sent.bytes, 4 + item->jsonString->size());
  EXPECT_EQ(secondsOf(sent.sent.last), 3);
  EXPECT_EQ(sent.received.frames, 1u);
  EXPECT_EQ(sent.received.bytes, 4u);
  EXPECT_EQ(secondsOf(sent.received.last), 0);
  EXPECT_EQ(link.statistics().outstanding, 1u);
  runFor(1);
  link.send("hello");
  answer(item, {{"ret", 0}});
  settle();
  const LinkFigures answered = present();
  EXPECT_EQ(answered.sent.frames, 3u);
  EXPECT_EQ(answered.sent.bytes, 9 + item->jsonString->size());
  EXPECT_EQ(secondsOf(answered.sent.last), 4);
  EXPECT_EQ(answered.received.frames, 2u);
  EXPECT_GT(answered.received.bytes, 30u);
  EXPECT_EQ(secondsOf(answered.received.last), 4);
  EXPECT_EQ(link.statistics().outstanding, 0u);
}

TEST_F(LinkStatisticsOfLink, CountNothingThatIsNotSent) {
  platform.network().setDefaultPlan(ConnectPlan::refuse());
  link.send("hello");
  send("a");
  settle();
  EXPECT_EQ(outcomes, Strings{"a timeout"});
  EXPECT_EQ(total().sent.frames, 0u);
  EXPECT_EQ(total().requests.count, 0u);
  EXPECT_EQ(total().timeouts, 0u) << "it was never under way";
}

TEST_F(LinkStatisticsOfLink, MeasureRequests) {
  bringUp();
  answerAll({{"ret", 0}});
  for (const double latency : {0.010, 0.020, 0.030, 0.040, 0.500}) {
    delay(latency / 2, latency / 2);
    send("a");
    runFor(1);
  }
  for (const LinkFigures& figures : {present(), total()}) {
    EXPECT_EQ(figures.requests.count, 5u);
    EXPECT_NEAR(figures.requests.sum.count(), 0.6, 1e-6);
    EXPECT_NEAR(figures.requests.p50->count(), 0.030, 0.030 * 0.032);
    EXPECT_NEAR(figures.requests.p99->count(), 0.500, 0.500 * 0.032);
    EXPECT_NEAR(figures.requests.longest->count(), 0.500, 1e-6);
  }
}

TEST_F(LinkStatisticsOfLink, MeasureToTheArrivalOfTheReplyAndNotToItsTurnOnTheMainThread) {
  bringUp();
  answerAll({{"ret", 0}});
  delay(0.1, 0.1);
  send("a");
  settle();
  platform.holdMainQueue(true);
  runFor(5);
  platform.holdMainQueue(false);
  settle();
  EXPECT_EQ(outcomes, Strings{"a ok"});
  EXPECT_NEAR(present().requests.longest->count(), 0.2, 1e-6);
}

TEST_F(LinkStatisticsOfLink, CountATimeoutWithItsFullTime) {
  bringUp();
  answerAll({{"ret", 0}});
  send("a");
  settle();
  server.onRequest({});
  send("b");
  runFor(11);
  EXPECT_EQ(outcomes, (Strings{"a ok", "b timeout"}));
  const LinkFigures figures = present();
  EXPECT_EQ(figures.timeouts, 1u);
  EXPECT_EQ(figures.requests.count, 2u);
  EXPECT_NEAR(figures.requests.longest->count(), 10, 0.01);
  EXPECT_NEAR(figures.requests.p99->count(), 10, 0.32);
  EXPECT_EQ(link.statistics().outstanding, 0u);
}

TEST_F(LinkStatisticsOfLink, CountLateRepliesAndThoseThatNobodyHasAskedFor) {
  bringUp();
  const auto item = send("a");
  runFor(11);
  answer(item, {{"ret", 0}});
  settle();
  EXPECT_EQ(present().strayReplies, 1u);
  EXPECT_EQ(present().requests.count, 1u) << "the time-out alone";
  EXPECT_EQ(present().pushes, 0u);
}

TEST_F(LinkStatisticsOfLink, CountEqualTimestamps) {
  bringUp();
  const auto first = makeItem("a");
  const auto second = makeItem("b");
  second->timestamp = first->timestamp;
  link.sendRequestItem(first);
  runFor(1);
  link.sendRequestItem(second);
  runFor(1);
  EXPECT_EQ(present().equalTimestamps, 1u);
  EXPECT_EQ(link.statistics().outstanding, 1u);
  answer(second, {{"ret", 0}});
  settle();
  EXPECT_EQ(present().requests.count, 1u);
  EXPECT_NEAR(present().requests.longest->count(), 1, 1e-6) << "that of the second one";
}

TEST_F(LinkStatisticsOfLink, CountParkedRequestsEachTimeThatTheyAreAnswered) {
  bringUp();
  const auto item = send("a");
  runFor(1);
  answer(item, {{"ret", 1001}});
  settle();
  EXPECT_EQ(link.statistics().parked, 1u);
  EXPECT_EQ(present().requests.count, 1u);
  runFor(100);
  const auto session = send("User.Post.Session");
  settle();
  answer(session, {{"ret", 0}});
  settle();
  EXPECT_EQ(link.statistics().parked, 0u);
  runFor(2);
  answer(item, {{"ret", 0}});
  settle();
  EXPECT_EQ(present().requests.count, 3u);
  EXPECT_NEAR(present().requests.longest->count(), 2, 1e-6) << "the time without a session does not count";
}

TEST_F(LinkStatisticsOfLink, CountPushesAndWhatCannotBeRead) {
  bringUp();
  const auto connection = server.latest();
  for (const char* command :
       {"Rooms.Push.Message", "User.OtherDevice.Login", "User.OtherDevice.Logout", "System.Upload.Log"}) {
    server.push(connection, command, {});
  }
  for (const char* text : {"PONK", "[]", "{\"v\":1}", "{"}) server.send(connection, text);
  server.sendBinary(connection, "\x01\x02");
  settle();
  EXPECT_EQ(present().pushes, 4u);
  EXPECT_EQ(present().unreadable, 5u);
  EXPECT_EQ(present().strayReplies, 0u);
  EXPECT_EQ(present().received.frames, 10u) << "PONG, the pushes, and what cannot be read";
}

TEST_F(LinkStatisticsOfLink, CountPongsOnceAndMeasureTheKeepAlive) {
  bringUp();
  delay(0.05, 0.05);
  runFor(91);
  EXPECT_EQ(present().pings.count, 4u) << "the first one, and after 30, 60 and 90 s";
  EXPECT_NEAR(present().pings.longest->count(), 0.1, 1e-6);
  server.send(server.latest(), "PONG");
  settle();
  EXPECT_EQ(present().pings.count, 4u) << "nobody has asked for it";
  EXPECT_EQ(present().ups, 1u);
  link.send("PING");
  runFor(1);
  EXPECT_EQ(present().pings.count, 5u);
}

TEST_F(LinkStatisticsOfLink, KeepTheAttemptsThatTheLinkHasTakenAndBeginAnewAfterIt) {
  platform.network().planConnect(ConnectPlan::refuse());
  platform.network().planConnect(ConnectPlan::unknownHost());
  link.watchNetworkStatus();
  runFor(30);
  ASSERT_TRUE(link.isOpen());
  EXPECT_EQ(present().attempts, 3u);
  EXPECT_EQ(present().ups, 1u);
  const std::map<LinkTrouble, std::uint64_t> onTheWay{{LinkTrouble::Refused, 1},
                                                      {LinkTrouble::NameNotFound, 1}};
  EXPECT_EQ(present().failures, onTheWay);
  answerAll({{"ret", 0}});
  send("a");
  runFor(10);
  platform.network().setDefaultPlan(ConnectPlan::neverAnswer());
  server.close(server.latest(), 4000, "bye");
  settle();
  EXPECT_EQ(present().attempts, 1u) << "the one that follows at once";
  EXPECT_EQ(present().ups, 0u);
  EXPECT_TRUE(present().failures.empty());
  EXPECT_EQ(present().requests.count, 0u);
  EXPECT_EQ(present().sent.last, std::nullopt);
  EXPECT_EQ(secondsOf(present().begun), now());
  EXPECT_EQ(total().attempts, 4u);
  EXPECT_EQ(total().ups, 1u);
  EXPECT_EQ(total().failures.at(LinkTrouble::ClosedByServer), 1u);
  EXPECT_EQ(total().requests.count, 1u);
  EXPECT_EQ(secondsOf(total().begun), 0);
}

TEST_F(LinkStatisticsOfLink, TellTheLongestOfThisLinkAlone) {
  bringUp();
  answerAll({{"ret", 0}});
  delay(1, 1);
  send("slow");
  runFor(5);
  link.reconnect();
  delay(0.05, 0.05);
  runFor(5);
  ASSERT_TRUE(link.isOpen());
  send("quick");
  runFor(5);
  EXPECT_NEAR(present().requests.longest->count(), 0.1, 1e-6);
  EXPECT_NEAR(present().requests.p99->count(), 0.1, 0.1 * 0.032);
  EXPECT_NEAR(total().requests.longest->count(), 2, 1e-6);
}

TEST_F(LinkStatisticsOfLink, KeepAllOfALinkThatIsLostUntilTheNextAttempt) {
  bringUp();
  answerAll({{"ret", 0}});
  send("a");
  runFor(10);
  platform.reachability().report(ReachabilityStatus::NotReachable);
  runFor(100);
  EXPECT_EQ(present().failures.at(LinkTrouble::NoNetwork), 1u);
  EXPECT_EQ(present().requests.count, 1u);
  platform.reachability().report(ReachabilityStatus::NotReachable);
  settle();
  EXPECT_EQ(total().failures.at(LinkTrouble::NoNetwork), 1u) << "there was nothing to close any more";
  platform.reachability().report(ReachabilityStatus::WiFi);
  settle();
  EXPECT_EQ(present().requests.count, 0u);
  EXPECT_EQ(total().requests.count, 1u);
}

TEST_F(LinkStatisticsOfLink, TellAttemptsThatWereGivenUpForOthers) {
  platform.network().planConnect(ConnectPlan::neverAnswer());
  link.watchNetworkStatus();
  runFor(5);
  link.reconnect();
  server.setAnswersPing(false);
  runFor(5);
  EXPECT_EQ(total().failures.at(LinkTrouble::NoAnswer), 1u);
  link.reconnect();
  runFor(5);
  EXPECT_EQ(total().failures.at(LinkTrouble::Unconfirmed), 1u);
  server.setAnswersPing(true);
  link.reconnect();
  runFor(5);
  ASSERT_TRUE(link.isOpen());
  EXPECT_EQ(total().failures.at(LinkTrouble::Unconfirmed), 2u);
  link.reconnect();
  runFor(5);
  EXPECT_EQ(total().failures.size(), 2u) << "a good link that is replaced has not failed";
  platform.holdMainQueue(true);
  server.close(server.latest(), 1000);
  settle();
  link.reconnect();
  platform.holdMainQueue(false);
  settle();
  EXPECT_EQ(total().failures.at(LinkTrouble::Lost), 1u) << "its end was never told";
}

TEST_F(LinkStatisticsOfLink, BecomeADictionary) {
  delay(0.1, 0.1);
  link.watchNetworkStatus();
  runFor(3);
  answerAll({{"ret", 0}});
  send("a");
  runFor(2);
  const json::object all = jsonOf(link.statistics());
  const json::object& present = all.at("link").as_object();
  EXPECT_EQ(present.at("begunAgo"), json::value(5000.0));
  EXPECT_EQ(present.at("attempts"), json::value(1));
  EXPECT_EQ(present.at("requests").at("count"), json::value(1));
  EXPECT_EQ(present.at("requests").at("longest"), json::value(200.0));
  EXPECT_EQ(present.at("received").at("frames"), json::value(2));
  EXPECT_EQ(present.at("received").at("lastAgo"), json::value(1800.0));
  EXPECT_EQ(present.at("steps").at("confirm").at("sum"), json::value(200.0));
  EXPECT_EQ(present.at("failures"), json::value(json::object()));
  EXPECT_EQ(all.at("total").at("pings").at("count"), json::value(1));
  EXPECT_EQ(all.at("outstanding"), json::value(0));
  EXPECT_EQ(all.at("parked"), json::value(0));
  EXPECT_TRUE(writeJsonCompact(all));
}

TEST_F(LinkStatisticsOfLink, TellThoseThatWaitForAReplyApartFromThoseThatWaitForASession) {
  bringUp();
  const auto parked = send("a");
  settle();
  answer(parked, {{"ret", 1001}});
  send("b");
  send("c");
  settle();
  const LinkStatistics now = link.statistics();
  EXPECT_EQ(now.outstanding, 2u);
  EXPECT_EQ(now.parked, 1u);
  EXPECT_EQ(jsonOf(now).at("outstanding"), json::value(2));
  EXPECT_EQ(jsonOf(now).at("parked"), json::value(1));
  EXPECT_EQ(link.outstandingRequestCount(), 2u);
  EXPECT_EQ(link.parkedRequestCount(), 1u);
}

TEST_F(LinkStatisticsOfLink, TellTheNamesOfFailuresInTheDictionary) {
  platform.network().setDefaultPlan(ConnectPlan::refuse());
  link.watchNetworkStatus();
  settle();
  const json::object all = jsonOf(link.statistics());
  EXPECT_EQ(all.at("link").at("failures"), json::value({{"refused", 1}}));
  EXPECT_TRUE(all.at("link").at("requests").at("p50").is_null());
  EXPECT_TRUE(all.at("link").at("sent").at("lastAgo").is_null());
}

}  // namespace
}  // namespace orv::link_statistics_test
