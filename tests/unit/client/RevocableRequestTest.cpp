#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/detail/RevocableRequest.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>
#include <orvnetwork/transport/SentRequest.h>

#include "CourseListFixture.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace orv::revocable_request_test {
namespace {

/// A server that refuses everything for want of a session until it is told otherwise.
class RevocableRequest : public LinkFixture {
 protected:
  void SetUp() override {
    bringUp();
    server.onRequest([this](testing::ConnectionId connection, const json::object& frame) {
      const bool isSession = frame.at("c") == "User.Post.Session";
      server.reply(connection, frame, {{"ret", isSession || hasSession ? 0 : 1001}});
    });
  }
  auto note() {
    return [this](const Reply& reply) { outcomes.push_back(reply.sentence()); };
  }
  static Pending<Reply> askInfo() { return ask<&QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>("7"); }
  void openSession() {
    hasSession = true;
    server.clearRecords();
    const auto session =
        ask<&QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock>("42", "t").then(note());
    runFor(15);
  }
  std::size_t sent() const { return server.requests("Course.Get.Info").size(); }

  bool hasSession = false;
};

TEST_F(RevocableRequest, IsSentWithTheNextSessionAsLongAsItIsNotTakenBack) {
  detail::RevocableRequest request;
  const auto kept = request.send(askInfo).then(note());
  settle();
  openSession();
  EXPECT_EQ(sent(), 1u);
  EXPECT_EQ(outcomes.back(), "Course.Get.Info succeeded");
}

TEST_F(RevocableRequest, IsNotSentWithTheNextSessionOnceItIsTakenBack) {
  auto request = std::make_unique<detail::RevocableRequest>();
  auto kept = request->send(askInfo).then(note());
  settle();
  ASSERT_EQ(link.parkedRequestCount(), 1u);
  kept = {};
  request.reset();
  openSession();
  EXPECT_EQ(sent(), 0u);
  EXPECT_EQ(link.parkedRequestCount(), 0u);
  EXPECT_EQ(outcomes, Strings{"User.Post.Session succeeded"});
}

TEST_F(RevocableRequest, IsNotHeldWhenItIsTakenBackBeforeTheRefusal) {
  server.onRequest({});
  auto request = std::make_unique<detail::RevocableRequest>();
  auto kept = request->send(askInfo).then(note());
  settle();
  const auto frame = server.lastRequest("Course.Get.Info");
  ASSERT_TRUE(frame);
  kept = {};
  request.reset();
  server.reply(server.latest(), *frame, {{"ret", 1001}});
  settle();
  EXPECT_EQ(link.parkedRequestCount(), 0u);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
}

TEST_F(RevocableRequest, MayGoInsideItsCallback) {
  hasSession = true;
  auto request = std::make_unique<detail::RevocableRequest>();
  const auto kept = request->send(askInfo).then([&](const Reply& reply) {
    request.reset();
    outcomes.push_back(reply.sentence());
  });
  settle();
  EXPECT_EQ(outcomes, Strings{"Course.Get.Info succeeded"});
}

TEST_F(RevocableRequest, ThoseThatAreTakenBackDoNotPileUp) {
  for (int i = 0; i < 500; ++i) {
    detail::RevocableRequest request;
    auto kept = request.send(askInfo).then(note());
    settle();
    kept = {};
  }
  EXPECT_LE(link.parkedRequestCount(), 17u);
}

/// A host that sends a request of its own when the console tells of another one.
class RevocableRequestOnATalkativeConsole : public RevocableRequest {
 protected:
  void sendFromTheConsole(std::function<void()> afterwards = {}) {
    Console::setSink([this, afterwards](std::string_view) {
      if (std::exchange(hasSent, true)) return;
      send("inner");
      if (afterwards) afterwards();
    });
  }
  /// An operation that tells the console what it sends.
  static Pending<Reply> askVideos() {
    return ask<&QXAPIHelper::getReplayVideoList_start_limit_completeBlock_timeoutBlock>("7", 0, 30);
  }
  bool hasSent = false;
};

TEST_F(RevocableRequestOnATalkativeConsole, TakesBackItsOwnRequest) {
  sendFromTheConsole();
  {
    detail::RevocableRequest request;
    const auto kept = request.send(askVideos).then(note());
    ASSERT_TRUE(hasSent);
    settle();
    ASSERT_EQ(link.parkedRequestCount(), 2u);
  }
  openSession();
  EXPECT_EQ(server.requests("Course.Replay.Videolist").size(), 0u);
  EXPECT_EQ(server.requests("inner").size(), 1u);
}

TEST_F(RevocableRequestOnATalkativeConsole, TakesNobodyElsesBackWhereItsOwnWasNotSent) {
  sendFromTheConsole([this] { link.close(); });
  {
    detail::RevocableRequest request;
    const auto kept = request.send(askVideos).then(note());
    ASSERT_TRUE(hasSent);
  }
  runFor(11);
  EXPECT_EQ(outcomes, Strings{"inner timeout"});
}

TEST_F(RevocableRequestOnATalkativeConsole, TakesNobodyElsesBackWhereThereIsNothingToSend) {
  hasSession = true;
  {
    detail::RevocableRequest request;
    const auto kept =
        request
            .send([this] {
              send("inner");
              return ask<&QXAPIHelper::courseGetMiniPragmQrcodeWithRoomID_width_completeBlock_timeoutBlock>(
                  0, 430);
            })
            .then(note());
  }
  settle();
  EXPECT_EQ(outcomes, Strings{"inner ok"});
}

TEST_F(RevocableRequestOnATalkativeConsole, NothingIsNotedOnALinkThatIsClosedByThen) {
  sendFromTheConsole([this] { link.close(); });
  const SentRequest sent;
  QXAPIHelper::getReplayVideoList_start_limit_completeBlock_timeoutBlock("7", 0, 30, nullptr, nullptr);
  ASSERT_TRUE(hasSent);
  EXPECT_EQ(sent.item(), nullptr);
}

class RefusedCourseList : public CourseListFixture {};

TEST_F(RefusedCourseList, LeavesNoRequestsWithTheLink) {
  signIn();
  listRooms(10, 1);
  bool isGood = false;
  instead = [&](const json::object& frame) -> std::optional<json::object> {
    if (frame.at("c") == "User.Post.Session") return json::object{{"ret", 0}, {"data", json::object()}};
    return isGood ? pageAsked(frame) : json::object{{"ret", 1001}};
  };
  {
    auto list = CourseList::recorded();
    for (int load = 0; load < 5; ++load) {
      list.loadMore();
      runFor(13);
      EXPECT_FALSE(list.isLoading());
    }
  }
  isGood = true;
  server.clearRecords();
  QXUserInfoMgr::getInstance().refresheSession();
  runFor(1);
  EXPECT_EQ(link.parkedRequestCount(), 0u);
  EXPECT_EQ(server.requests("Course.Get.Items").size(), 0u);
}

}  // namespace
}  // namespace orv::revocable_request_test
