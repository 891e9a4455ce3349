// What a sign-in and a sign-out bring of the server's answers.

#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/SignIn.h>

#include "SessionStatusFixture.h"

#include <optional>
#include <vector>

namespace orv::sign_reply_test {
namespace {

using SignReply = SessionStatusFixture;

TEST_F(SignReply, OfASignInIsTheServersAnswer) {
  begin();
  std::vector<std::optional<Reply>> replies;
  const auto keep = [&](const SignInResult& result) { replies.push_back(result.reply()); };
  const auto refused = session->signIn("13800000001", "wrong").then(keep);
  settle();
  const auto accepted = session->signInWithCode("13800000001", "8888").then(keep);
  settle();
  school.ignore("User.Post.Login");
  const auto late = session->signInWithCode("13800000001", "8888").deadline(Seconds(1)).then(keep);
  runFor(2);
  ASSERT_EQ(replies.size(), 3u);
  ASSERT_TRUE(replies[0] && replies[1]);
  EXPECT_EQ(replies[0]->outcome(), ReplyOutcome::Refused);
  EXPECT_EQ(replies[1]->outcome(), ReplyOutcome::Succeeded);
  EXPECT_EQ(replies[1]->data()->at("token"), json::value(inFile("token")));
  EXPECT_EQ(replies[2].has_value(), false) << "it was given up";
}

TEST_F(SignReply, OfASignOutIsWhatBecameOfTheLogOut) {
  signedIn();
  std::vector<std::optional<Reply>> replies;
  const auto keep = [&](const SignOutResult& result) { replies.push_back(result.reply()); };
  const auto first = session->signOut().then(keep);
  settle();
  const auto second = session->signOut().then(keep);
  settle();
  ASSERT_EQ(replies.size(), 2u);
  ASSERT_TRUE(replies[0]);
  EXPECT_EQ(replies[0]->outcome(), ReplyOutcome::Succeeded);
  EXPECT_EQ(replies[1].has_value(), false) << "nobody was signed in";
}

}  // namespace
}  // namespace orv::sign_reply_test
