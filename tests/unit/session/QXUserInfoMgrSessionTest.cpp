// The session refresh: when it runs, what it sends, and when it ends.

#include <orvnetwork/platform/NotificationCenter.h>

#include "SessionFixture.h"

#include <string>
#include <string_view>

namespace orv::qx_user_info_mgr_session_test {
namespace {

class QXUserInfoMgrSession : public SessionFixture {
 protected:
  static constexpr std::string_view kRoutine = "-[QXUserInfoMgr refresheSession]";
  void refuse(std::int64_t code = 5, json::value err = "no") {
    answer(kSession, {refusal(code, std::move(err))});
  }
  std::size_t invalidations() const { return count(QXNotificationUserInfoInvalidate); }
  std::size_t otherDevices() const { return count(QXNotificationOtherUserLoggedIn); }
  std::size_t logged(const std::string& line) { return countLogged(line); }
};

TEST_F(QXUserInfoMgrSession, AsksAtOnceWhenTheLinkIsConfirmedAndThenEvery120Seconds) {
  users().setUserInfo(makeUser());
  answer(kSession, {success(json::object())});
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(asked(kSession), 1u);
  EXPECT_EQ(values(kSession), (json::object{{"uID", "7"}, {"token", "secret-7"}, {"guid", "uuid-1"}}));
  ASSERT_TRUE(users().autoLogintimer());
  EXPECT_EQ(users().autoLogintimer()->interval(), Seconds(120));
  runFor(119.9);
  EXPECT_EQ(asked(kSession), 1u);
  runFor(0.2);
  EXPECT_EQ(asked(kSession), 2u);
  runFor(600);
  EXPECT_EQ(asked(kSession), 7u);
  EXPECT_EQ(logged("refresh session success: " + std::string(kRoutine)), 7u);
}

TEST_F(QXUserInfoMgrSession, DoesNotStartWithoutAUserOrWithoutALink) {
  users();
  bringUp();
  EXPECT_EQ(users().autoLogintimer(), nullptr);
  users().setUserInfo(makeUser());
  settle();
  EXPECT_EQ(users().autoLogintimer(), nullptr) << "storing a user starts nothing";
  link.close();
  users().websocketStatusChanged();
  settle();
  EXPECT_EQ(users().autoLogintimer(), nullptr);
}

TEST_F(QXUserInfoMgrSession, StartsAnewWithEachConfirmationAndEachReportWhileTheLinkIsOpen) {
  beginRefreshing(makeUser());
  const auto first = users().autoLogintimer();
  runFor(100);
  platform.reachability().report(ReachabilityStatus::WiFi);
  settle();
  EXPECT_EQ(asked(kSession), 1u);
  const auto second = users().autoLogintimer();
  EXPECT_NE(second, first);
  EXPECT_FALSE(first->isValid());
  runFor(100);
  EXPECT_EQ(asked(kSession), 1u) << "the old grid is gone";
  server.cut(server.latest());
  settle();
  ASSERT_TRUE(link.isOpen());
  EXPECT_EQ(asked(kSession), 2u);
  EXPECT_NE(users().autoLogintimer(), second);
}

TEST_F(QXUserInfoMgrSession, StartsOnTheMainQueueAfterTheNotification) {
  users().setUserInfo(makeUser());
  bool started = true;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidOpen),
      [&](const Notification&) { started = users().autoLogintimer() != nullptr; });
  link.watchNetworkStatus();
  settle();
  EXPECT_FALSE(started);
  EXPECT_TRUE(users().autoLogintimer());
}

TEST_F(QXUserInfoMgrSession, SkipsATickWithTheNetworkGone) {
  beginRefreshing(makeUser());
  platform.reachability().report(ReachabilityStatus::NotReachable);
  settle();
  EXPECT_EQ(logged("QXWebSocketMgr isNetworkEnable = NO: " + std::string(kRoutine)), 1u)
      << "the report itself starts the refresh anew, since the link is still open when it is posted";
  runFor(120);
  EXPECT_EQ(asked(kSession), 0u);
  EXPECT_EQ(logged("QXWebSocketMgr isNetworkEnable = NO: " + std::string(kRoutine)), 2u);
  EXPECT_EQ(users().errorCount(), 0);
  EXPECT_TRUE(users().autoLogintimer()->isValid()) << "a lost network does not stop the timer";
}

TEST_F(QXUserInfoMgrSession, AsksTheLinkToReconnectWhenATickFindsItClosed) {
  beginRefreshing(makeUser());
  link.close();
  runFor(119.9);
  ASSERT_EQ(attempts().size(), 1u);
  runFor(0.1);
  EXPECT_EQ(attempts().size(), 2u);
  EXPECT_EQ(logged("QXWebSocketMgr isOpen = NO: " + std::string(kRoutine)), 1u);
  EXPECT_EQ(users().errorCount(), 0);
  settle();
  EXPECT_EQ(asked(kSession), 1u) << "by the confirmation of the new link";
}

TEST_F(QXUserInfoMgrSession, AsksNothingWithoutAUser) {
  bringUp();
  users().refresheSession();
  settle();
  EXPECT_EQ(asked(kSession), 0u);
}

TEST_F(QXUserInfoMgrSession, EndsWithTheThirdRefusalInARow) {
  beginRefreshing(makeUser());
  const auto timer = users().autoLogintimer();
  refuse(5, "no");
  runFor(240);
  EXPECT_EQ(users().errorCount(), 2);
  EXPECT_EQ(invalidations(), 0u);
  EXPECT_TRUE(timer->isValid());
  runFor(120);
  EXPECT_EQ(users().errorCount(), 3);
  EXPECT_EQ(invalidations(), 1u);
  EXPECT_EQ(users().autoLogintimer(), nullptr);
  EXPECT_FALSE(timer->isValid());
  EXPECT_TRUE(users().isLogined()) << "the record is kept";
  EXPECT_EQ(inFile("nick"), "Ann");
  EXPECT_EQ(logged(std::string(kRoutine) + " 138 errCode 5, no"), 3u);
  runFor(1000);
  EXPECT_EQ(asked(kSession), 3u);
  EXPECT_EQ(invalidations(), 1u);
}

TEST_F(QXUserInfoMgrSession, HasStoppedTheTimerWhenItSaysThatTheUserIsInvalid) {
  beginRefreshing(makeUser());
  bool running = true;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationUserInfoInvalidate), [&](const Notification& posted) {
        running = users().autoLogintimer() != nullptr || posted.object != nullptr;
      });
  refuse(2);
  users().refresheSession();
  settle();
  EXPECT_FALSE(running);
}

TEST_F(QXUserInfoMgrSession, ForgetsRefusalsAfterASuccess) {
  beginRefreshing(makeUser());
  answer(kSession,
         {refusal(5), refusal(5), success(json::object()), refusal(5), refusal(5), success(json::object())});
  runFor(240);
  EXPECT_EQ(users().errorCount(), 2);
  runFor(120);
  EXPECT_EQ(users().errorCount(), 0);
  runFor(240);
  EXPECT_EQ(users().errorCount(), 2);
  runFor(120);
  EXPECT_EQ(users().errorCount(), 0);
  EXPECT_EQ(invalidations(), 0u);
}

TEST_F(QXUserInfoMgrSession, EndsAtOnceWithTheCodesThatEndASession) {
  for (const json::value& code :
       {json::value(2), json::value(-999999), json::value("2"), json::value("-999999")}) {
    users().setErrorCount(0);
    users().setUserInfo(makeUser());
    if (!link.isOpen()) beginRefreshing(users().userInfo());
    forget();
    answer(kSession, {{{"ret", code}}});
    users().startRefreshSession();
    settle();
    EXPECT_EQ(invalidations(), 1u) << json::serialize(code);
    EXPECT_EQ(users().errorCount(), 1);
    EXPECT_EQ(users().autoLogintimer(), nullptr);
  }
  EXPECT_EQ(logged(std::string(kRoutine) + " 138 errCode -999999, (null)"), 2u);
}

TEST_F(QXUserInfoMgrSession, GoesOnAfterOtherCodes) {
  beginRefreshing(makeUser());
  for (const int code : {1, 3, 999999, -2, 1001}) {
    users().setErrorCount(0);
    refuse(code);
    users().refresheSession();
    settle();
  }
  EXPECT_EQ(invalidations(), 0u);
  EXPECT_TRUE(users().autoLogintimer());
}

TEST_F(QXUserInfoMgrSession, TimeoutsCountForNothing) {
  beginRefreshing(makeUser());
  users().setErrorCount(2);
  ignore(kSession);
  users().refresheSession();
  runFor(11);
  EXPECT_EQ(users().errorCount(), 2);
  EXPECT_EQ(invalidations(), 0u);
  EXPECT_EQ(countLoggedStart(std::string(kRoutine) + " timeout <QXRequestItem User.Post.Session "), 1u);
  runFor(600);
  EXPECT_EQ(users().errorCount(), 2);
  EXPECT_EQ(invalidations(), 0u);
  EXPECT_TRUE(users().autoLogintimer()->isValid());
}

TEST_F(QXUserInfoMgrSession, StartsAgainWithTheNextConfirmationAfterTheEnd) {
  beginRefreshing(makeUser());
  refuse(2);
  users().refresheSession();
  settle();
  ASSERT_EQ(users().autoLogintimer(), nullptr);
  answer(kSession, {success(json::object())});
  runFor(2);
  server.cut(server.latest());
  settle();
  ASSERT_TRUE(link.isOpen());
  EXPECT_TRUE(users().autoLogintimer());
  EXPECT_EQ(users().errorCount(), 0);
}

TEST_F(QXUserInfoMgrSession, CountsOnWhenAnotherUserIsStored) {
  beginRefreshing(makeUser());
  refuse(5);
  runFor(240);
  EXPECT_EQ(users().errorCount(), 2);
  users().setUserInfo(makeUser({{"uID", "8"}, {"token", "t"}}));
  EXPECT_EQ(users().errorCount(), 2) << "only a success sets it back";
  runFor(120);
  EXPECT_EQ(invalidations(), 1u);
}

TEST_F(QXUserInfoMgrSession, KeepsTheTimerAfterALogOutAndItsTicksStop) {
  beginRefreshing(makeUser());
  const auto timer = users().autoLogintimer();
  runFor(10);
  users().setUserInfo(nullptr);
  settle();
  ASSERT_TRUE(link.isOpen());
  runFor(400);
  EXPECT_TRUE(timer->isValid());
  EXPECT_EQ(users().autoLogintimer(), timer);
  EXPECT_EQ(asked(kSession), 0u);
  users().setUserInfo(makeUser());
  runFor(120);
  EXPECT_EQ(asked(kSession), 1u) << "the next tick finds a user again";
}

TEST_F(QXUserInfoMgrSession, AnObserverMayLogOutWhenTheUserIsInvalid) {
  beginRefreshing(makeUser());
  runFor(5);
  const auto token =
      NotificationCenter::defaultCenter().observe(std::string(QXNotificationUserInfoInvalidate),
                                                  [&](const Notification&) { users().setUserInfo(nullptr); });
  refuse(2);
  users().refresheSession();
  runFor(5);
  EXPECT_FALSE(users().isLogined());
  EXPECT_EQ(fileContent(), json::object());
  EXPECT_EQ(users().autoLogintimer(), nullptr);
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(changes(), 1u);
}

TEST_F(QXUserInfoMgrSession, StopsAndStartsInTheOrderAskedForOnAnyThread) {
  beginRefreshing(makeUser());
  platform.globalQueue().post([&] { users().stopRefreshSession(); });
  settle();
  EXPECT_EQ(users().autoLogintimer(), nullptr);
  platform.globalQueue().post([&] { users().startRefreshSession(); });
  settle();
  EXPECT_TRUE(users().autoLogintimer());
  users().startRefreshSession();
  users().stopRefreshSession();
  settle();
  EXPECT_EQ(users().autoLogintimer(), nullptr) << "the stop was asked for last";
  users().stopRefreshSession();
  users().startRefreshSession();
  settle();
  EXPECT_TRUE(users().autoLogintimer());
  platform.globalQueue().post([&] {
    users().stopRefreshSession();
    users().startRefreshSession();
  });
  settle();
  EXPECT_TRUE(users().autoLogintimer());
}

TEST_F(QXUserInfoMgrSession, SendsHeldRequestsAgainAfterTheRefresh) {
  beginRefreshing(makeUser());
  answer("a", {refusal(1001), success(json::object())});
  send("a");
  settle();
  EXPECT_EQ(link.parkedRequestCount(), 1u);
  EXPECT_EQ(outcomes, Strings{});
  runFor(120);
  EXPECT_EQ(outcomes, Strings{"a ok"});
}

}  // namespace
}  // namespace orv::qx_user_info_mgr_session_test
