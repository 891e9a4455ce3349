// The classroom refresh and its retries.

#include <orvnetwork/platform/NotificationCenter.h>

#include "SessionFixture.h"

#include <string>
#include <string_view>

namespace orv::qx_user_info_mgr_classroom_test {
namespace {

class QXUserInfoMgrClassroom : public SessionFixture {
 protected:
  static constexpr std::string_view kRoutine = "-[QXUserInfoMgr refreshClassroomInfoWithRetryCount:]";

  QXUserInfoMgrClassroom() {
    bringUp();
    users().setUserInfo(user);
    settle();
    forget();
  }
  void refresh(json::object reply) {
    answer(kClassroom, {std::move(reply)});
    users().refreshClassroomInfo();
    settle();
  }
  std::size_t told() const { return count(QXNotificationDidChangeClassroom); }

  const User user =
      makeUser({{"uID", "7"}, {"classroom", "5"}, {"classroominfo", {{"id", "5"}, {"title", "Maths"}}}});
};

TEST_F(QXUserInfoMgrClassroom, PutsWhatCameIntoTheUser) {
  const auto before = user->classroominfo.get();
  refresh(success({{"id", 6}, {"title", "Music"}, {"description", "songs"}}));
  const auto room = user->classroominfo.get();
  EXPECT_NE(room, before);
  EXPECT_EQ(room->title.get(), "Music");
  EXPECT_EQ(room->m_description.get(), "songs");
  EXPECT_EQ(user->classroom.get(), "6") << "the identifier of what came";
  EXPECT_EQ(before->title.get(), "Maths") << "another record, the old one is left alone";
  EXPECT_EQ(names(), Strings{std::string(QXNotificationDidChangeClassroom)});
  EXPECT_EQ(notifications.front().object, nullptr);
  EXPECT_FALSE(notifications.front().userInfo);
}

TEST_F(QXUserInfoMgrClassroom, TellsTheConsoleWhatCame) {
  refresh(success({{"id", "6"}, {"title", "Music"}}));
  EXPECT_TRUE(consoleTold("title = Music;"));
}

TEST_F(QXUserInfoMgrClassroom, DoesNotWriteTheFile) {
  refresh(success({{"id", "6"}, {"title", "Music"}}));
  EXPECT_EQ(inFile("classroom"), "5");
  users().setUserInfo(user);
  EXPECT_EQ(inFile("classroom"), "6") << "with the next store";
}

TEST_F(QXUserInfoMgrClassroom, ComparesTheOldFormWithWhatCameAsItCame) {
  const json::object form = user->classroominfo.get()->jsonObject();
  refresh(success(form));
  EXPECT_EQ(told(), 0u);
  json::object asReals = form;
  asReals["role"] = 0.0;
  asReals["current"] = 0;
  refresh(success(asReals));
  EXPECT_EQ(told(), 0u) << "numbers are equal across kinds";
  json::object extra = form;
  extra["unknown"] = 1;
  refresh(success(extra));
  EXPECT_EQ(told(), 1u) << "also what no field takes";
  refresh(success({{"id", "5"}, {"title", "Maths"}}));
  EXPECT_EQ(told(), 2u) << "what came lacks the fields that the form has";
}

TEST_F(QXUserInfoMgrClassroom, ComparesWithAnEmptyDictionaryWhenThereWasNone) {
  user->classroominfo = nullptr;
  refresh(success(json::object()));
  EXPECT_EQ(told(), 0u);
  EXPECT_TRUE(user->classroominfo.get());
  user->classroominfo = nullptr;
  refresh(success({{"id", "5"}}));
  EXPECT_EQ(told(), 1u);
}

TEST_F(QXUserInfoMgrClassroom, ChangesNothingWhenTheReplyHoldsNoClassroom) {
  const auto before = user->classroominfo.get();
  refresh({{"ret", 0}});
  for (const json::value& data :
       {json::value(), json::value("x"), json::value(5), json::value(json::array{1})}) {
    refresh(success(data));
  }
  EXPECT_EQ(user->classroominfo.get(), before);
  EXPECT_EQ(user->classroom.get(), "5");
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(asked(kClassroom), 5u) << "nor is it a refusal";
}

TEST_F(QXUserInfoMgrClassroom, AsksFourTimesAtMostAndAtOnce) {
  answer(kClassroom, {refusal(5, "no")});
  users().refreshClassroomInfo();
  settle();
  EXPECT_EQ(asked(kClassroom), 4u) << "no time has passed";
  EXPECT_EQ(countLogged(std::string(kRoutine) + " 178 errCode 5, no"), 4u);
  runFor(300);
  EXPECT_EQ(asked(kClassroom), 4u);
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(user->classroom.get(), "5");
}

TEST_F(QXUserInfoMgrClassroom, AsksOnceMoreThanItMayRetry) {
  answer(kClassroom, {refusal(5)});
  for (const std::int64_t retries : {0, 1, 7}) {
    server.clearRecords();
    users().refreshClassroomInfoWithRetryCount(retries);
    settle();
    EXPECT_EQ(asked(kClassroom), static_cast<std::size_t>(retries) + 1);
  }
  server.clearRecords();
  users().refreshClassroomInfoWithRetryCount(-5);
  settle();
  EXPECT_EQ(asked(kClassroom), 1u);
}

TEST_F(QXUserInfoMgrClassroom, StopsRetryingAfterASuccess) {
  answer(kClassroom, {refusal(5), refusal(5), success({{"id", "6"}})});
  users().refreshClassroomInfo();
  settle();
  EXPECT_EQ(asked(kClassroom), 3u);
  EXPECT_EQ(user->classroom.get(), "6");
  EXPECT_EQ(told(), 1u);
}

TEST_F(QXUserInfoMgrClassroom, TakesOnlyATextThatIsNotEmptyForAnError) {
  refresh({{"ret", 0}, {"err", ""}, {"data", {{"id", "6"}}}});
  refresh({{"ret", 0}, {"err", nullptr}, {"data", {{"id", "7"}}}});
  refresh({{"ret", 0}, {"err", 5}, {"data", {{"id", "8"}}}});
  EXPECT_EQ(asked(kClassroom), 3u);
  EXPECT_EQ(user->classroom.get(), "8");
  refresh({{"ret", 0}, {"err", "odd"}, {"data", {{"id", "9"}}}});
  EXPECT_EQ(asked(kClassroom), 7u);
  EXPECT_EQ(user->classroom.get(), "8");
  EXPECT_EQ(countLogged(std::string(kRoutine) + " 178 errCode 0, odd"), 4u);
}

TEST_F(QXUserInfoMgrClassroom, DoesNotRetryATimeout) {
  ignore(kClassroom);
  users().refreshClassroomInfo();
  runFor(60);
  EXPECT_EQ(asked(kClassroom), 1u);
  EXPECT_EQ(countLoggedStart("timeout <QXRequestItem Course.Room.Info "), 1u);
}

TEST_F(QXUserInfoMgrClassroom, OnlyLogsWhenTheLinkIsClosed) {
  link.close();
  users().refreshClassroomInfo();
  EXPECT_EQ(countLoggedStart("timeout <QXRequestItem Course.Room.Info "), 1u);
  EXPECT_EQ(asked(kClassroom), 0u);
}

TEST_F(QXUserInfoMgrClassroom, SendsNoIdentifierThatTheUserDoesNotHave) {
  users().setUserInfo(makeUser());
  users().refreshClassroomInfoWithRetryCount(0);
  settle();
  EXPECT_EQ(asked(kClassroom), 1u);
  EXPECT_EQ(values(kClassroom), json::object());
}

TEST_F(QXUserInfoMgrClassroom, SendsNothingWithoutAUser) {
  runFor(2);
  users().setUserInfo(nullptr);
  settle();
  ASSERT_TRUE(link.isOpen());
  users().refreshClassroomInfo();
  settle();
  EXPECT_EQ(asked(kClassroom), 0u);
}

TEST_F(QXUserInfoMgrClassroom, GivesNoClassroomToAnotherUser) {
  server.setFaultChooser([](const json::object&) { return testing::ReplyFault::late(Seconds(1)); });
  answer(kClassroom, {success({{"id", "6"}})});
  users().refreshClassroomInfo();
  settle();
  const auto second = makeUser({{"uID", "8"}, {"classroom", "9"}, {"classroominfo", {{"id", "9"}}}});
  users().setUserInfo(second);
  forget();
  runFor(2);
  EXPECT_EQ(second->classroom.get(), "9");
  EXPECT_EQ(user->classroom.get(), "5");
  EXPECT_EQ(names(), Strings{});
}

TEST_F(QXUserInfoMgrClassroom, RetriesForNobodyElse) {
  server.setFaultChooser([](const json::object&) { return testing::ReplyFault::late(Seconds(1)); });
  answer(kClassroom, {refusal(5)});
  users().refreshClassroomInfo();
  settle();
  users().setUserInfo(makeUser({{"uID", "8"}}));
  runFor(10);
  EXPECT_EQ(asked(kClassroom), 1u);
}

TEST_F(QXUserInfoMgrClassroom, AnObserverMayStoreTheUserFromInside) {
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidChangeClassroom), [&](const Notification&) { users().setUserInfo(user); });
  refresh(success({{"id", "6"}, {"title", "Music"}}));
  EXPECT_EQ(inFile("classroom"), "6");
  EXPECT_EQ(told(), 1u);
}

}  // namespace
}  // namespace orv::qx_user_info_mgr_classroom_test
