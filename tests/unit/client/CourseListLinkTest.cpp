// The link, the session and the server fail a list of courses.

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "CourseListFixture.h"

#include <functional>
#include <optional>
#include <string>

namespace orv::course_list_link_test {
namespace {

class CourseListLink : public CourseListFixture {
 protected:
  /// Lets the server keep quiet about pages; the session is good.
  void keepPagesBack() {
    instead = [](const json::object& frame) -> std::optional<json::object> {
      const bool isPage = frame.at("c") == "Course.Get.Items";
      return isPage ? std::nullopt : std::optional(json::object{{"ret", 0}, {"data", json::object()}});
    };
  }
  /// Opens a link that nobody opens by himself any more.
  void openLink() {
    link.watchNetworkStatus();
    for (int attempt = 0; attempt < 5 && !link.isOpen(); ++attempt) {
      runFor(31);
      if (!link.isOpen()) link.reconnect();
    }
    ASSERT_TRUE(link.isOpen());
  }
  static std::string whyFailed(const CourseList& list) {
    return list.lastError() ? std::string(nameOf(list.lastError()->kind)) + ": " + list.lastError()->text
                            : "";
  }
};

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
  runFor(2);
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
  signIn();
  listRooms(10, 1);
  auto list = CourseList::recorded();
  loadAll(list);
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
  runFor(1.1);
  EXPECT_EQ(list.keys(), rooms(10, 1));
  EXPECT_EQ(list.lastError(), std::nullopt);
  const auto asked = pagesAsked.size();
  QXUserInfoMgr::getInstance().refresheSession();
  runFor(5);
  EXPECT_EQ(pagesAsked.size(), asked) << "a renewal is no reason where nothing has failed";
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
  signIn();
  listRooms(10, 1);
  auto list = CourseList::recorded();
  loadAll(list);
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

TEST_F(CourseListLink, ALoadEndsAlsoWhereALinkIsClosedForGoodAsSoonAsItIsUp) {
  // Registered before the list, which so hears of a link that is closed already.
  bool closes = false;
  const auto closing = NotificationCenter::defaultCenter().observe(QXNotificationDidOpen, [&](const auto&) {
    if (closes) link.closeForGood();
  });
  signIn();
  listRooms(40, 1);
  auto list = CourseList::recorded();
  const View view(list);
  loadAll(list);
  keepPagesBack();
  list.refresh();
  runFor(3);
  ASSERT_TRUE(list.isLoading());
  closes = true;
  server.reset(server.latest());
  settle();
  ASSERT_FALSE(link.isOpen());
  EXPECT_EQ(list.state().phase, CourseListPhase::Failed);
  EXPECT_EQ(list.lastError()->kind, CourseListErrorKind::NoLink);
  EXPECT_EQ(list.keys(), rooms(40, 1)) << "an error keeps the rows";
  closes = false;
  instead = nullptr;
  openLink();
  runFor(2);
  EXPECT_TRUE(list.atEnd());
}

/// How a link ends while a page is on its way.
class CourseListLost : public CourseListLink, public ::testing::WithParamInterface<int> {
 protected:
  void lose() {
    const auto connection = server.latest();
    switch (GetParam()) {
      case 0:
        return server.reset(connection);
      case 1:
        return server.cut(connection);
      case 2:
        return server.close(connection, 1001, "bye");
      default:
        return server.setSilent(connection);
    }
  }
  /// Nobody sees that a link has fallen silent: it counts as open until somebody ends it.
  void bringBack() {
    if (server.isConnected(server.latest()) && GetParam() == 3) server.reset(server.latest());
    settle();
    openLink();
    runFor(3);
  }
};

TEST_P(CourseListLost, ALoadUnderWayEndsAndTheListIsRightOnceTheLinkIsUp) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  View view(list);
  list.loadMore();
  settle();
  runFor(10);
  keepPagesBack();
  list.loadMore();
  settle();
  recorded.insert(recorded.begin(), courseItem(96));
  lose();
  instead = nullptr;
  runFor(40);
  EXPECT_FALSE(list.isLoading()) << "no load hangs";
  bringBack();
  EXPECT_EQ(list.lastError(), std::nullopt);
  EXPECT_GE(list.size(), 30u);
  loadAll(list);
  EXPECT_EQ(list.keys(), serverRooms(recorded));
  EXPECT_EQ(stored(), serverRooms(recorded));
}

TEST_P(CourseListLost, WithinASecondOfOpeningToo) {
  QXUserInfoMgr::getInstance().setUserInfo(makeUser());
  listRooms(40, 1);
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  keepPagesBack();
  link.watchNetworkStatus();
  runFor(1);
  lose();
  instead = nullptr;
  runFor(60);
  EXPECT_FALSE(list.isLoading());
  bringBack();
  loadAll(list);
  EXPECT_EQ(list.keys(), rooms(40, 1));
}

INSTANTIATE_TEST_SUITE_P(All, CourseListLost, ::testing::Values(0, 1, 2, 3));

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
  platform.runUntil([&] { return asked.size() == 1; }, Seconds(2));
  EXPECT_LT(now() - up, 1.0);
  settle();
  EXPECT_EQ(looked.keys(), serverRooms(recorded));
  runFor(2);
  EXPECT_EQ(hidden.keys(), serverRooms(recorded));
  ASSERT_EQ(asked.size(), 2u) << "one refresh each, and none of the list that was never loaded";
  EXPECT_GE(asked[1].first, 1.0);
  EXPECT_LE(asked[1].first, 2.0);
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
  runFor(1);
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
