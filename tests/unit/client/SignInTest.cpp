#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/testing/SimulatedSchool.h>

#include "SessionStatusFixture.h"

#include <cstdlib>
#include <optional>
#include <string>

namespace orv::sign_in_test {
namespace {

using SignIn = SessionStatusFixture;

TEST_F(SignIn, EndsWhenTheDiskHasTheUser) {
  begin();
  platform.holdGlobalQueue(true);
  signIn();
  settle();
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(state(), "SignedOut");
  platform.holdGlobalQueue(false);
  platform.runUntil([this] { return !results.empty(); }, Seconds(1));
  EXPECT_EQ(results, Strings{"SignedIn"});
  EXPECT_EQ(inFile("uID"), ann);
  EXPECT_TRUE(school.isTokenGood(inFile("token")));
  settle();
  EXPECT_EQ(told, Strings{"Good, user 11"});
  EXPECT_EQ(nick(), "Ann");
}

TEST_F(SignIn, TakesACode) {
  begin();
  signing = session->signInWithCode("13800000001", "8888").then(note());
  settle();
  EXPECT_EQ(results, Strings{"SignedIn"});
  EXPECT_EQ(state(), "Good");
}

TEST_F(SignIn, IsFollowedByRenewals) {
  begin();
  signIn();
  runFor(2);
  EXPECT_EQ(asked("User.Post.Session"), 1u);
  runFor(240);
  EXPECT_EQ(asked("User.Post.Session"), 3u);
}

TEST_F(SignIn, IsRefusedInTheServersWords) {
  begin();
  signIn("13800000001", "wrong");
  settle();
  EXPECT_EQ(results, Strings{"Refused"});
  EXPECT_EQ(lastText, "wrong password");
  EXPECT_EQ(inFile("uID"), "");
  EXPECT_TRUE(told.empty());
}

TEST_F(SignIn, TellsTheCodeOfARefusal) {
  begin();
  std::optional<ReplyCode> code;
  const auto kept = session->signIn("1", "x").then([&](const SignInResult& result) { code = result.code(); });
  settle();
  EXPECT_EQ(code, ReplyCode{testing::SimulatedSchool::kNoSuchAccount});
}

TEST_F(SignIn, TellsThatNoAnswerCame) {
  begin();
  school.ignore("User.Post.Login");
  signIn();
  runFor(9.9);
  EXPECT_TRUE(results.empty());
  runFor(0.2);
  EXPECT_EQ(results, Strings{"NoAnswer"});
}

TEST_F(SignIn, GivesTheSessionBackWhereTheAnswerWasLost) {
  signedIn();
  server.faultNextReply(testing::ReplyFault::drop());
  signIn("13800000002", "other");
  settle();
  ASSERT_TRUE(school.hasSession(bob));
  runFor(11);
  EXPECT_EQ(results, Strings{"NoAnswer"});
  EXPECT_TRUE(school.hasSession(ann));
  EXPECT_EQ(nick(), "Ann");
}

TEST_F(SignIn, GivesTheSessionBackWhereItWasGivenUpAndTheAnswerWasLost) {
  signedIn();
  server.faultNextReply(testing::ReplyFault::drop());
  signIn("13800000002", "other");
  settle();
  ASSERT_TRUE(school.hasSession(bob));
  signing.cancel();
  runFor(11);
  EXPECT_EQ(results, Strings{"Cancelled"});
  EXPECT_TRUE(school.hasSession(ann));
}

TEST_F(SignIn, WaitsTenSecondsForALink) {
  platform.network().setDefaultPlan(testing::ConnectPlan::neverAnswer());
  watch();
  settle();
  signIn();
  runFor(9.9);
  EXPECT_TRUE(results.empty());
  runFor(0.2);
  EXPECT_EQ(results, Strings{"NoAnswer"});
  EXPECT_FALSE(lastText.empty());
}

TEST_F(SignIn, GetsTheLinkBackThatASignOutHasJustClosed) {
  watch();
  connect();
  signIn();
  settle();
  signOut();
  settle();
  ASSERT_EQ(results, (Strings{"SignedIn", "SignedOut"}));
  EXPECT_FALSE(isLinkOpen()) << "it was opened less than 1.5 s ago, so that nobody opens it afresh";
  signIn();
  runFor(3);
  EXPECT_EQ(results.back(), "SignedIn");
  EXPECT_EQ(state(), "Good");
}

TEST_F(SignIn, GoesOnWhenTheLinkIsUp) {
  watch();
  settle();
  signIn();
  runFor(2);
  EXPECT_EQ(results, Strings{"SignedIn"});
}

TEST_F(SignIn, TellsThatNoUserCame) {
  begin();
  school.answer("User.Post.Login", [](const json::object&, const std::string&) {
    return json::object{{"ret", 0}, {"data", {{"uID", "7"}}}};
  });
  signIn();
  settle();
  EXPECT_EQ(results, Strings{"NoUser"});
  EXPECT_EQ(state(), "SignedOut");
  // What the server was asked for then, and holds for want of a session, does not reach the next user.
  runFor(10);
  const auto logOuts = asked("User.Post.Logout");
  school.answer("User.Post.Login", {});
  signIn();
  runFor(10);
  EXPECT_EQ(state(), "Good");
  EXPECT_EQ(asked("User.Post.Logout"), logOuts);
}

TEST_F(SignIn, TellsThatTheDiskIsFull) {
  begin();
  platform.files().setCapacity(platform.files().usedBytes());
  signIn();
  settle();
  EXPECT_EQ(results, Strings{"NotWritten"});
  EXPECT_NE(lastText.find(plist), std::string::npos) << lastText;
  EXPECT_EQ(inFile("uID"), "");
  // As long as the program runs.
  EXPECT_EQ(state(), "Good");
  EXPECT_EQ(nick(), "Ann");
}

TEST_F(SignIn, StoresNobodyWhenItIsDestroyedBeforeTheAnswer) {
  begin();
  school.delay("User.Post.Login", Seconds(1));
  signIn();
  settle();
  signing = {};
  runFor(10);
  EXPECT_TRUE(results.empty());
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(inFile("uID"), "");
  // The server has no session for somebody who is not signed in here.
  EXPECT_FALSE(school.hasSession(ann));
}

TEST_F(SignIn, GivesTheSessionBackToTheUserWhoIsThere) {
  signedIn();
  school.delay("User.Post.Login", Seconds(1));
  signIn("13800000002", "other");
  settle();
  EXPECT_TRUE(school.hasSession(bob));
  signing.cancel();
  runFor(10);
  EXPECT_EQ(results, Strings{"Cancelled"});
  EXPECT_TRUE(school.hasSession(ann));
  EXPECT_FALSE(school.hasSession(bob));
  EXPECT_EQ(state(), "Good");
  EXPECT_EQ(nick(), "Ann");
}

TEST_F(SignIn, StoresNobodyWhenItIsDestroyedBeforeTheDiskIsAsked) {
  begin();
  platform.holdGlobalQueue(true);
  signIn();
  settle();
  signing = {};
  platform.holdGlobalQueue(false);
  runFor(10);
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(inFile("uID"), "");
  EXPECT_FALSE(users().isLogined());
  EXPECT_FALSE(school.hasSession(ann));
}

TEST_F(SignIn, PutsBackWhoWasThereWhenItIsDestroyedAfterTheDiskWasAsked) {
  signedIn();
  signIn("13800000002", "other");
  platform.runUntil([this] { return inFile("uID") == bob; }, Seconds(1));
  ASSERT_EQ(inFile("uID"), bob);
  ASSERT_TRUE(results.empty());
  signing = {};
  runFor(5);
  EXPECT_EQ(inFile("uID"), ann);
  EXPECT_EQ(nick(), "Ann");
  EXPECT_EQ(state(), "Good");
  EXPECT_TRUE(school.hasSession(ann));
}

TEST_F(SignIn, LeavesSomebodyElseWhoWasStoredMeanwhile) {
  signedIn();
  signIn("13800000002", "other");
  platform.runUntil([this] { return inFile("uID") == bob; }, Seconds(1));
  ASSERT_TRUE(results.empty());
  users().setUserInfo(makeRecord<OrvUserInfoModel>(json::object{{"uID", "99"}, {"token", "of the host"}}));
  signing = {};
  runFor(5);
  EXPECT_EQ(inFile("uID"), "99");
}

TEST_F(SignIn, IsGivenUpByALaterOne) {
  begin();
  school.delay("User.Post.Login", Seconds(1));
  signIn();
  settle();
  school.clearFaults();
  const auto later = session->signIn("13800000002", "other").then(note());
  settle();
  EXPECT_EQ(results, (Strings{"Cancelled", "SignedIn"}));
  runFor(5);
  EXPECT_EQ(inFile("uID"), bob);
  EXPECT_EQ(nick(), "Bob");
  EXPECT_TRUE(school.hasSession(bob));
}

TEST_F(SignIn, IsGivenUpWithTheStatus) {
  begin();
  school.delay("User.Post.Login", Seconds(1));
  signIn();
  settle();
  session.reset();
  runFor(5);
  EXPECT_EQ(results, Strings{"Cancelled"});
  EXPECT_EQ(inFile("uID"), "");
}

TEST_F(SignIn, KeepsADeadlineOfTheHost) {
  begin();
  school.delay("User.Post.Login", Seconds(4));
  signing = session->signIn("13800000001", "secret").deadline(Seconds(3)).then(note());
  runFor(10);
  EXPECT_EQ(results, Strings{"NoAnswer"});
  EXPECT_EQ(inFile("uID"), "");
}

TEST_F(SignIn, MayBeWithdrawnInsideItsCallback) {
  begin();
  int calls = 0;
  signing = session->signIn("13800000001", "secret").then([&](const SignInResult&) {
    ++calls;
    signing = {};
    session.reset();
  });
  runFor(5);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(inFile("uID"), ann);
}

TEST_F(SignIn, AnswersForTheFormerUserChangeNothing) {
  signedIn();
  school.delay("User.Post.Session", Seconds(5));
  users().refresheSession();
  settle();
  signIn("13800000002", "other");
  settle();
  ASSERT_EQ(results, Strings{"SignedIn"});
  school.dropTokens(ann);
  told.clear();
  runFor(30);
  EXPECT_EQ(nick(), "Bob");
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(inFile("uID"), bob);
}

TEST_F(SignIn, TheProgramMayEndWhileItIsUnderWay) {
  begin();
  platform.holdGlobalQueue(true);
  signIn();
  settle();
  platform.holdGlobalQueue(false);
  platform.step();
  std::exit(::testing::Test::HasFailure() ? 1 : 0);
}

}  // namespace
}  // namespace orv::sign_in_test
