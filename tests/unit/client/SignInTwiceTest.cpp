#include "SessionStatusFixture.h"

#include <string>
#include <utility>

namespace orv::sign_in_twice_test {
namespace {

/// Two sign-ins, the second one before the first is answered.
class SignInTwice : public SessionStatusFixture {
 protected:
  static constexpr Seconds kWhile{1};

  void firstThen(const std::string& mobile, const std::string& password) {
    school.delay("User.Post.Login", kWhile);
    signIn();
    settle();
    ASSERT_EQ(asked("User.Post.Login"), 1u);
    second = session->signIn(mobile, password).then(note());
    settle();
    ASSERT_EQ(asked("User.Post.Login"), 2u) << "both are sent before the first is answered";
    runFor(20);
  }
  void expectSignedIn(const std::string& uID) {
    EXPECT_EQ(results, (Strings{"Cancelled", "SignedIn"}));
    EXPECT_EQ(state(), "Good");
    EXPECT_EQ(inFile("uID"), uID);
    EXPECT_TRUE(school.isTokenGood(inFile("token")));
    EXPECT_TRUE(school.hasSession(uID));
    EXPECT_EQ(asked("User.Post.Logout"), 0u);
  }

  PendingCallback second;
};

TEST_F(SignInTwice, TheSecondOneStaysSignedIn) {
  begin();
  firstThen("13800000001", "secret");
  expectSignedIn(ann);
}

TEST_F(SignInTwice, TheSecondOneStaysSignedInAsAnotherUser) {
  begin();
  firstThen("13800000002", "other");
  expectSignedIn(bob);
}

TEST_F(SignInTwice, TheSecondOneStaysSignedInWhereSomebodyIsStored) {
  const auto eve = school.addUser("13800000003", "third", {{"nick", "Eve"}});
  signedIn();
  firstThen("13800000003", "third");
  expectSignedIn(eve);
  for (const auto& frame : server.requests("User.Post.Session")) {
    EXPECT_EQ(frame.at("v").at("uID"), json::value(eve))
        << "the former user's session was put over the new one";
  }
}

TEST_F(SignInTwice, NobodyHasASessionWhenTheSecondOneIsRefused) {
  begin();
  firstThen("13800000002", "wrong");
  EXPECT_EQ(results, (Strings{"Cancelled", "Refused"}));
  EXPECT_EQ(state(), "SignedOut");
  EXPECT_FALSE(school.hasSession(ann));
}

TEST_F(SignInTwice, TheSessionIsGivenBackWhenTheSecondOneIsRefused) {
  signedIn();
  school.delay("User.Post.Login", kWhile);
  signIn("13800000002", "other");
  settle();
  ASSERT_TRUE(school.hasSession(bob));
  second = session->signIn("13800000002", "wrong").then(note());
  runFor(20);
  EXPECT_EQ(results, (Strings{"Cancelled", "Refused"}));
  EXPECT_TRUE(school.hasSession(ann));
  EXPECT_FALSE(school.hasSession(bob));
  EXPECT_EQ(state(), "Good");
}

TEST_F(SignInTwice, ALogOutOfTheFirstOneThatIsHeldDoesNotEndTheSecond) {
  begin();
  school.delay("User.Post.Login", kWhile);
  school.refuse("User.Post.Logout", testing::SimulatedSchool::kNoSession, "no session", 1);
  signIn();
  settle();
  signing = {};
  runFor(2);
  ASSERT_EQ(parkedRequests(), 1u);
  school.clearFaults();
  second = session->signIn("13800000002", "other").then(note());
  runFor(20);
  EXPECT_EQ(results, Strings{"SignedIn"});
  EXPECT_EQ(state(), "Good");
  EXPECT_EQ(asked("User.Post.Logout"), 1u);
  EXPECT_TRUE(school.hasSession(bob));
}

}  // namespace
}  // namespace orv::sign_in_twice_test
