// Pages whose requests the link has forgotten, since another request took their identifier.

#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "tests/unit/course/PagingFixture.h"

#include <string>

namespace orv::lost_page_test {

namespace {

class LostPage : public PagingFixture {
 protected:
  /// Sends another request under the identifier of a page that is on its way.
  void takeIdentifierOf(const json::object& page) {
    const std::string identifier(page.at("s").as_string());
    link.sendRequestItem(QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
        std::stoll(identifier), "Dev.Other", R"({"c":"Dev.Other","s":")" + identifier + "\"}", nullptr,
        nullptr));
    settle();
  }
  static std::int64_t pageOfRequest(const json::object& request) {
    return request.at("v").at("start").to_number<std::int64_t>();
  }
};

TEST_F(LostPage, OfRecordedCoursesIsAskedForAgainAfterFifteenSeconds) {
  signIn();
  holdPages();
  ask("a", 0, 30);
  settle();
  takeIdentifierOf(held.at(0));
  runFor(14.9);
  EXPECT_EQ(held.size(), 1u);
  runFor(0.2);
  ASSERT_EQ(held.size(), 2u);
  EXPECT_EQ(pageOfRequest(held[1]), 1);
  held.erase(held.begin());
  answerHeld(pageOf({courseItem(3)}));
  EXPECT_EQ(answers, Strings{"a true 1"});
  EXPECT_TRUE(courses().reqRecordSemaphore()->tryWait()) << "no page is on its way";
}

TEST_F(LostPage, OfLiveCoursesIsAskedForAgainAfterFifteenSeconds) {
  signIn();
  holdPages();
  askLive("a", 0, 30, 2);
  settle();
  takeIdentifierOf(held.at(0));
  runFor(15.1);
  ASSERT_EQ(held.size(), 2u);
  held.erase(held.begin());
  answerHeld(pageOf({courseItem(3, live_type::kLive, 2)}));
  EXPECT_EQ(answers, Strings{"a true 1"});
  EXPECT_TRUE(courses().reqLiveSemaphore()->tryWait());
}

TEST_F(LostPage, CountsAsOneOfTheThreeAttempts) {
  signIn();
  holdPages();
  ask("a", 0, 30);
  settle();
  for (int attempt = 1; attempt <= 3; ++attempt) {
    ASSERT_EQ(held.size(), 1u) << attempt;
    EXPECT_EQ(answers, Strings{});
    takeIdentifierOf(held.at(0));
    held.clear();
    runFor(15.1);
  }
  EXPECT_EQ(held.size(), 0u);
  EXPECT_EQ(answers, Strings{"a true 0"});
}

TEST_F(LostPage, IsNoneThatWaitsForASession) {
  signIn();
  holdPages();
  ask("a", 0, 30);
  settle();
  server.reply(server.latest(), held.at(0), {{"ret", 1001}});
  settle();
  ASSERT_EQ(link.parkedRequestCount(), 1u);
  held.clear();
  // A refusal of the session keeps the page waiting.
  runFor(100);
  EXPECT_EQ(answers, Strings{});
  EXPECT_FALSE(courses().reqRecordSemaphore()->tryWait()) << "it is still on its way";
  const std::size_t sessions = held.size();
  QXUserInfoMgr::getInstance().refresheSession();
  settle();
  ASSERT_EQ(held.size(), sessions + 1) << "the parked one, and no other";
  held.erase(held.begin(), held.end() - 1);
  answerHeld(pageOf({courseItem(3)}));
  EXPECT_EQ(answers, Strings{"a true 1"});
}

TEST_F(LostPage, IsNoticedThoughItWasLostWhileItWaitedForASession) {
  signIn();
  holdPages();
  ask("a", 0, 30);
  settle();
  server.reply(server.latest(), held.at(0), {{"ret", 1001}});
  runFor(20);
  const json::object parked = held.at(0);
  held.clear();
  QXUserInfoMgr::getInstance().refresheSession();
  settle();
  ASSERT_EQ(held.size(), 1u) << "sent again";
  takeIdentifierOf(parked);
  held.clear();
  runFor(15.1);
  ASSERT_EQ(held.size(), 1u);
  answerHeld(pageOf({courseItem(3)}));
  EXPECT_EQ(answers, Strings{"a true 1"});
}

TEST_F(LostPage, IsNoneThatTimesOutOrIsAnswered) {
  listRooms(3, 1);
  signIn();
  getCourses(0, 30);
  EXPECT_FALSE(platform.nextDueIn() && *platform.nextDueIn() > Seconds(14.9) &&
               *platform.nextDueIn() < Seconds(15.1))
      << "nothing looks for a page that came";
  holdPages();
  ask("a", 0, 60, true);
  runFor(31);
  EXPECT_EQ(held.size(), 3u) << "three attempts of 10 s";
  EXPECT_EQ(answers, Strings{"a true 3"});
  runFor(60);
  EXPECT_EQ(held.size(), 3u);
  EXPECT_TRUE(courses().reqRecordSemaphore()->tryWait());
  EXPECT_FALSE(courses().reqRecordSemaphore()->tryWait());
}

}  // namespace

}  // namespace orv::lost_page_test
