#include <orvnetwork/transport/detail/ReplyFrame.h>

#include <gtest/gtest.h>

#include <string>

namespace orv::reply_frame_test {
namespace {

TEST(ReplyFrame, ReadsCommandIdentifierAndResultCode) {
  const auto frame =
      ReplyFrame::read(R"({"C":"User.Post.Login","s":"1706661902345678","v":{"ret":5,"err":"no"}})");
  ASSERT_TRUE(frame->isFrame());
  EXPECT_EQ(frame->command, "User.Post.Login");
  EXPECT_EQ(frame->timestamp, 1706661902345678);
  EXPECT_EQ(frame->ret, 5);
  EXPECT_FALSE(frame->succeeded());
  EXPECT_EQ(frame->dictionary().at("v").at("err").as_string(), "no");
}

TEST(ReplyFrame, TakesTheIdentifierAsTextOrNumberAndTruncatesIt) {
  EXPECT_EQ(ReplyFrame::read(R"({"s":"12.9"})")->timestamp, 12);
  EXPECT_EQ(ReplyFrame::read(R"({"s":12.9})")->timestamp, 12);
  EXPECT_EQ(ReplyFrame::read(R"({"s":-12.9})")->timestamp, -12);
  EXPECT_EQ(ReplyFrame::read(R"({"s":1706661902345678})")->timestamp, 1706661902345678);
  EXPECT_EQ(ReplyFrame::read(R"({"s":"12abc"})")->timestamp, 12);
  EXPECT_EQ(ReplyFrame::read(R"({"s":"abc"})")->timestamp, 0);
  EXPECT_EQ(ReplyFrame::read(R"({"s":"1e400"})")->timestamp, INT64_MAX);
}

TEST(ReplyFrame, TakesAMissingCodeAsSuccess) {
  EXPECT_TRUE(ReplyFrame::read(R"({"C":"a","s":"1"})")->succeeded());
  EXPECT_TRUE(ReplyFrame::read(R"({"C":"a","s":"1","v":{}})")->succeeded());
  EXPECT_TRUE(ReplyFrame::read(R"({"C":"a","s":"1","v":null})")->succeeded());
}

TEST(ReplyFrame, ReadsTheCodeLoosely) {
  EXPECT_EQ(ReplyFrame::read(R"({"v":{"ret":"1001"}})")->ret, 1001);
  EXPECT_EQ(ReplyFrame::read(R"({"v":{"ret":1001.9}})")->ret, 1001);
  EXPECT_EQ(ReplyFrame::read(R"({"v":{"ret":4294967297}})")->ret, 1) << "the low 32 bits of a number";
  EXPECT_EQ(ReplyFrame::read(R"({"v":{"ret":"99999999999"}})")->ret, INT32_MAX) << "a text saturates";
  EXPECT_EQ(ReplyFrame::read(R"({"v":{"ret":true}})")->ret, 1);
  for (const auto* wrong : {"null", "[]", "{}", "\"x\""}) {
    EXPECT_EQ(ReplyFrame::read(std::string(R"({"v":{"ret":)") + wrong + "}}")->ret, 0) << wrong;
  }
}

TEST(ReplyFrame, TakesWrongKindsAsAbsent) {
  for (const auto* wrong : {"1", "null", "[]", "{}", "true"}) {
    const auto frame = ReplyFrame::read(std::string(R"({"C":)") + wrong + R"(,"s":[1],"v":{}})");
    ASSERT_TRUE(frame->isFrame()) << wrong;
    EXPECT_EQ(frame->command, std::nullopt) << wrong;
    EXPECT_EQ(frame->timestamp, 0) << wrong;
  }
}

TEST(ReplyFrame, RefusesWhatIsNotAFrame) {
  for (const auto* text :
       {"", "PONG", "\"PONG\"", "12", "null", "[]", "[{}]", "{", "{\"a\":1}x", R"({"v":[]})",
        R"({"v":"text"})", R"({"v":1})", R"({"v":false})", "{\"a\":\"\xff\"}"}) {
    const auto frame = ReplyFrame::read(text);
    EXPECT_FALSE(frame->isFrame()) << text;
    EXPECT_FALSE(frame->error.description.empty()) << text;
  }
}

TEST(ReplyFrame, RefusesDeepNestingWithoutHarm) {
  std::string deep;
  for (int i = 0; i < 10000; ++i) deep += "{\"v\":";
  EXPECT_FALSE(ReplyFrame::read(deep)->isFrame());
  EXPECT_FALSE(ReplyFrame::read(std::string(10000, '[') + std::string(10000, ']'))->isFrame());
}

TEST(ReplyFrame, ReadsAFrameOfSixteenMegabytes) {
  const auto frame =
      ReplyFrame::read(R"({"C":"a","s":"5","v":{"data":")" + std::string(16 << 20, 'x') + "\"}}");
  ASSERT_TRUE(frame->isFrame());
  EXPECT_EQ(frame->timestamp, 5);
  EXPECT_EQ(frame->dictionary().at("v").at("data").as_string().size(), std::size_t{16} << 20);
}

}  // namespace
}  // namespace orv::reply_frame_test
