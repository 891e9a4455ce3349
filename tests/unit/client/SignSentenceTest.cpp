#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/client/SignIn.h>

#include <gtest/gtest.h>

namespace orv::sign_sentence_test {
namespace {

TEST(SignSentence, TellsHowASignInHasEnded) {
  EXPECT_EQ(SignInResult(SignInOutcome::SignedIn).sentence(), "the user was signed in");
  EXPECT_EQ(SignInResult(SignInOutcome::Refused, "wrong password", ReplyCode{77}).sentence(),
            "the sign-in was refused with code 77: wrong password");
  EXPECT_EQ(SignInResult(SignInOutcome::Refused, "a\nb", ReplyCode::SessionNeeded).sentence(),
            "the sign-in was refused with code 1001 (SessionNeeded): a b");
  EXPECT_EQ(SignInResult(SignInOutcome::NoAnswer, "there is no network").sentence(),
            "the sign-in was not answered: there is no network");
  EXPECT_EQ(SignInResult(SignInOutcome::NoUser, "why").sentence(), "the sign-in brought no user: why");
  EXPECT_EQ(SignInResult(SignInOutcome::NotWritten, "why").sentence(),
            "the user was signed in until the program ends: why");
  EXPECT_EQ(SignInResult::withoutAnswer(PendingEnd::Cancelled).sentence(),
            "the sign-in was given up: cancelled");
}

TEST(SignSentence, TellsHowASignOutHasEnded) {
  EXPECT_EQ(SignOutResult(SignOutOutcome::SignedOut, true).sentence(), "the user was signed out");
  EXPECT_EQ(SignOutResult(SignOutOutcome::SignedOut, false, "there is no session on this link").sentence(),
            "the user was signed out, and the server was not told: there is no session on this link");
  EXPECT_EQ(SignOutResult(SignOutOutcome::NotRemoved, true, "x").sentence(),
            "the user was signed out until the program ends: x");
  EXPECT_EQ(SignOutResult::withoutAnswer(PendingEnd::Cancelled).sentence(),
            "nobody waits for the sign-out any more: cancelled");
}

}  // namespace
}  // namespace orv::sign_sentence_test
