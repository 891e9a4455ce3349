#include <orvnetwork/session/QXUserInfoMgr.h>

#include "SessionStatusFixture.h"

#include <memory>
#include <string>
#include <vector>

namespace orv {
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

TEST_F(SessionStatusTest, RenewsByItselfWhereTheLinkWasUpBefore) {
  putUser(ann, school.issueToken(ann));
  connect();  // nobody watches yet, and the manager is not there
  watch();
  settle();
  EXPECT_EQ(state(), "Restoring");
  EXPECT_EQ(asked("User.Post.Session"), 0u);
  runFor(2);
  EXPECT_EQ(state(), "Good");
  EXPECT_EQ(asked("User.Post.Session"), 1u);
}

TEST_F(SessionStatusTest, SpreadsItsRenewalsOverTwoSeconds) {
  putUser(ann, school.issueToken(ann));
  users();
  connect();
  runFor(130);  // the manager's own are over for a while
  server.clearRecords();
  for (const auto& [number, seconds] : {std::pair(0xFFFFFFFFu, 2.0), std::pair(0x40000000u, 0.5)}) {
    platform.queueRandom({number});
    watch();
    runFor(seconds - 0.01);
    EXPECT_EQ(asked("User.Post.Session"), 0u) << seconds;
    runFor(0.02);
    EXPECT_EQ(asked("User.Post.Session"), 1u) << seconds;
    EXPECT_EQ(state(), "Good");
    watching.reset();
    isFirst = true;
    told.clear();
    server.clearRecords();
  }
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

TEST_F(SessionStatusTest, IsRefusedByTheThirdRefusalAndNotBefore) {
  putUser(ann, school.issueToken(ann));
  school.refuse("User.Post.Session", 500, "later");
  watch();
  connect();
  EXPECT_EQ(session->info().sentence(), "Restoring, user 11: later");
  runFor(125);
  EXPECT_EQ(state(), "Restoring");
  runFor(120);
  EXPECT_EQ(state(), "Refused");
}

TEST_F(SessionStatusTest, StaysGoodWhenOneRenewalFailsAndTellsWhy) {
  signedIn();
  school.refuse("User.Post.Session", 500, "later", 1);
  school.ignore("User.Post.Session", 0);
  runFor(125);
  EXPECT_EQ(told, Strings{"Good, user 11: later"});
  runFor(120);
  EXPECT_EQ(told, (Strings{"Good, user 11: later", "Good, user 11"}));
}

TEST_F(SessionStatusTest, TellsThatARenewalWasNotAnswered) {
  putUser(ann, school.issueToken(ann));
  school.ignore("User.Post.Session");
  watch();
  connect();
  runFor(11);
  EXPECT_EQ(session->info().sentence(), "Restoring, user 11: the server does not answer");
  runFor(100);
  EXPECT_LE(asked("User.Post.Session"), 11u);
  EXPECT_GE(asked("User.Post.Session"), 3u);
  school.clearFaults();
  runFor(60);
  EXPECT_EQ(session->info().sentence(), "Good, user 11");
}

TEST_F(SessionStatusTest, IsGoodAgainAfterARefusedOneWasRenewed) {
  putUser(ann, school.issueToken(ann));
  school.refuse("User.Post.Session", 2, "over", 1);
  watch();
  connect();
  ASSERT_EQ(state(), "Refused");
  runFor(3);
  server.cutAll();
  runFor(5);
  EXPECT_EQ(state(), "Good");
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
  EXPECT_TRUE(link.isOpen());
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

TEST_F(SessionStatusTest, ALateAnswerForAnOlderTokenChangesNothing) {
  putUser(ann, "stale");
  school.delay("User.Post.Session", Seconds(3));
  watch();
  connect();
  signIn();
  settle();
  ASSERT_EQ(results, Strings{"SignedIn"});
  EXPECT_EQ(state(), "Good");
  told.clear();
  runFor(3.5);
  EXPECT_EQ(server.requests("User.Post.Session").size(), 2u);
  EXPECT_EQ(told, Strings{});
  EXPECT_EQ(state(), "Good");
}

TEST_F(SessionStatusTest, RequestsThatWereHeldGoOnWithinSeconds) {
  signedIn();
  school.endSessions();
  send("Dev.Held");
  school.answer("Dev.Held", [](const json::object&, const std::string& uID) {
    return uID.empty() ? json::object{{"ret", 1001}, {"err", "no session"}} : json::object{{"ret", 0}};
  });
  settle();
  EXPECT_EQ(link.parkedRequestCount(), 1u);
  EXPECT_EQ(state(), "Good");
  runFor(2.1);
  EXPECT_EQ(outcomes, Strings{"Dev.Held ok"});
  EXPECT_TRUE(told.empty());
}

TEST_F(SessionStatusTest, AsksLessAndLessWhereRenewingDoesNotHelp) {
  signedIn();
  school.answer("Dev.Held", [](const json::object&, const std::string&) {
    return json::object{{"ret", 1001}, {"err", "no session"}};
  });
  send("Dev.Held");
  runFor(120);
  EXPECT_LE(asked("User.Post.Session"), 12u);
  EXPECT_GE(asked("User.Post.Session"), 4u);
}

TEST_F(SessionStatusTest, HeldRequestsCauseNothingWhereTheSessionWasRefused) {
  putUser(ann, "stale");
  watch();
  connect();
  ASSERT_EQ(state(), "Refused");
  server.clearRecords();
  send("Course.Room.Info");
  runFor(60);
  EXPECT_EQ(link.parkedRequestCount(), 2u);  // one is the manager's
  EXPECT_EQ(asked("User.Post.Session"), 0u);
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

TEST_F(SessionStatusTest, SaysAllInOneLineWithoutTheToken) {
  SessionInfo info;
  info.user = makeRecord<OrvUserInfoModel>(json::object{{"uID", "7"}, {"token", "top-secret"}});
  info.state = SessionState::Refused;
  info.reason = "a\nb";
  EXPECT_EQ(info.sentence(), "Refused, user 7: a b");
}

}  // namespace
}  // namespace orv
