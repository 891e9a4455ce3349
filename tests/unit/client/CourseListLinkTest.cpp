// The link, the session and the server fail a list of courses.

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "CourseListLinkFixture.h"

#include <functional>
#include <optional>
#include <string>

namespace orv::course_list_link_test {
namespace {

using CourseListLink = CourseListLinkFixture;

TEST_F(CourseListLink, FailsWithoutALinkAndLoadsWhenItIsUp) {
  QXUserInfoMgr::getInstance().setUserInfo(makeUser());
  listRooms(40, 1);
  auto list = CourseList::recorded();
  View view(list);
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  list.loadMore();
  EXPECT_TRUE(list.isLoading());
  settle();
  EXPECT_EQ(list.state().phase, CourseListPhase::Failed);
  ASSERT_TRUE(list.lastError());
  EXPECT_EQ(list.lastError()->kind, CourseListErrorKind::NoLink);
  EXPECT_FALSE(list.lastError()->text.empty());
  EXPECT_FALSE(list.canLoadMore()) << "only a person or the link tries it again";
  EXPECT_EQ(view.phases(), (Strings{"Loading", "Failed"}));
  platform.network().setDefaultPlan(testing::ConnectPlan::accept());
  openLink();
  runFor(2.1);
  EXPECT_EQ(list.keys(), rooms(40, 11));
  EXPECT_EQ(list.lastError(), std::nullopt);
  EXPECT_TRUE(list.canLoadMore());
}

TEST_F(CourseListLink, AnErrorKeepsTheRowsAndLoadMoreTriesAgain) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  instead = [this](const json::object&) { return kRefused; };
  list.loadMore();
  settle();
  EXPECT_EQ(whyFailed(list), "Refused: no");
  EXPECT_EQ(list.lastError()->code, ReplyCode{5});
  EXPECT_EQ(list.lastError()->sentence(), "the courses did not come (Refused, code 5): no");
  EXPECT_EQ(list.keys(), rooms(95, 66));
  EXPECT_FALSE(list.atEnd());
  instead = nullptr;
  list.loadMore();
  settle();
  EXPECT_EQ(list.keys(), rooms(95, 36));
  EXPECT_EQ(list.lastError(), std::nullopt);
}

TEST(CourseListErrorTest, SaysAllOfItInOneLine) {
  EXPECT_EQ((CourseListError{CourseListErrorKind::NoLink, "the link\nwas lost"}.sentence()),
            "the courses did not come (NoLink): the link was lost");
  EXPECT_EQ((CourseListError{CourseListErrorKind::NoSession, "", ReplyCode::SessionNeeded}.sentence()),
            "the courses did not come (NoSession, code 1001 SessionNeeded)");
}

TEST_F(CourseListLink, ARefreshThatFailedIsTriedAgainByLoadMoreAtTheEndToo) {
  auto list = loadedList(10);
  instead = [this](const json::object&) { return kRefused; };
  unlist(recorded, 5);
  list.refresh();
  settle();
  EXPECT_EQ(whyFailed(list), "Refused: no");
  instead = nullptr;
  list.loadMore();
  settle();
  EXPECT_EQ(list.keys(), serverRooms(recorded));
  EXPECT_TRUE(list.atEnd());
}

TEST_F(CourseListLink, ARefreshThatIsAskedForDuringALoadThatFailsIsTriedAgainWithIt) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  holdPages();
  list.loadMore();
  settle();
  list.refresh();
  settle();
  pagesAsked.clear();
  answerHeld(kRefused);
  EXPECT_EQ(whyFailed(list), "Refused: no");
  EXPECT_EQ(pagesAsked, Strings{}) << "nobody tries it by himself";
  instead = nullptr;
  // The next page is held against the first one; only a refresh begins with it.
  recorded[3].as_object()["title"] = "新";
  list.loadMore();
  settle();
  EXPECT_EQ(pagesAsked.at(0), "items 1");
  EXPECT_EQ(list.keys(), rooms(95, 36));
  EXPECT_EQ(list.at(3)->title.get(), "新");
}

TEST_F(CourseListLink, AServerThatDoesNotAnswerIsAskedThreeTimes) {
  signIn();
  keepPagesBack();
  auto list = CourseList::recorded();
  list.loadMore();
  runFor(29.9);
  EXPECT_TRUE(list.isLoading());
  runFor(0.2);
  EXPECT_EQ(whyFailed(list), "TimedOut: the server does not answer");
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 1", "items 1"}));
  runFor(100);
  EXPECT_EQ(pagesAsked.size(), 3u) << "nobody asks by himself";
}

TEST_F(CourseListLink, ARequestOfSomebodyElseThatWaitsForASessionIsNoReasonToGiveUp) {
  signIn();
  instead = [](const json::object& frame) -> std::optional<json::object> {
    if (frame.at("c") == "Course.Get.Items") return std::nullopt;
    return json::object{{"ret", frame.at("c") == "Any.Command" ? 1001 : 0}, {"data", json::object()}};
  };
  auto list = CourseList::recorded();
  list.loadMore();
  link.sendRequestItem(makeItem("Any.Command"));
  runFor(9);
  ASSERT_EQ(link.parkedRequestCount(), 1u);
  runFor(21.1);
  EXPECT_EQ(pagesAsked.size(), 3u);
  EXPECT_EQ(whyFailed(list), "TimedOut: the server does not answer");
}

TEST_F(CourseListLink, APageThatIsLateForItsLoadIsNotTakenForThatOfTheNext) {
  auto list = loadedList(10);
  runFor(10);
  // A worker has the page still in hand when the link is lost, and the list is read anew on the next one.
  platform.holdGlobalQueue(true);
  list.refresh();
  settle();
  unlist(recorded, 5);
  holdPages();
  server.reset(server.latest());
  runFor(5);
  ASSERT_EQ(held.size(), 1u);
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_TRUE(list.isLoading());
  EXPECT_EQ(list.keys(), rooms(10, 1));
  answerHeld(pageOf(recorded));
  EXPECT_EQ(list.keys(), serverRooms(recorded));
}

TEST_F(CourseListLink, AServerThatWantsASessionThatDoesNotComeFailsTheLoad) {
  signIn();
  instead = [](const json::object&) { return json::object{{"ret", 1001}}; };
  auto list = CourseList::recorded();
  list.loadMore();
  runFor(13);
  EXPECT_EQ(whyFailed(list), "NoSession: the server waits for a session");
}

TEST_F(CourseListLink, AMainThreadThatStoodStillIsNoWantOfASession) {
  signIn();
  listRooms(10, 1);
  keepPagesBack();
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  instead = nullptr;
  platform.stall(Seconds(13));
  settle();
  EXPECT_EQ(list.keys(), rooms(10, 1));
  EXPECT_EQ(list.lastError(), std::nullopt);
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 1"}));
}

TEST_F(CourseListLink, ALoadThatFailedForWantOfASessionIsTriedAgainWhenThereIsOne) {
  signIn();
  listRooms(10, 1);
  bool isGood = false;
  instead = [&](const json::object& frame) -> std::optional<json::object> {
    if (!isGood) return json::object{{"ret", 1001}};
    if (frame.at("c") == "User.Post.Session") return json::object{{"ret", 0}, {"data", json::object()}};
    return pageAsked(frame);
  };
  auto list = CourseList::recorded();
  const View view(list);
  list.loadMore();
  runFor(13);
  ASSERT_EQ(whyFailed(list), "NoSession: the server waits for a session");
  isGood = true;
  pagesAsked.clear();
  // The same user, with a fresh token.
  auto user = makeUser();
  user->token = "fresh";
  QXUserInfoMgr::getInstance().setUserInfo(user);
  QXUserInfoMgr::getInstance().refresheSession();
  runFor(2.1);
  EXPECT_EQ(list.keys(), rooms(10, 1));
  EXPECT_EQ(list.lastError(), std::nullopt);
  EXPECT_EQ(pagesAsked, Strings{"items 1"}) << "what nobody waits for any more is not sent";
  QXUserInfoMgr::getInstance().refresheSession();
  runFor(5);
  EXPECT_EQ(pagesAsked.size(), 1u) << "a renewal is no reason where nothing has failed";
}

TEST_F(CourseListLink, ALoadThatWaitsForTheSessionGoesOnWithIt) {
  signIn();
  listRooms(10, 1);
  bool isGood = false;
  instead = [&](const json::object& frame) -> std::optional<json::object> {
    if (frame.at("c") == "User.Post.Session") return json::object{{"ret", 0}, {"data", json::object()}};
    return isGood ? pageAsked(frame) : json::object{{"ret", 1001}};
  };
  auto list = CourseList::recorded();
  list.loadMore();
  runFor(5);
  EXPECT_TRUE(list.isLoading());
  isGood = true;
  QXUserInfoMgr::getInstance().refresheSession();
  runFor(1);
  EXPECT_EQ(list.keys(), rooms(10, 1));
}

TEST_F(CourseListLink, WhatIsNoListOfCoursesFailsTheLoadAndClearsNothing) {
  auto list = loadedList(10);
  for (const json::value& data : {json::value("text"), json::value(nullptr), json::value(7)}) {
    instead = [&data](const json::object&) { return json::object{{"ret", 0}, {"data", data}}; };
    list.refresh();
    settle();
    EXPECT_EQ(whyFailed(list), "Refused: the server's answer holds no courses");
  }
  EXPECT_EQ(list.keys(), rooms(10, 1));
  EXPECT_EQ(stored(), rooms(10, 1));
}

TEST_F(CourseListLink, NobodyHasNoCourses) {
  bringUp();
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  EXPECT_EQ(whyFailed(list), "NoUser: nobody is signed in");
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100001", "0"));
  settle();
  list.refresh();
  settle();
  EXPECT_EQ(list.lastError()->kind, CourseListErrorKind::NoClassroom);
}

TEST_F(CourseListLink, RefreshesItselfWhenTheLinkIsUpAgainThoseThatAreLookedAtFirst) {
  signIn();
  listRooms(10, 1);
  auto hidden = CourseList::recorded();
  auto looked = CourseList::recorded();
  auto unused = CourseList::recorded();
  loadAll(hidden);
  loadAll(looked);
  const View view(looked);
  unlist(recorded, 5);
  std::vector<std::pair<double, std::string>> asked;
  double up = 0;
  runFor(10);
  platform.network().planConnect(testing::ConnectPlan::accept(Seconds(0.5)));
  server.reset(server.latest());
  instead = [&](const json::object& frame) -> std::optional<json::object> {
    if (frame.at("c") != "Course.Get.Items") return json::object{{"ret", 0}, {"data", json::object()}};
    asked.emplace_back(now() - up, "");
    return pageAsked(frame);
  };
  settle();
  platform.runUntil([&] { return link.isOpen(); }, Seconds(60));
  up = now();
  platform.runUntil([&] { return asked.size() == 1; }, Seconds(4));
  EXPECT_LT(now() - up, 2.0);
  settle();
  EXPECT_EQ(looked.keys(), serverRooms(recorded));
  runFor(4);
  EXPECT_EQ(hidden.keys(), serverRooms(recorded));
  ASSERT_EQ(asked.size(), 2u) << "one refresh each, and none of the list that was never loaded";
  EXPECT_GE(asked[1].first, 2.0);
  EXPECT_LE(asked[1].first, 4.0);
}

TEST_F(CourseListLink, ALoadThatTheLinkHasTakenAlongGoesOnAsSoonAsItIsUp) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  View view(list);
  list.loadMore();
  runFor(10);
  keepPagesBack();
  list.loadMore();
  settle();
  server.reset(server.latest());
  instead = nullptr;
  settle();
  ASSERT_TRUE(platform.runUntil([&] { return link.isOpen(); }, Seconds(5)));
  EXPECT_TRUE(list.isLoading());
  runFor(2);
  EXPECT_EQ(list.keys(), rooms(95, 36));
  EXPECT_EQ(view.phases(), (Strings{"Loading", "Idle", "Loading", "Idle"})) << "nobody hears of a failure";
}

TEST_F(CourseListLink, ALoadThatIsAskedForSoonAfterTheLinkIsUpBringsTheRefreshToo) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  list.loadMore();
  runFor(10);
  server.reset(server.latest());
  settle();
  ASSERT_TRUE(platform.runUntil([&] { return link.isOpen(); }, Seconds(5)));
  // The next page is held against the second one; only a refresh reads the first.
  recorded[3].as_object()["title"] = "新";
  list.loadMore();
  runFor(3);
  EXPECT_EQ(list.keys(), rooms(95, 6));
  EXPECT_EQ(list.at(3)->title.get(), "新");
}

TEST_F(CourseListLink, ARequestWhoseIdentifierIsTakenIsMadeAgain) {
  signIn();
  listRooms(10, 1);
  keepPagesBack();
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  ASSERT_EQ(pagesAsked.size(), 1u);
  const auto request = server.lastRequest("Course.Get.Items");
  ASSERT_TRUE(request);
  // Another request with the same timestamp.
  auto item = makeItem("Any.Command");
  item->timestamp = std::stoll(std::string(request->at("s").as_string()));
  instead = nullptr;
  link.sendRequestItem(item);
  runFor(40);
  EXPECT_EQ(list.keys(), rooms(10, 1));
}

}  // namespace
}  // namespace orv::course_list_link_test
