#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/detail/RevocableRequest.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "CourseListFixture.h"

#include <memory>
#include <optional>
#include <string>

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
