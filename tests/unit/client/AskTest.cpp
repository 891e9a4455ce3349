#include <orvnetwork/client/Ask.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <boost/json/serialize.hpp>

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv::ask_test {
namespace {

class AskFixture : public LinkFixture {
 protected:
  static constexpr auto& askInfo = ask<&QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>;
  static constexpr auto& askAny = ask<&QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>;

  auto note() {
    return [this](const Reply& reply) {
      EXPECT_TRUE(platform.mainQueue().isCurrent());
      outcomes.push_back(reply.sentence());
    };
  }
  Pending<> load(std::string room) {
    auto asked = askInfo(room);
    const Reply reply = co_await asked;
    outcomes.push_back(reply.sentence());
  }
};

using Ask = AskFixture;

TEST_F(Ask, SendsWhatTheOperationSendsAndTellsTheReply) {
  bringUp();
  answerAll({{"ret", 0}, {"data", {{"title", "代数"}}}});
  const auto kept = askInfo("7").then([this](const Reply& reply) {
    outcomes.push_back(json::serialize(*reply.data()));
    lastReply = *reply.frame();
  });
  settle();
  EXPECT_EQ(outcomes, Strings{R"({"title":"代数"})"});
  const auto sent = server.lastRequest("Course.Get.Info");
  ASSERT_TRUE(sent);
  EXPECT_EQ(json::serialize(sent->at("v")), R"({"roomID":"7"})");
  EXPECT_EQ(lastReply.at("s"), sent->at("s"));
}

TEST_F(Ask, TellsARefusal) {
  bringUp();
  answerAll({{"ret", 77}, {"err", "no"}});
  const auto kept = askInfo("7").then(note());
  settle();
  EXPECT_EQ(outcomes, Strings{"Course.Get.Info was refused with code 77: no"});
}

TEST_F(Ask, RequestsOfOneMomentAreToldApart) {
  bringUp();
  server.onRequest([this](testing::ConnectionId connection, const json::object& frame) {
    server.reply(connection, frame, {{"ret", 0}, {"data", frame.at("v")}});
  });
  // The clock stands still meanwhile: some forty pairs of these would have the same identifier.
  constexpr int kRequests = 300;
  int right = 0;
  std::vector<PendingCallback> kept;
  for (int i = 0; i < kRequests; ++i) {
    kept.push_back(askInfo(std::to_string(i)).then([&right, i](const Reply& reply) {
      const auto* const data = reply.data();
      right += data != nullptr && data->at("roomID") == json::value(std::to_string(i)) ? 1 : 0;
    }));
  }
  settle();
  EXPECT_EQ(right, kRequests);
}

TEST_F(Ask, TellsThatNoAnswerCame) {
  bringUp();
  const auto kept = askInfo("7").then(note());
  runFor(9.999);
  EXPECT_EQ(outcomes, Strings{});
  runFor(0.001);
  EXPECT_EQ(outcomes, Strings{"Course.Get.Info was not answered in time"});
}

TEST_F(Ask, IsAnsweredInALoopThatTheCallbackOfAnotherRuns) {
  bringUp();
  answerAll({{"ret", 77}, {"err", "no"}});
  PendingCallback inner;
  const auto outer = askInfo("7").then([&](const Reply&) {
    inner = askInfo("8").then(note());
    runFor(1);
    outcomes.push_back("outer");
  });
  settle();
  EXPECT_EQ(outcomes, (Strings{"Course.Get.Info was refused with code 77: no", "outer"}));
}

TEST_F(Ask, TimesOutInALoopThatTheCallbackOfOneThatTimedOutRuns) {
  bringUp();
  PendingCallback inner;
  const auto outer = askInfo("7").then([&](const Reply&) {
    inner = askInfo("8").then(note());
    runFor(10);
    outcomes.push_back("outer");
  });
  runFor(10);
  EXPECT_EQ(outcomes, (Strings{"Course.Get.Info was not answered in time", "outer"}));
}

TEST_F(Ask, TellsWhyTheLinkIsGoneWhenNoAnswerCame) {
  bringUp();
  const auto kept = askInfo("7").then(note());
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  settle();
  server.reset(server.latest());
  runFor(10);
  ASSERT_EQ(outcomes.size(), 1u);
  EXPECT_TRUE(outcomes[0].starts_with("Course.Get.Info was not answered in time: ")) << outcomes[0];
}

TEST_F(Ask, TellsThatThereIsNoLinkInALaterTurn) {
  const auto kept = askInfo("7").then(note());
  EXPECT_EQ(outcomes, Strings{}) << "nobody is called inside the call that caused it";
  settle();
  EXPECT_EQ(outcomes.size(), 1u);
  EXPECT_TRUE(outcomes[0].starts_with("Course.Get.Info was not sent, because there is no link: "))
      << outcomes[0];
  EXPECT_TRUE(link.isOpen()) << "the link was asked to reconnect";
  runFor(20);
  EXPECT_EQ(outcomes.size(), 1u);
}

TEST_F(Ask, TellsAnOperationThatSendsNothingApartFromALinkThatIsNotThere) {
  bringUp();
  const auto kept =
      ask<&QXAPIHelper::courseGetMiniPragmQrcodeWithRoomID_width_completeBlock_timeoutBlock>(0, 430).then(
          [this](const Reply& reply) {
            EXPECT_EQ(reply.outcome(), ReplyOutcome::TimedOut);
            outcomes.push_back(reply.sentence());
          });
  EXPECT_EQ(outcomes, Strings{});
  settle();
  EXPECT_EQ(outcomes, Strings{"the request was not answered in time: with these arguments nothing was sent"});
}

TEST_F(Ask, TellsWhyThereIsNoLink) {
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  link.watchNetworkStatus();
  runFor(3);
  const auto kept = askInfo("7").then(note());
  runFor(0.1);
  ASSERT_EQ(outcomes.size(), 1u);
  EXPECT_EQ(outcomes[0],
            "Course.Get.Info was not sent, because there is no link: " + link.linkFailure()->text);
}

TEST_F(Ask, ThatWasDroppedIsSilentAndItsRequestStaysSent) {
  bringUp();
  answerAll({{"ret", 0}});
  { const auto dropped = askInfo("7").then(note()); }
  settle();
  EXPECT_EQ(outcomes, Strings{});
  EXPECT_EQ(server.requests("Course.Get.Info").size(), 1u);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
}

TEST_F(Ask, ThatWasDroppedLetsGoOfWhatItsCallbackHeldAtOnce) {
  bringUp();
  const auto held = std::make_shared<int>(1);
  auto kept = askInfo("7").then([held](const Reply&) {});
  settle();
  kept = PendingCallback();
  EXPECT_EQ(held.use_count(), 1) << "the request is outstanding still";
  EXPECT_EQ(link.outstandingRequestCount(), 1u);
}

TEST_F(Ask, InAClosedLinkThatWasDroppedIsSilent) {
  { const auto dropped = askInfo("7").then(note()); }
  runFor(20);
  EXPECT_EQ(outcomes, Strings{});
}

TEST_F(Ask, WaitsForASessionAndIsBoundedByADeadline) {
  bringUp();
  server.onRequest([this](testing::ConnectionId connection, const json::object& frame) {
    const bool isSession = frame.at("c") == "User.Post.Session";
    server.reply(connection, frame, {{"ret", isSession ? 0 : 1001}});
  });
  const auto patient = askInfo("7").then(note());
  const auto hasty = askInfo("8").deadline(Seconds(20)).then(note());
  runFor(20);
  EXPECT_EQ(outcomes, Strings{"the request was not answered in time: the deadline has passed"});
  answerAll({{"ret", 0}});
  const auto session =
      ask<&QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock>("42", "t").then(note());
  settle();
  EXPECT_EQ(outcomes.size(), 3u);
  EXPECT_EQ(outcomes.back(), "Course.Get.Info succeeded");
}

TEST_F(Ask, TellsTheSessionsOwnRefusal) {
  bringUp();
  answerAll({{"ret", 1001}, {"err", "gone"}});
  const auto session =
      ask<&QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock>("42", "t").then(note());
  settle();
  EXPECT_EQ(outcomes, Strings{"User.Post.Session was refused with code 1001 (SessionNeeded): gone"});
}

TEST_F(Ask, WhoseIdentifierIsTakenByAnotherEndsAllTheSame) {
  bringUp();
  platform.queueRandom({5, 5});
  const auto first = askInfo("7").then(note());
  send("Some.Thing");  // made below the front door, where nothing keeps it from the same identifier
  answerAll({{"ret", 0}});
  settle();
  ASSERT_EQ(server.requests().size(), 2u);
  EXPECT_EQ(server.requests()[0].at("s"), server.requests()[1].at("s")) << "the two have one identifier";
  runFor(20);
  EXPECT_EQ(outcomes,
            (Strings{"the request was not answered in time: another request has taken its identifier",
                     "Some.Thing ok"}));
}

TEST_F(Ask, ThatJsonCannotTellTimesOut) {
  bringUp();
  const auto kept = askAny("a", json::object{{"x", 0.0 / 0.0}}).then(note());
  runFor(10);
  EXPECT_EQ(outcomes, Strings{"a was not answered in time"});
}

TEST_F(Ask, GoesOnInACoroutine) {
  bringUp();
  answerAll({{"ret", 0}});
  const auto loading = load("7");
  settle();
  EXPECT_EQ(outcomes, Strings{"Course.Get.Info succeeded"});
}

TEST_F(Ask, EndsWithTheCoroutineThatAsked) {
  bringUp();
  answerAll({{"ret", 0}});
  { const auto loading = load("7"); }
  settle();
  EXPECT_EQ(outcomes, Strings{});
}

TEST_F(Ask, OnAClosedLinkEndsInALoopOfACoroutineToo) {
  auto threeTimes = [](Strings& heard) -> Pending<> {
    for (int i = 0; i < 3; ++i) {
      auto asked = askInfo("7");
      const Reply reply = co_await asked;
      heard.emplace_back(nameOf(reply.outcome()));
    }
  };
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  const auto kept = threeTimes(outcomes);
  EXPECT_EQ(outcomes, Strings{});
  settle();
  EXPECT_EQ(outcomes, (Strings{"NoLink", "NoLink", "NoLink"}));
}

TEST_F(Ask, MayDestroyWhoAskedInTheCallback) {
  bringUp();
  answerAll({{"ret", 0}});
  struct Window {
    PendingCallback asked;
  };
  auto window = std::make_unique<Window>();
  window->asked = askInfo("7").then([&](const Reply& reply) {
    window.reset();
    outcomes.push_back(reply.sentence());
  });
  settle();
  EXPECT_EQ(outcomes, Strings{"Course.Get.Info succeeded"});
}

TEST_F(Ask, KeepsAReplyLongerThanItsCallback) {
  bringUp();
  answerAll({{"ret", 0}, {"data", {{"title", "代数"}}}});
  std::optional<Reply> reply;
  const auto kept = askInfo("7").then([&](const Reply& told) { reply = told; });
  settle();
  server.clearRecords();
  EXPECT_EQ(json::serialize(*reply->data()), R"({"title":"代数"})");
  EXPECT_EQ(reply->frame().use_count(), 1) << "the frame belongs to who keeps it";
}

// Whatever converts in a plain call converts here, and nothing else.
template <auto operation, typename... Arguments>
concept Asks = requires(Arguments... arguments) {
  { ask<operation>(arguments...) } -> std::same_as<Pending<Reply>>;
};
static_assert(Asks<&QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock, const char*>);
static_assert(Asks<&QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock, int>);
static_assert(!Asks<&QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>);
static_assert(!Asks<&QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock, int, int>);
static_assert(Asks<&QXAPIHelper::logoutWithCompleteBlock_timeoutBlock>);
static_assert(
    Asks<&QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock, std::nullopt_t, const char*>);
static_assert(
    !Asks<&QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock, const char*, std::nullopt_t>,
    "what must be there may not be absent");

TEST_F(Ask, TakesBracesAsThePlainCallDoes) {
  bringUp();
  const auto kept = askAny("a", {{{"x", 1}, {"y", {1, 2}}}});
  settle();
  EXPECT_EQ(json::serialize(server.lastRequest("a")->at("v")), R"({"x":1,"y":[1,2]})");
}

}  // namespace
}  // namespace orv::ask_test
