#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/data/Json.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace orv::reply_test {
namespace {

Reply answered(std::string_view frame) {
  return Reply(std::make_shared<const json::object>(parseJson(frame)->as_object()));
}

TEST(Reply, OfACodeOfZeroHasSucceeded) {
  const Reply reply = answered(R"({"C":"Course.Get.Info","s":"1","v":{"ret":0,"data":{"title":"代数"}}})");
  EXPECT_TRUE(reply);
  EXPECT_EQ(reply.outcome(), ReplyOutcome::Succeeded);
  EXPECT_EQ(reply.code(), ReplyCode::Success);
  EXPECT_EQ(reply.text(), "");
  EXPECT_EQ(reply.command(), "Course.Get.Info");
  ASSERT_TRUE(reply.data());
  EXPECT_EQ(reply.data()->at("title"), "代数");
  EXPECT_EQ(reply.frame()->at("s"), "1");
  EXPECT_EQ(reply.sentence(), "Course.Get.Info succeeded");
}

TEST(Reply, OfAnotherCodeIsRefused) {
  const Reply reply = answered(R"({"C":"User.Post.Session","v":{"ret":1001,"err":"please sign in"}})");
  EXPECT_FALSE(reply);
  EXPECT_EQ(reply.outcome(), ReplyOutcome::Refused);
  EXPECT_EQ(reply.code(), ReplyCode::SessionNeeded);
  EXPECT_EQ(reply.text(), "please sign in");
  EXPECT_EQ(reply.data(), nullptr);
  EXPECT_EQ(reply.sentence(), "User.Post.Session was refused with code 1001 (SessionNeeded): please sign in");
}

TEST(Reply, KeepsACodeThatNobodyKnows) {
  const Reply reply = answered(R"({"v":{"ret":77}})");
  EXPECT_EQ(reply.code(), ReplyCode{77});
  EXPECT_EQ(reply.sentence(), "the request was refused with code 77");
}

TEST(Reply, ReadsLooselyTypedMembers) {
  EXPECT_TRUE(answered(R"({"v":null})"));
  EXPECT_TRUE(answered("{}"));
  EXPECT_EQ(answered(R"({"v":{"ret":"12abc"}})").code(), ReplyCode{12});
  EXPECT_EQ(answered(R"({"v":{"ret":7,"err":8,"data":null}})").text(), "");
  EXPECT_EQ(answered(R"({"v":{"data":null}})").data(), nullptr);
  EXPECT_EQ(answered(R"({"C":5})").command(), "");
}

TEST(Reply, ThatDidNotComeSaysWhy) {
  const Reply reply(ReplyOutcome::NoLink, "the connection was refused", "a");
  EXPECT_FALSE(reply);
  EXPECT_EQ(reply.code(), std::nullopt);
  EXPECT_EQ(reply.text(), "the connection was refused");
  EXPECT_EQ(reply.data(), nullptr);
  EXPECT_EQ(reply.frame(), nullptr);
  EXPECT_EQ(reply.sentence(), "a was not sent, because there is no link: the connection was refused");
  EXPECT_EQ(Reply(ReplyOutcome::TimedOut, "", "a").sentence(), "a was not answered in time");
}

TEST(Reply, OfAPendingThatEndedByItselfIsCancelledOrTimedOut) {
  const Reply cancelled = Reply::withoutAnswer(PendingEnd::Cancelled);
  EXPECT_EQ(cancelled.outcome(), ReplyOutcome::Cancelled);
  EXPECT_EQ(cancelled.sentence(), "the request was given up: cancelled");
  EXPECT_EQ(Reply::withoutAnswer(PendingEnd::TimedOut).outcome(), ReplyOutcome::TimedOut);
  EXPECT_EQ(Reply::withoutAnswer(PendingEnd::Thrown).outcome(), ReplyOutcome::Cancelled);
}

TEST(Reply, SaysItInOneLineWhateverTheServerWrote) {
  const Reply reply = answered(R"({"C":"a\nb","v":{"ret":7,"err":"x\u001b[31m\r\n2026"}})");
  EXPECT_EQ(reply.sentence(), "a b was refused with code 7: x [31m  2026");
}

TEST(Reply, SharesItsFrameWithItsCopies) {
  std::optional<Reply> first(answered(R"({"v":{"data":7}})"));
  const Reply second = *first;
  EXPECT_EQ(second.frame(), first->frame());
  first.reset();
  EXPECT_EQ(*second.data(), 7);
}

TEST(ReplyCode, HasANameWhenTheSystemActsOnIt) {
  EXPECT_EQ(nameOf(ReplyCode::Success), "Success");
  EXPECT_EQ(nameOf(ReplyCode{1000}), "SessionMissing");
  EXPECT_EQ(nameOf(ReplyCode{1001}), "SessionNeeded");
  EXPECT_EQ(nameOf(ReplyCode{10031}), "SessionLost");
  EXPECT_EQ(nameOf(ReplyCode{2}), "SessionEnded");
  EXPECT_EQ(nameOf(ReplyCode{-999999}), "SessionInvalid");
  EXPECT_EQ(nameOf(ReplyCode{3}), "");
}

TEST(ReplyCode, SaysWhatItMeansForTheSession) {
  for (const int code : {1000, 1001, 10031}) {
    EXPECT_TRUE(needsSession(ReplyCode{code})) << code;
    EXPECT_FALSE(endsSession(ReplyCode{code})) << code;
  }
  for (const int code : {2, -999999}) {
    EXPECT_TRUE(endsSession(ReplyCode{code})) << code;
    EXPECT_FALSE(needsSession(ReplyCode{code})) << code;
  }
  for (const int code : {0, 1, 77, -1}) {
    EXPECT_FALSE(endsSession(ReplyCode{code}) || needsSession(ReplyCode{code})) << code;
  }
}

static_assert(!std::is_aggregate_v<Reply>);

}  // namespace
}  // namespace orv::reply_test
