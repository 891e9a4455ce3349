#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>

#include "SessionStatusFixture.h"

#include <memory>
#include <string>
#include <vector>

namespace orv::session_status_test {
namespace {

using SessionStatusTest = SessionStatusFixture;

TEST_F(SessionStatusTest, KnowsNobodyUntilTheFileHasBeenRead) {
  platform.holdGlobalQueue(true);
  watch();
  EXPECT_EQ(state(), "Restoring");
  EXPECT_EQ(nick(), "nobody");
  settle();
  EXPECT_EQ(told, Strings{"Restoring"});
  EXPECT_FALSE(QXUserInfoMgr::isConstructed());
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_EQ(told, (Strings{"Restoring", "SignedOut"}));
}

TEST_F(SessionStatusTest, KnowsAtOnceWhatTheManagerKnows) {
  putUser(ann, school.issueToken(ann));
  users();
  watch();
  EXPECT_EQ(state(), "Restoring");
  EXPECT_EQ(nick(), "Ann");
}

TEST_F(SessionStatusTest, RestoresAStoredUserWithoutALink) {
  putUser(ann, school.issueToken(ann));
  watch();
  runFor(300);
  EXPECT_EQ(state(), "Restoring");
  EXPECT_EQ(nick(), "Ann");
}

TEST_F(SessionStatusTest, IsGoodWhenTheServerKnowsTheSession) {
  putUser(ann, school.issueToken(ann));
  watch();
  settle();
  told.clear();
  connect();
  EXPECT_EQ(state(), "Good");
  EXPECT_EQ(told, Strings{"Good, user 11"});
  runFor(10);
  EXPECT_EQ(asked("User.Post.Session"), 1u);  // the manager's own
}

TEST_F(SessionStatusTest, IsRefusedWhenTheTokenDoesNotCount) {
  putUser(ann, "stale");
  watch();
  settle();
  told.clear();
  connect();
  EXPECT_EQ(told, Strings{"Refused, user 11: the session is over: log in again"});
  EXPECT_EQ(nick(), "Ann");
  EXPECT_TRUE(users().isLogined());
}

TEST_F(SessionStatusTest, RestoresAfterTheLinkWasLost) {
  signedIn();
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  server.cutAll();
  settle();
  EXPECT_EQ(told, Strings{"Restoring, user 11"});
  platform.network().setDefaultPlan(testing::ConnectPlan::accept());
  told.clear();
  runFor(60);
  EXPECT_EQ(told, Strings{"Good, user 11"});
}

TEST_F(SessionStatusTest, RestoresAfterAResetWhenItIsTold) {
  signedIn();
  platform.network().setDefaultPlan(testing::ConnectPlan::neverAnswer());
  server.reset(server.latest());
  settle();
  session->linkChanged();
  settle();
  EXPECT_EQ(told, Strings{"Restoring, user 11"});
}

TEST_F(SessionStatusTest, ALinkThatCameBackUnnoticedHasToBeConfirmedAnew) {
  signedIn();
  school.ignore("User.Post.Session");
  server.reset(server.latest());
  runFor(2);
  EXPECT_TRUE(isLinkOpen());
  EXPECT_EQ(told, Strings{"Restoring, user 11"});
}

TEST_F(SessionStatusTest, IsTakenOverByAnotherDevice) {
  signedIn();
  school.logOutFromElsewhere(ann);
  settle();
  EXPECT_EQ(told, Strings{"TakenOver, user 11: another device has logged this one out"});
  EXPECT_EQ(nick(), "Ann");
  // That the token is refused from then on says less.
  runFor(300);
  EXPECT_EQ(state(), "TakenOver");
  told.clear();
  signIn();
  settle();
  ASSERT_EQ(results, Strings{"SignedIn"});
  EXPECT_EQ(state(), "Good");
}

TEST_F(SessionStatusTest, IsTakenOverAlsoWhileTheUserOfASignInIsBeingWritten) {
  begin();
  // The session itself has heard of the user before this.
  const json::object push{{"c", "User.OtherDevice.Logout"}};
  const auto pushing =
      NotificationCenter::defaultCenter().observe(QXNotificationDidChangeUserInfo, [&](const Notification&) {
        NotificationCenter::defaultCenter().post(QXNotificationLogoutByOtherUser, &link, &push);
      });
  signIn();
  settle();
  ASSERT_EQ(results, Strings{"SignedIn"});
  EXPECT_EQ(state(), "TakenOver");
  runFor(5);
  EXPECT_EQ(state(), "TakenOver");
}

TEST_F(SessionStatusTest, ASignInIsGoodThoughTheUserBeforeItIsTakenOverMeanwhile) {
  signedIn();
  bool isPushed = false;
  signIn("13800000002", "other");
  ASSERT_TRUE(platform.runUntil(
      [&] {
        if (!isPushed && asked("User.Post.Login") == 1) {
          isPushed = true;
          server.push(server.latest(), "User.OtherDevice.Logout", {{"uID", json::string(ann)}});
        }
        return !results.empty();
      },
      Seconds(5)));
  EXPECT_EQ(results, Strings{"SignedIn"});
  settle();
  EXPECT_EQ(state(), "Good");
  EXPECT_EQ(nick(), "Bob");
}

TEST_F(SessionStatusTest, IsNotTakenOverByAPushForAnotherUser) {
  signedIn();
  server.push(server.latest(), "User.OtherDevice.Logout", {{"uID", json::string(bob)}});
  settle();
  EXPECT_TRUE(told.empty());
  server.push(server.latest(), "User.OtherDevice.Logout", {});
  settle();
  EXPECT_EQ(state(), "TakenOver");
}

TEST_F(SessionStatusTest, TellsWhatAnotherDeviceDoes) {
  signedIn();
  school.logInElsewhere(ann);
  settle();
  EXPECT_TRUE(told.empty());  // known with the next renewal
  runFor(125);
  EXPECT_EQ(told, Strings{"Good, user 11, logged in on another device"});
  EXPECT_TRUE(session->info().otherDevice.isLoggedIn);
  school.logInElsewhere(ann, true);
  runFor(120);
  school.leaveElsewhere(ann);
  runFor(120);
  EXPECT_EQ(told,
            (Strings{"Good, user 11, logged in on another device",
                     "Good, user 11, logged in on another device, live on another device", "Good, user 11"}));
}

TEST_F(SessionStatusTest, KeepsNoWordOfOtherDevicesFromTheFile) {
  school.logInElsewhere(ann);
  putUser(ann, school.issueToken(ann));
  watch();
  settle();
  EXPECT_EQ(session->info().sentence(), "Restoring, user 11");
}

TEST_F(SessionStatusTest, GivesOutCopiesOfTheUser) {
  signedIn();
  const auto before = session->user();
  ASSERT_TRUE(before);
  EXPECT_NE(before.get(), users().userInfo().get());
  EXPECT_NE(before->classroominfo.get(), users().userInfo()->classroominfo.get());
  school.changeUser(ann, {{"nick", "Anna"}});
  runFor(125);
  EXPECT_EQ(before->nick.get(), "Ann");
  EXPECT_EQ(nick(), "Anna");
  EXPECT_EQ(told, Strings{"Good, user 11"});  // told, since the user is another
}

TEST_F(SessionStatusTest, TellsANewClassroom) {
  signedIn();
  school.changeClassroom("5001", {{"title", "Physics"}});
  users().refreshClassroomInfo();
  settle();
  EXPECT_EQ(told.size(), 1u);
  EXPECT_EQ(session->user()->classroominfo.get()->title.get(), "Physics");
}

TEST_F(SessionStatusTest, TellsNothingTwice) {
  signedIn();
  runFor(1000);
  session->linkChanged();
  settle();
  EXPECT_TRUE(told.empty());
  EXPECT_GE(asked("User.Post.Session"), 8u);
}

TEST_F(SessionStatusTest, TellsWhoSubscribesThePresentOnceInTheNextTurn) {
  signedIn();
  Strings heard;
  const auto subscribed = session->onChanged([&](const SessionChange& change) {
    EXPECT_TRUE(change.before == change.now);
    heard.push_back(change.now.sentence());
  });
  EXPECT_TRUE(heard.empty());
  settle();
  EXPECT_EQ(heard, Strings{"Good, user 11"});
  EXPECT_TRUE(told.empty());
}

TEST_F(SessionStatusTest, AHostsOwnUserIsRestoredAndRenewed) {
  begin();
  json::object user = *school.user(ann);
  user["token"] = json::string(school.issueToken(ann));
  users().setUserInfo(makeRecord<OrvUserInfoModel>(user));
  settle();
  EXPECT_EQ(told, Strings{"Restoring, user 11"});
  runFor(2);
  EXPECT_EQ(state(), "Good");
  users().setUserInfo(nullptr);
  settle();
  EXPECT_EQ(state(), "SignedOut");
}

TEST_F(SessionStatusTest, AnotherTokenOfTheSameUserIsAnotherSession) {
  signedIn();
  const auto user = makeRecord<OrvUserInfoModel>(users().userInfo()->jsonObject());
  user->token = school.issueToken(ann);
  users().setUserInfo(user);
  runFor(3);
  EXPECT_EQ(told, (Strings{"Restoring, user 11", "Good, user 11"}));
}

TEST_F(SessionStatusTest, MayBeDestroyedInsideItsCallback) {
  putUser(ann, school.issueToken(ann));
  session = std::make_unique<SessionStatus>();
  int calls = 0;
  auto first = session->onChanged([&](const SessionChange&) {
    ++calls;
    session.reset();
  });
  const auto second = session->onChanged([&](const SessionChange&) { ADD_FAILURE(); });
  settle();
  connect();
  runFor(200);
  EXPECT_EQ(calls, 1);
}

TEST_F(SessionStatusTest, ASubscriptionMayOutliveIt) {
  signedIn();
  session.reset();
  school.logOutFromElsewhere(ann);
  runFor(10);
  EXPECT_TRUE(told.empty());
  watching.reset();
}

TEST_F(SessionStatusTest, GoesBeforeTheFileHasBeenRead) {
  platform.holdGlobalQueue(true);
  watch();
  session.reset();
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_TRUE(told.empty());
}

TEST_F(SessionStatusTest, AnInfoIsEqualToAnotherWhenEverythingIs) {
  const auto userCalled = [](const char* nick) {
    return makeRecord<OrvUserInfoModel>(json::object{{"uID", "7"}, {"nick", nick}});
  };
  const SessionInfo info{SessionState::Good, userCalled("Ann"), "why", {.isLoggedIn = true, .isLive = false}};
  SessionInfo other = info;
  other.user = userCalled("Ann");
  EXPECT_EQ(info, other) << "another record with the same fields";
  other.user = userCalled("Bob");
  EXPECT_NE(info, other);
  other = info;
  other.user = nullptr;
  EXPECT_NE(info, other);
  other = info;
  other.state = SessionState::Restoring;
  EXPECT_NE(info, other);
  other = info;
  other.reason = "";
  EXPECT_NE(info, other);
  other = info;
  other.otherDevice.isLive = true;
  EXPECT_NE(info, other);
}

TEST_F(SessionStatusTest, SaysAllInOneLineWithoutTheToken) {
  SessionInfo info;
  info.user = makeRecord<OrvUserInfoModel>(json::object{{"uID", "7"}, {"token", "top-secret"}});
  info.state = SessionState::Refused;
  info.reason = "a\nb";
  EXPECT_EQ(info.sentence(), "Refused, user 7: a b");
}

}  // namespace
}  // namespace orv::session_status_test
