// The session refresh: when it runs, what it sends, and what its replies do.

#include "SessionFixture.h"

namespace orv {
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

TEST_F(QXUserInfoMgrSession, MergesWhatCameAndStoresItWithoutAWord) {
  const auto user = makeUser({{"uID", "7"}, {"token", "old"}, {"nick", "Ann"}, {"city", "Ulm"}});
  beginRefreshing(user);
  answer(kSession, {success({{"token", "new"}, {"nick", "Anna"}, {"mcoin", 5}, {"city", nullptr}})});
  users().refresheSession();
  settle();
  EXPECT_EQ(users().userInfo(), user) << "in place";
  EXPECT_EQ(user->token.get(), "new");
  EXPECT_EQ(user->nick.get(), "Anna");
  EXPECT_EQ(user->mcoin.get(), "5");
  EXPECT_EQ(user->city.get(), std::nullopt);
  EXPECT_EQ(user->uID.get(), "7") << "members that are absent leave the record's values";
  EXPECT_EQ(*fileContent(), user->jsonObject());
  EXPECT_EQ(names(), Strings{});
}

TEST_F(QXUserInfoMgrSession, NeverTakesTheClassroomFromTheReply) {
  const auto user =
      makeUser({{"uID", "7"}, {"classroom", "5"}, {"classroominfo", {{"id", "5"}, {"title", "Maths"}}}});
  beginRefreshing(user);
  const auto room = user->classroominfo.get();
  answer(kSession, {success({{"nick", "Anna"}, {"classroominfo", {{"id", "6"}, {"title", "Music"}}}})});
  users().refresheSession();
  settle();
  EXPECT_EQ(user->nick.get(), "Anna");
  EXPECT_EQ(user->classroominfo.get(), room);
  EXPECT_EQ(room->title.get(), "Maths");
  EXPECT_EQ(room->ID.get(), "5");
}

TEST_F(QXUserInfoMgrSession, StoresTheUserAgainWhenTheReplyBringsNothing) {
  const auto user = makeUser();
  beginRefreshing(user);
  for (const json::value& data :
       {json::value(), json::value("text"), json::value(json::array{1}), json::value(4)}) {
    platform.files().put(plist, "");
    answer(kSession, {success(data)});
    users().refresheSession();
    settle();
    EXPECT_EQ(*fileContent(), user->jsonObject());
  }
  platform.files().put(plist, "");
  answer(kSession, {json::object{{"ret", 0}}});
  users().refresheSession();
  settle();
  EXPECT_EQ(*fileContent(), user->jsonObject());
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(users().errorCount(), 0);
}

TEST_F(QXUserInfoMgrSession, StoresOnTheWorkerPoolAndNeverOverSomethingNewer) {
  beginRefreshing(makeUser());
  platform.holdGlobalQueue(true);
  answer(kSession, {success({{"nick", "Anna"}})});
  users().refresheSession();
  settle();
  EXPECT_EQ(inFile("nick"), "Ann") << "not on the main thread";
  users().setUserInfo(makeUser({{"uID", "8"}, {"nick", "Bob"}}));
  EXPECT_EQ(inFile("nick"), "Bob");
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_EQ(inFile("nick"), "Bob");
}

TEST_F(QXUserInfoMgrSession, TellsOfTheAccountOnAnotherDevice) {
  struct Case {
    json::object other;
    std::size_t told;
  };
  for (const Case& one :
       {Case{{{"isLogin", false}, {"liveStatus", 1}}, 1}, Case{{{"isLogin", 1}, {"liveStatus", 0}}, 1},
        Case{{{"isLogin", true}, {"liveStatus", true}}, 1}, Case{{{"isLogin", false}, {"liveStatus", 0}}, 0},
        Case{json::object(), 0}}) {
    const auto user = makeUser();
    users().setUserInfo(user);
    if (!link.isOpen()) beginRefreshing(user);
    forget();
    answer(kSession, {success({{"otherDeviceLogin", one.other}})});
    users().refresheSession();
    settle();
    EXPECT_EQ(otherDevices(), one.told) << json::serialize(one.other);
    if (one.told == 0) continue;
    EXPECT_EQ(notifications.back().object, nullptr);
    EXPECT_FALSE(notifications.back().userInfo);
  }
}

TEST_F(QXUserInfoMgrSession, SaysNothingOfOtherDevicesAfterARefusal) {
  beginRefreshing(makeUser());
  answer(
      kSession,
      {{{"ret", 0}, {"err", "odd"}, {"data", {{"nick", "Eve"}, {"otherDeviceLogin", {{"isLogin", true}}}}}}});
  users().refresheSession();
  settle();
  EXPECT_EQ(otherDevices(), 0u);
  EXPECT_EQ(users().userInfo()->nick.get(), "Ann");
  EXPECT_EQ(users().errorCount(), 1);
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

TEST_F(QXUserInfoMgrSession, TakesAnyErrorButNullForARefusal) {
  beginRefreshing(makeUser());
  int expected = 0;
  for (const json::value& err :
       {json::value(""), json::value("no"), json::value(0), json::value(json::object())}) {
    users().setErrorCount(0);
    refuse(0, err);
    users().refresheSession();
    settle();
    EXPECT_EQ(users().errorCount(), 1) << json::serialize(err);
    ++expected;
  }
  refuse(0, nullptr);
  users().refresheSession();
  settle();
  EXPECT_EQ(users().errorCount(), 0) << "null is absence";
  EXPECT_EQ(logged(std::string(kRoutine) + " 138 errCode 0, "), 1u);
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

TEST_F(QXUserInfoMgrSession, BringsNobodyBackWhoLoggedOutWhileTheReplyWasUnderWay) {
  beginRefreshing(makeUser());
  answer(kSession, {success({{"nick", "Anna"}})});
  // The reply has arrived when the user logs out, in a callback before it.
  const auto slow = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "slow", json::object(),
      [&](const auto&, bool, const auto&) {
        users().refresheSession();
        settle();
        users().setUserInfo(nullptr);
        forget();
      },
      nullptr);
  answer("slow", {success(json::object())});
  users().setErrorCount(1);
  link.sendRequestItem(slow);
  settle();
  EXPECT_FALSE(users().isLogined());
  EXPECT_EQ(fileContent(), json::object());
  EXPECT_EQ(changes(), 0u);
}

TEST_F(QXUserInfoMgrSession, GivesNoReplyToAnotherUserThanTheOneItWasAskedFor) {
  beginRefreshing(makeUser());
  const auto second = makeUser({{"uID", "8"}, {"token", "secret-8"}});
  for (const json::object& reply : {success({{"token", "stolen"}, {"uID", "7"}}), refusal(2)}) {
    users().setUserInfo(makeUser());
    server.setFaultChooser([](const json::object&) { return testing::ReplyFault::late(Seconds(1)); });
    answer(kSession, {reply});
    users().refresheSession();
    settle();
    users().setUserInfo(second);
    forget();
    runFor(2);
    EXPECT_EQ(second->token.get(), "secret-8");
    EXPECT_EQ(inFile("uID"), "8");
    EXPECT_EQ(users().errorCount(), 0);
    EXPECT_EQ(names(), Strings{});
  }
}

TEST_F(QXUserInfoMgrSession, MergesIntoTheRecordThatIsCurrentWhenTheReplyComes) {
  const auto first = makeUser();
  beginRefreshing(first);
  server.setFaultChooser([](const json::object&) { return testing::ReplyFault::late(Seconds(1)); });
  answer(kSession, {success({{"bio", "fresh"}})});
  users().refresheSession();
  settle();
  const auto second = makeUser({{"uID", "7"}, {"token", "secret-7"}, {"nick", "Anna"}});
  users().setUserInfo(second);
  runFor(2);
  EXPECT_EQ(second->bio.get(), "fresh");
  EXPECT_EQ(first->bio.get(), std::nullopt);
  EXPECT_EQ(users().userInfo(), second);
  EXPECT_EQ(inFile("bio"), "fresh");
}

TEST_F(QXUserInfoMgrSession, FetchesTheClassroomThatTheReplyNamedFirst) {
  beginRefreshing(makeUser());
  answer(kSession, {success({{"classroom", "5001"}})});
  users().refresheSession();
  settle();
  EXPECT_EQ(asked(kClassroom), 1u);
  EXPECT_EQ(values(kClassroom), (json::object{{"classroomID", "5001"}}));
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

TEST_F(QXUserInfoMgrSession, AnObserverMayLogOutWhenAnotherDeviceIsToldOf) {
  beginRefreshing(makeUser());
  runFor(5);
  const auto token =
      NotificationCenter::defaultCenter().observe(std::string(QXNotificationOtherUserLoggedIn),
                                                  [&](const Notification&) { users().setUserInfo(nullptr); });
  answer(kSession, {success({{"otherDeviceLogin", {{"isLogin", true}}}})});
  users().refresheSession();
  runFor(5);
  EXPECT_FALSE(users().isLogined());
  EXPECT_EQ(fileContent(), json::object()) << "the store before it does not come after it";
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

TEST_F(QXUserInfoMgrSession, SurvivesAnyShapeOfReply) {
  beginRefreshing(makeUser());
  const std::vector<json::object> shapes{
      {{"data", {{"otherDeviceLogin", 5}, {"classroominfo", "x"}, {"uID", "7"}}}},
      {{"ret", nullptr}, {"err", nullptr}, {"data", nullptr}},
      {{"ret", json::array{}}, {"err", json::array{}}, {"data", json::array{}}},
      {{"ret", "text"}, {"data", {{"otherDeviceLogin", {{"isLogin", {{"a", 1}}}}}}}},
      json::object()};
  for (const auto& shape : shapes) {
    answer(kSession, {shape});
    users().refresheSession();
    settle();
    EXPECT_TRUE(users().isLogined());
    EXPECT_EQ(users().userInfo()->uID.get(), "7");
  }
}

}  // namespace
}  // namespace orv
