#include <orvnetwork/testing/SimulatedFileSystem.h>

#include "SessionStatusFixture.h"

#include <cstdint>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace orv::sign_out_test {
namespace {

using SignOut = SessionStatusFixture;

TEST_F(SignOut, TellsTheServerAndStoresNobody) {
  signedIn();
  const std::string token = inFile("token");
  signOut();
  settle();
  EXPECT_EQ(results, Strings{"SignedOut"});
  EXPECT_EQ(lastText, "");
  EXPECT_FALSE(school.isTokenGood(token));
  EXPECT_EQ(inFile("uID"), "");
  EXPECT_EQ(told, Strings{"SignedOut"});
  EXPECT_EQ(nick(), "nobody");
}

TEST_F(SignOut, WaitsFiveSecondsAtMostForTheServer) {
  signedIn();
  school.ignore("User.Post.Logout");
  signOut();
  runFor(4.9);
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(inFile("uID"), ann);
  runFor(0.2);
  EXPECT_EQ(results, Strings{"SignedOut"});
  EXPECT_FALSE(lastText.empty());
  EXPECT_EQ(inFile("uID"), "");
}

TEST_F(SignOut, DoesNotAskWithoutASession) {
  putUser(ann, school.issueToken(ann));
  watch();
  settle();
  signOut();
  settle();
  EXPECT_EQ(results, Strings{"SignedOut"});
  EXPECT_EQ(asked("User.Post.Logout"), 0u);
  EXPECT_EQ(inFile("uID"), "");
}

TEST_F(SignOut, EndsAtOnceWhenNobodyIsStored) {
  begin();
  server.clearRecords();
  signOut();
  settle();
  EXPECT_EQ(results, Strings{"SignedOut"});
  EXPECT_TRUE(isLinkOpen());
  EXPECT_TRUE(server.closes().empty());
}

TEST_F(SignOut, ALogOutThatWasHeldDoesNotLogTheNextUserOut) {
  signedIn();
  school.endSessions();
  school.dropTokens(ann);  // no renewal frees it
  signOut();
  settle();
  ASSERT_EQ(parkedRequests(), 1u);
  runFor(11);
  ASSERT_EQ(results, Strings{"SignedOut"});
  const auto sent = asked("User.Post.Logout");
  signIn("13800000002", "other");
  runFor(20);
  EXPECT_EQ(asked("User.Post.Logout"), sent);
  EXPECT_TRUE(school.hasSession(bob));
  EXPECT_EQ(state(), "Good");
}

TEST_F(SignOut, WaitsForNothingMoreWhereTheServerDoesNotRenewTheSession) {
  signedIn();
  school.endSessions();
  school.dropTokens(ann);
  // The renewal that is asked for then comes as late as it may.
  platform.queueRandom(std::vector<std::uint32_t>(20, 0xFFFFFFFF));
  signOut();
  runFor(1.9);
  ASSERT_EQ(parkedRequests(), 1u);
  EXPECT_TRUE(results.empty());
  runFor(0.2);
  EXPECT_EQ(results, Strings{"SignedOut"});
  EXPECT_EQ(lastText, "the server does not know the session any more");
  EXPECT_EQ(inFile("uID"), "");
}

TEST_F(SignOut, WaitsForNothingWhereTheLastRenewalWasRefused) {
  signedIn();
  school.refuse("User.Post.Session", 7, "not now");
  users().refresheSession();
  runFor(1);
  ASSERT_EQ(session->info().sentence(), "Good, user 11: not now");
  school.endSessions();
  signOut();
  settle();
  EXPECT_EQ(results, Strings{"SignedOut"});
  EXPECT_EQ(lastText, "the server does not know the session any more");
}

TEST_F(SignOut, WaitsForTheLogOutThatTheServerHasNotHeld) {
  signedIn();
  school.delay("User.Post.Logout", Seconds(2));
  school.refuse("User.Post.Session", 7, "not now");
  signOut();
  settle();
  users().refresheSession();
  runFor(1);
  EXPECT_TRUE(results.empty());
  runFor(1.1);
  EXPECT_EQ(results, Strings{"SignedOut"});
  EXPECT_EQ(lastText, "");
}

TEST_F(SignOut, TellsTheServerThatHasForgottenTheSessionAndRenewsIt) {
  signedIn();
  const std::string token = inFile("token");
  school.endSessions();
  signOut();
  runFor(2.1);
  EXPECT_EQ(results, Strings{"SignedOut"});
  EXPECT_EQ(lastText, "");
  EXPECT_FALSE(school.isTokenGood(token));
}

TEST_F(SignOut, TellsThatTheUserIsStillOnTheDisk) {
  signedIn();
  platform.files().failAlways(testing::FileOperation::WriteAtomically, std::errc::no_space_on_device);
  platform.files().failAlways(testing::FileOperation::Remove, std::errc::permission_denied);
  signOut();
  settle();
  EXPECT_EQ(results, Strings{"NotRemoved"});
  EXPECT_FALSE(lastSucceeded);
  EXPECT_EQ(state(), "SignedOut");
  EXPECT_EQ(inFile("uID"), ann);
  // It can be tried again.
  signOut();
  settle();
  EXPECT_EQ(results.back(), "NotRemoved");
  platform.files().clearFailures();
  signOut();
  settle();
  EXPECT_EQ(results.back(), "SignedOut");
  EXPECT_TRUE(lastSucceeded);
  EXPECT_EQ(inFile("uID"), "");
}

TEST_F(SignOut, GoesOnWhenNobodyWaitsForIt) {
  signedIn();
  school.delay("User.Post.Logout", Seconds(1));
  signOut();
  settle();
  leaving = {};
  session.reset();
  runFor(10);
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(inFile("uID"), "");
  EXPECT_FALSE(users().isLogined());
}

TEST_F(SignOut, OfAStatusThatIsGoneLeavesTheNextUserSignedIn) {
  signedIn();
  school.delay("User.Post.Logout", Seconds(2));
  signOut();
  settle();
  session.reset();
  session = std::make_unique<SessionStatus>();
  signIn("13800000002", "other");
  runFor(15);
  EXPECT_EQ(results.back(), "SignedIn");
  EXPECT_EQ(inFile("uID"), bob);
  EXPECT_EQ(nick(), "Bob");
  EXPECT_EQ(state(), "Good");
}

TEST_F(SignOut, TwoAreOne) {
  signedIn();
  signOut();
  const auto second = session->signOut().then(note());
  settle();
  EXPECT_EQ(results, (Strings{"SignedOut", "SignedOut"}));
  EXPECT_EQ(asked("User.Post.Logout"), 1u);
}

TEST_F(SignOut, GivesUpASignIn) {
  begin();
  school.delay("User.Post.Login", Seconds(1));
  signIn();
  settle();
  signOut();
  runFor(10);
  EXPECT_EQ(results, (Strings{"Cancelled", "SignedOut"}));
  EXPECT_EQ(inFile("uID"), "");
}

TEST_F(SignOut, ASignInWaitsForItsEnd) {
  signedIn();
  school.delay("User.Post.Logout", Seconds(2));
  signOut();
  signIn("13800000002", "other");
  runFor(15);
  EXPECT_EQ(results, (Strings{"SignedOut", "SignedIn"}));
  EXPECT_EQ(inFile("uID"), bob);
  EXPECT_EQ(state(), "Good");
}

}  // namespace
}  // namespace orv::sign_out_test
