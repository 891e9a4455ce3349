// What the replies to the session refresh do to the user.

#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include "SessionFixture.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::qx_user_info_mgr_session_reply_test {
namespace {

class QXUserInfoMgrSessionReply : public SessionFixture {
 protected:
  static constexpr std::string_view kRoutine = "-[QXUserInfoMgr refresheSession]";
  void refuse(std::int64_t code = 5, json::value err = "no") {
    answer(kSession, {refusal(code, std::move(err))});
  }
  std::size_t otherDevices() const { return count(QXNotificationOtherUserLoggedIn); }
  std::size_t logged(const std::string& line) { return countLogged(line); }
};

TEST_F(QXUserInfoMgrSessionReply, MergesWhatCameAndStoresItWithoutAWord) {
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

TEST_F(QXUserInfoMgrSessionReply, NeverTakesTheClassroomFromTheReply) {
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

TEST_F(QXUserInfoMgrSessionReply, StoresTheUserAgainWhenTheReplyBringsNothing) {
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

TEST_F(QXUserInfoMgrSessionReply, StoresOnTheWorkerPoolAndNeverOverSomethingNewer) {
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

TEST_F(QXUserInfoMgrSessionReply, TellsOfTheAccountOnAnotherDevice) {
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

TEST_F(QXUserInfoMgrSessionReply, SaysNothingOfOtherDevicesAfterARefusal) {
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

TEST_F(QXUserInfoMgrSessionReply, TakesAnyErrorButNullForARefusal) {
  beginRefreshing(makeUser());
  for (const json::value& err :
       {json::value(""), json::value("no"), json::value(0), json::value(json::object())}) {
    users().setErrorCount(0);
    refuse(0, err);
    users().refresheSession();
    settle();
    EXPECT_EQ(users().errorCount(), 1) << json::serialize(err);
  }
  refuse(0, nullptr);
  users().refresheSession();
  settle();
  EXPECT_EQ(users().errorCount(), 0) << "null is absence";
  EXPECT_EQ(logged(std::string(kRoutine) + " 138 errCode 0, "), 1u);
}

TEST_F(QXUserInfoMgrSessionReply, BringsNobodyBackWhoLoggedOutWhileTheReplyWasUnderWay) {
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

TEST_F(QXUserInfoMgrSessionReply, GivesNoReplyToAnotherUserThanTheOneItWasAskedFor) {
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

TEST_F(QXUserInfoMgrSessionReply, GivesNoReplyToASignInThatIsNewerThanTheTokenItWasAskedWith) {
  for (const json::object& reply :
       {refusal(2), refusal(-999999), refusal(5), success({{"token", "old"}, {"nick", "Late"}})}) {
    if (link.isOpen()) {
      users().setUserInfo(makeUser());
    } else {
      beginRefreshing(makeUser());
    }
    // The third refusal in a row would end the session.
    users().setErrorCount(2);
    server.setFaultChooser([](const json::object&) { return testing::ReplyFault::late(Seconds(1)); });
    answer(kSession, {reply});
    users().refresheSession();
    settle();
    const auto fresh = makeUser({{"uID", "7"}, {"token", "fresh"}, {"nick", "Ann"}});
    users().setUserInfo(fresh);
    forget();
    runFor(2);
    EXPECT_EQ(names(), Strings{});
    EXPECT_EQ(users().errorCount(), 2);
    EXPECT_EQ(fresh->token.get(), "fresh");
    EXPECT_EQ(fresh->nick.get(), "Ann");
    EXPECT_EQ(inFile("token"), "fresh");
    ASSERT_TRUE(users().autoLogintimer());
    EXPECT_TRUE(users().autoLogintimer()->isValid());
  }
}

TEST_F(QXUserInfoMgrSessionReply, TakesTheSecondOfTwoRenewalsThoughTheFirstBroughtANewToken) {
  const auto user = makeUser();
  beginRefreshing(user);
  server.setFaultChooser([](const json::object&) { return testing::ReplyFault::late(Seconds(1)); });
  answer(kSession, {success({{"token", "second"}}), success({{"token", "third"}}), refusal(2)});
  for (int i = 0; i < 3; ++i) {
    users().refresheSession();
    settle();
  }
  runFor(2);
  EXPECT_EQ(user->token.get(), "third") << "both were asked with the first one";
  EXPECT_EQ(inFile("token"), "third");
  EXPECT_EQ(count(QXNotificationUserInfoInvalidate), 0u) << "refused was the first one";
  // And the refusal of the one that is stored is one.
  server.setFaultChooser(nullptr);
  users().refresheSession();
  settle();
  EXPECT_EQ(count(QXNotificationUserInfoInvalidate), 1u);
}

TEST_F(QXUserInfoMgrSessionReply, MergesIntoTheRecordThatIsCurrentWhenTheReplyComes) {
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

TEST_F(QXUserInfoMgrSessionReply, FetchesTheClassroomThatTheReplyNamedFirst) {
  beginRefreshing(makeUser());
  answer(kSession, {success({{"classroom", "5001"}})});
  users().refresheSession();
  settle();
  EXPECT_EQ(asked(kClassroom), 1u);
  EXPECT_EQ(values(kClassroom), (json::object{{"classroomID", "5001"}}));
}

TEST_F(QXUserInfoMgrSessionReply, AnObserverMayLogOutWhenAnotherDeviceIsToldOf) {
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

TEST_F(QXUserInfoMgrSessionReply, SurvivesAnyShapeOfReply) {
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
}  // namespace orv::qx_user_info_mgr_session_reply_test
