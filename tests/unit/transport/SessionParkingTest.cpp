#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <memory>
#include <string>
#include <vector>

namespace orv::session_parking_test {
namespace {

class SessionParking : public LinkFixture {
 protected:
  std::vector<std::string> commandsReceived() const {
    std::vector<std::string> commands;
    for (const auto& frame : server.requests()) commands.emplace_back(frame.at("c").as_string());
    return commands;
  }
  void park(const std::shared_ptr<QXRequestItem>& item, int code = 1001) {
    settle();
    answer(item, {{"ret", code}});
    settle();
  }
};

TEST_F(SessionParking, HoldsARequestThatNeedsASession) {
  bringUp();
  for (const int code : {1000, 1001, 10031}) park(send("a"), code);
  EXPECT_EQ(outcomes, Strings{});
  EXPECT_EQ(link.parkedRequestCount(), 3u);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  runFor(600);
  EXPECT_EQ(outcomes, Strings{}) << "a held request has no time-out";
}

TEST_F(SessionParking, HoldsNothingForOtherCodes) {
  bringUp();
  for (const int code : {999, 1002, 10030, 10032, -1001, 2}) park(send("a"), code);
  EXPECT_EQ(outcomes.size(), 6u);
  EXPECT_EQ(link.parkedRequestCount(), 0u);
}

TEST_F(SessionParking, SendsHeldRequestsAgainInOrderWithTheSameFrame) {
  bringUp();
  const auto a = send("a");
  const auto b = send("b");
  park(b);
  park(a);
  server.clearRecords();
  const auto session = send("User.Post.Session");
  settle();
  answer(session, {{"ret", 0}, {"data", json::object()}});
  settle();
  EXPECT_EQ(commandsReceived(), (Strings{"User.Post.Session", "b", "a"})) << "as they were held";
  EXPECT_EQ(server.frames()[1].text, *b->jsonString);
  EXPECT_EQ(server.frames()[2].text, *a->jsonString);
  EXPECT_EQ(outcomes, Strings{"User.Post.Session ok"});
  EXPECT_EQ(link.parkedRequestCount(), 0u);
  answer(a, {{"ret", 0}});
  answer(b, {{"ret", 5}});
  settle();
  EXPECT_EQ(outcomes, (Strings{"User.Post.Session ok", "a ok", "b refused"}));
}

TEST_F(SessionParking, SendsHeldRequestsBeforeTheSessionsOwnCallback) {
  bringUp();
  park(send("held"));
  const auto session = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "User.Post.Session", json::object(),
      [this](const auto&, bool, const auto&) {
        outcomes.push_back("session, held: " + std::to_string(link.parkedRequestCount()));
        send("from the callback");
      },
      nullptr);
  link.sendRequestItem(session);
  settle();
  answer(session, {{"ret", 0}});
  settle();
  EXPECT_EQ(outcomes, Strings{"session, held: 0"});
  EXPECT_EQ(commandsReceived(), (Strings{"held", "User.Post.Session", "held", "from the callback"}));
}

TEST_F(SessionParking, KeepsHoldingAfterASessionThatFailed) {
  bringUp();
  park(send("a"));
  park(send("User.Post.Session"), 2);
  EXPECT_EQ(outcomes, Strings{"User.Post.Session refused"});
  EXPECT_EQ(link.parkedRequestCount(), 1u);
}

TEST_F(SessionParking, NeverHoldsTheSessionRequestItself) {
  bringUp();
  for (const int code : {1000, 1001, 10031}) park(send("User.Post.Session"), code);
  EXPECT_EQ(outcomes, Strings(3, "User.Post.Session refused"));
  EXPECT_EQ(link.parkedRequestCount(), 0u);
}

TEST_F(SessionParking, GivesAResentRequestAFreshTimeout) {
  bringUp();
  park(send("a"));
  runFor(60);
  const auto session = send("User.Post.Session");
  settle();
  answer(session, {{"ret", 0}});
  runFor(9.9);
  EXPECT_EQ(outcomes, Strings{"User.Post.Session ok"});
  runFor(0.2);
  EXPECT_EQ(outcomes, (Strings{"User.Post.Session ok", "a timeout"}));
}

TEST_F(SessionParking, LetsTheFirstTimeoutEndAResentRequest) {
  bringUp();
  park(send("a"));
  runFor(4);
  const auto session = send("User.Post.Session");
  settle();
  answer(session, {{"ret", 0}});
  runFor(5.9);
  EXPECT_EQ(outcomes, Strings{"User.Post.Session ok"});
  runFor(0.2);
  EXPECT_EQ(outcomes, (Strings{"User.Post.Session ok", "a timeout"}))
      << "an armed time-out looks at the identifier only";
  runFor(20);
  EXPECT_EQ(outcomes.size(), 2u);
}

TEST_F(SessionParking, HoldsAResentRequestAgain) {
  bringUp();
  const auto item = send("a");
  for (int round = 0; round < 3; ++round) {
    park(item);
    EXPECT_EQ(link.parkedRequestCount(), 1u);
    const auto session = send("User.Post.Session");
    settle();
    answer(session, {{"ret", 0}});
    settle();
    EXPECT_EQ(link.parkedRequestCount(), 0u);
  }
  answer(item, {{"ret", 0}});
  settle();
  EXPECT_EQ(outcomes.back(), "a ok");
}

TEST_F(SessionParking, IgnoresASessionReplyThatNobodyAskedFor) {
  bringUp();
  park(send("a"));
  server.push(1, "User.Post.Session", {{"ret", 0}});
  settle();
  EXPECT_EQ(link.parkedRequestCount(), 1u);
  EXPECT_EQ(countLogged("### WebSocket Timeout ### User.Post.Session"), 1u);
}

TEST_F(SessionParking, EndsHeldRequestsWhenASessionReplyIsHandledWithTheLinkClosed) {
  bringUp();
  park(send("a"));
  park(send("b"));
  // The callback runs the host's loop while the session reply arrives, and then closes the link: the reply's turn
  // comes when the link is down.
  const auto session = makeItem("User.Post.Session");
  const auto slow = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "slow", json::object(),
      [&](const auto&, bool, const auto&) {
        answer(session, {{"ret", 0}});
        runFor(1);
        link.close();
      },
      nullptr);
  link.sendRequestItem(slow);
  link.sendRequestItem(session);
  settle();
  answer(slow, {{"ret", 0}});
  settle();
  EXPECT_EQ(outcomes, (Strings{"a timeout", "b timeout", "User.Post.Session ok"}));
  EXPECT_EQ(link.parkedRequestCount(), 0u);
}

TEST_F(SessionParking, LogsTheRefusal) {
  bringUp();
  park(send("a"));
  EXPECT_EQ(countLoggedStart("请求异常 a {"), 1u);
}

}  // namespace
}  // namespace orv::session_parking_test
