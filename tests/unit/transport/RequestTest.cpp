#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <string>
#include <vector>

namespace orv::request_test {
namespace {

class Request : public LinkFixture {};

TEST_F(Request, GoesOutAsItsFrameAndNothingElse) {
  bringUp();
  const auto item = send("Course.Get.Info", json::object{{"roomID", "7"}});
  EXPECT_EQ(server.frames().size(), 0u) << "the caller never waits for the link";
  settle();
  ASSERT_EQ(server.frames().size(), 1u);
  EXPECT_EQ(server.frames()[0].text, *item->jsonString);
}

TEST_F(Request, CompletesWithTheWholeReplyFrame) {
  bringUp();
  const auto item = send("Course.Get.Info");
  settle();
  answer(item, {{"ret", 0}, {"data", {{"title", "代数"}}}});
  settle();
  EXPECT_EQ(outcomes, Strings{"Course.Get.Info ok"});
  EXPECT_EQ(json::serialize(lastReply), "{\"C\":\"Course.Get.Info\",\"s\":\"" +
                                            std::to_string(item->timestamp) +
                                            "\",\"v\":{\"ret\":0,\"data\":{\"title\":\"代数\"}}}");
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
}

TEST_F(Request, IsRefusedByACodeThatIsNotZeroAndThatIsLogged) {
  bringUp();
  const auto item = send("Course.Get.Info");
  settle();
  answer(item, {{"ret", 77}, {"err", "no"}});
  settle();
  EXPECT_EQ(outcomes, Strings{"Course.Get.Info refused"});
  EXPECT_EQ(countLoggedStart("请求异常 Course.Get.Info {"), 1u);
}

TEST_F(Request, SucceedsWithoutACodeOrWithoutValues) {
  bringUp();
  const auto first = send("a");
  const auto second = send("b");
  settle();
  answer(first, {});
  server.send(1, R"({"C":"b","s":)" + std::to_string(second->timestamp) + "}");
  settle();
  EXPECT_EQ(outcomes, (Strings{"a ok", "b ok"}));
}

TEST_F(Request, IsMatchedByItsIdentifierAlone) {
  bringUp();
  const auto item = send("a");
  settle();
  server.send(1, R"({"C":"something.else","s":"xx","v":{}})");
  server.send(1, R"({"C":"a","s":"1","v":{}})");
  settle();
  EXPECT_EQ(outcomes, Strings{});
  EXPECT_EQ(countLogged("### WebSocket Timeout ### something.else"), 1u);
  EXPECT_EQ(countLogged("### WebSocket Timeout ### a"), 1u);
  server.send(1, R"({"C":"another.name","s":)" + std::to_string(item->timestamp) + "}");
  settle();
  EXPECT_EQ(outcomes, Strings{"a ok"});
}

TEST_F(Request, TimesOutAfterTenSecondsToTheTick) {
  bringUp();
  const auto item = send("a");
  runFor(9.999);
  EXPECT_EQ(outcomes, Strings{});
  EXPECT_EQ(link.outstandingRequestCount(), 1u);
  runFor(0.001);
  EXPECT_EQ(outcomes, Strings{"a timeout"});
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  EXPECT_EQ(countLogged("#WebSocketWithBlock# TIMEOUT " + std::to_string(item->timestamp)), 1u);
  EXPECT_EQ(countLogged("  \"c\" : \"a\","), 1u) << "the frame's text follows in the log";
  runFor(100);
  EXPECT_EQ(outcomes.size(), 1u);
}

TEST_F(Request, NeverHearsALateReply) {
  bringUp();
  const auto item = send("a");
  runFor(10);
  answer(item, {{"ret", 0}});
  settle();
  EXPECT_EQ(outcomes, Strings{"a timeout"});
  EXPECT_EQ(countLogged("### WebSocket Timeout ### a"), 1u);
}

TEST_F(Request, EndsOnceThoughTheReplyComesTwice) {
  bringUp();
  const auto item = send("a");
  settle();
  answer(item, {{"ret", 0}});
  answer(item, {{"ret", 0}});
  runFor(20);
  EXPECT_EQ(outcomes, Strings{"a ok"});
  EXPECT_EQ(countLogged("### WebSocket Timeout ### a"), 1u);
}

TEST_F(Request, OnAClosedLinkTimesOutBeforeTheCallReturnsAndOpensTheLink) {
  send("a");
  EXPECT_EQ(outcomes, Strings{"a timeout"});
  EXPECT_EQ(attempts().size(), 1u);
  settle();
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(server.countFrames("PING"), 1u);
  EXPECT_EQ(server.frames().size(), 1u) << "the request itself is not kept";
  EXPECT_EQ(countLogged("WebSocket is closed, ignore sendRequestItem:a"), 1u);
  runFor(20);
  EXPECT_EQ(outcomes.size(), 1u);
}

TEST_F(Request, BeforePongCountsAsSentOnAClosedLinkAndReplacesAnOldSocket) {
  server.setAnswersPing(false);
  link.watchNetworkStatus();
  settle();
  send("a");
  EXPECT_EQ(outcomes, Strings{"a timeout"});
  EXPECT_EQ(attempts().size(), 1u) << "within 1.5 s of the last reconnect";
  runFor(1.5);
  send("b");
  EXPECT_EQ(outcomes, (Strings{"a timeout", "b timeout"}));
  EXPECT_EQ(attempts().size(), 2u);
  server.setAnswersPing(true);
  settle();
  EXPECT_TRUE(link.isOpen());
}

TEST_F(Request, MayLackBothCallbacks) {
  const auto bare = [] {
    return QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock("a", json::object(), nullptr,
                                                                                nullptr);
  };
  link.sendRequestItem(bare());
  runFor(2);
  link.reconnect();
  settle();
  const auto answered = bare();
  link.sendRequestItem(answered);
  link.sendRequestItem(bare());
  settle();
  EXPECT_EQ(link.outstandingRequestCount(), 2u);
  answer(answered, {{"ret", 0}});
  runFor(11);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
}

TEST_F(Request, WithoutATextSendsNothingAndTimesOut) {
  bringUp();
  const auto item = makeItem("a");
  item->jsonString.reset();
  link.sendRequestItem(item);
  runFor(9);
  EXPECT_EQ(server.frames().size(), 0u);
  runFor(1);
  EXPECT_EQ(outcomes, Strings{"a timeout"});
}

TEST_F(Request, ReplacesAnEarlierOneWithTheSameIdentifier) {
  bringUp();
  platform.queueRandom({7, 7});
  const auto first = send("first");
  const auto second = send("second");
  ASSERT_EQ(first->timestamp, second->timestamp);
  settle();
  EXPECT_EQ(link.outstandingRequestCount(), 1u);
  EXPECT_EQ(server.frames().size(), 2u) << "both go out";
  answer(second, {{"ret", 0}});
  runFor(20);
  EXPECT_EQ(outcomes, Strings{"second ok"});
}

TEST_F(Request, IsInTheTableWhileItsCallbackRunsAndNotAfter) {
  bringUp();
  std::vector<std::size_t> counts;
  const auto note = [&](auto&&...) { counts.push_back(link.outstandingRequestCount()); };
  const auto item =
      QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock("a", json::object(), note, note);
  link.sendRequestItem(item);
  settle();
  answer(item, {});
  settle();
  const auto late =
      QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock("b", json::object(), note, note);
  link.sendRequestItem(late);
  runFor(10);
  EXPECT_EQ(counts, (std::vector<std::size_t>{1, 1}));
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
}

TEST_F(Request, GoesOutInTheOrderOfTheCalls) {
  bringUp();
  Strings sent;
  for (int i = 0; i < 50; ++i) sent.push_back(*send("c" + std::to_string(i))->jsonString);
  settle();
  Strings received;
  for (const auto& frame : server.frames()) received.push_back(frame.text);
  EXPECT_EQ(received, sent);
}

TEST_F(Request, RepliesAreHandedOutInTheOrderOfTheirArrival) {
  bringUp();
  const auto a = send("a");
  const auto b = send("b");
  const auto c = send("c");
  settle();
  answer(c, {});
  answer(a, {{"ret", 1}});
  answer(b, {});
  settle();
  EXPECT_EQ(outcomes, (Strings{"c ok", "a refused", "b ok"}));
}

TEST_F(Request, TimesOutThoughTheLinkIsGone) {
  bringUp();
  runFor(5);
  send("a");
  settle();
  link.close();
  runFor(10);
  EXPECT_EQ(outcomes, Strings{"a timeout"});
}

TEST_F(Request, MayBeAnsweredOverTheNextSocket) {
  bringUp();
  runFor(5);
  const auto item = send("a");
  settle();
  server.reset(1);
  settle();
  ASSERT_TRUE(link.isOpen());
  answer(item, {{"ret", 0}});
  settle();
  EXPECT_EQ(outcomes, Strings{"a ok"});
}

TEST_F(Request, ThatIsNullIsIgnored) {
  link.sendRequestItem(nullptr);
  settle();
  EXPECT_EQ(attempts().size(), 0u);
}

TEST_F(Request, ManyTimeoutsDueTogetherAllEnd) {
  bringUp();
  for (int i = 0; i < 20000; ++i) {
    const auto item = makeItem("a");
    item->timestamp = i;  // the clock stands still, so their own identifiers would collide
    link.sendRequestItem(item);
  }
  runFor(10.1);
  EXPECT_EQ(outcomes.size(), 20000u);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  EXPECT_EQ(link.armedTimeoutCount(), 0u);
}

TEST_F(Request, ATimeoutIsMeasuredFromTheCallThoughTheMainThreadIsBusy) {
  bringUp();
  platform.holdMainQueue(true);
  send("a");
  runFor(4);
  platform.holdMainQueue(false);
  runFor(5.9);
  EXPECT_EQ(outcomes, Strings{});
  runFor(0.2);
  EXPECT_EQ(outcomes, Strings{"a timeout"});
}

TEST_F(Request, AJumpOfTheWallClockMovesNoTimeout) {
  bringUp();
  send("a");
  settle();
  platform.jumpWallClock(Seconds(3600));
  runFor(9.9);
  EXPECT_EQ(outcomes, Strings{});
  runFor(0.1);
  EXPECT_EQ(outcomes, Strings{"a timeout"});
}

}  // namespace
}  // namespace orv::request_test
