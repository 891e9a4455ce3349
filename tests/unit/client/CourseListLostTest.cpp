// The link is lost while pages are on their way.

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "CourseListLinkFixture.h"

#include <optional>

namespace orv::course_list_lost_test {
namespace {

using CourseListOnALinkThatIsClosed = CourseListLinkFixture;

TEST_F(CourseListOnALinkThatIsClosed, ALoadEndsAlsoWhereThatHappensAsSoonAsItIsUp) {
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
  runFor(2.1);
  EXPECT_TRUE(list.atEnd());
}

/// How a link ends while a page is on its way.
class CourseListLost : public CourseListLinkFixture, public ::testing::WithParamInterface<int> {
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
    runFor(4.1);
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

}  // namespace
}  // namespace orv::course_list_lost_test
