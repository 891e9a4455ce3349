#include <orvnetwork/transport/detail/ArrivingFrame.h>
#include <orvnetwork/transport/detail/FrameHead.h>
#include <orvnetwork/transport/detail/ReplyFrame.h>

#include <tests/support/DamagedText.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>

namespace orv::frame_head_test {
namespace {

constexpr std::array<std::string_view, 9> kPlain{{
    R"({"C":"Course.Get.Items","s":"1706661902345678","v":{"ret":0,"data":[1,-2,3.25,true,false,null,{},[]]}})",
    R"({"s":1706661902345678,"C":"a"})",
    R"({"s":9007199254740992})",
    R"({})",
    " \r\n\t{ \"v\" : null , \"s\" : 0 , \"C\" : \"\" } \n",
    R"({"v":{"x":{"ret":7,"C":1,"s":[]},"data":"\"\\\/\b\f\n\r\t"},"d":"{[,:"})",
    R"({"C":"Rooms.Push.Message","v":{"data":{"title":"代数 and \\ more than eight characters"}}})",
    R"({"a":-0,"b":0.0,"c":-12.5,"d":123456789012345.1234567890123456,"e":"x","e":"y"})",
    R"({"a":[[[[1]]],{"b":{"c":[{}]}}]})",
}};

// Frames, or none, of which only the reader of values can tell.
constexpr std::array<std::string_view, 36> kNotPlain{{
    "",
    "PONG",
    "[]",
    "12",
    "{",
    "{}x",
    "{\"a\":1,}",
    R"({"v":[]})",
    R"({"v":1})",
    R"({"v":{"ret":5}})",
    R"({"v":{"ret":-1}})",
    R"({"v":{"ret":"0"}})",
    R"({"v":{"ret":0.0}})",
    R"({"v":{"ret":00}})",
    R"({"v":{"ret":0,"ret":1001}})",
    R"({"v":{},"v":{"ret":1}})",
    R"({"C":"a","C":"b"})",
    R"({"s":1,"s":2})",
    R"({"C":1})",
    R"({"C":"\u0041"})",
    R"({"C":"a\/b"})",
    R"({"\u0043":"a"})",
    R"({"a":"\ud800"})",
    R"({"s":"12.9"})",
    R"({"s":-1})",
    R"({"s":"0012"})",
    R"({"s":" 12"})",
    R"({"s":9007199254740993})",
    R"({"s":"17066619023456789"})",
    R"({"a":1e3})",
    R"({"a":01})",
    R"({"a":1.})",
    R"({"a":-})",
    R"({"a":"x)",
    "{\"a\":\"\x01\"}",
    "{\"a\":\"\xff\"}",
}};

std::string nested(std::size_t depth) {
  return R"({"a":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
}

void expectSame(std::string_view text, const FrameHead& head) {
  const auto whole = ReplyFrame::read(text);
  const auto frame = ReplyFrame::ofHead(head, std::string(text));
  ASSERT_TRUE(whole->isFrame()) << text << ": " << whole->error.description;
  ASSERT_TRUE(frame->isFrame());
  EXPECT_EQ(frame->command, whole->command) << text;
  EXPECT_EQ(frame->timestamp, whole->timestamp) << text;
  EXPECT_EQ(frame->ret, whole->ret) << text;
  EXPECT_EQ(frame->dictionary(), whole->dictionary()) << text;
}

TEST(FrameHead, SaysWhatTheValuesSay) {
  for (const auto text : kPlain) {
    const auto head = FrameHead::read(text);
    ASSERT_TRUE(head) << text;
    expectSame(text, *head);
  }
}

TEST(FrameHead, LeavesWhatIsNotPlainToTheReaderOfValues) {
  for (const auto text : kNotPlain) EXPECT_FALSE(FrameHead::read(text)) << text;
}

TEST(FrameHead, LeavesDeepAndLongTextsToIt) {
  EXPECT_TRUE(FrameHead::read(nested(20)));
  EXPECT_FALSE(FrameHead::read(nested(600))) << "deeper than is allowed";
  const std::string frame = R"({"a":"x"})";
  const std::string blanks(FrameHead::kLongestText - frame.size(), ' ');
  EXPECT_TRUE(FrameHead::read(frame + blanks));
  EXPECT_FALSE(FrameHead::read(frame + blanks + ' '));
}

// Whatever has a head is a frame and says the same: also where a text was damaged on its way.
TEST(FrameHead, NeverDiffersFromTheReaderOfValues) {
  std::mt19937 random(20240131);
  std::size_t plain = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string text = test::damaged(kPlain[random() % kPlain.size()], 1 + random() % 3, random);
    const auto head = FrameHead::read(text);
    if (!head) continue;
    ++plain;
    expectSame(text, *head);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(plain, 1000u) << "else little was compared";
}

TEST(FrameHead, ValuesAreReadWhenTheyAreAskedFor) {
  constexpr std::string_view kText = R"({"C":"a","s":12,"v":{"ret":0}})";
  const auto frame = ReplyFrame::ofHead(*FrameHead::read(kText), std::string(kText));
  EXPECT_EQ(frame->unreadText(), kText);
  EXPECT_EQ(frame->memory, 0u);
  const json::object& dictionary = frame->dictionary();
  EXPECT_EQ(dictionary.at("C").as_string(), "a");
  EXPECT_EQ(&frame->dictionary(), &dictionary) << "once";
  EXPECT_EQ(frame->unreadText(), "");
  EXPECT_TRUE(frame->isFrame());
}

TEST(ArrivingFrame, GoesAsItsTextWithAHeadOrAsItsValues) {
  for (const bool isPlain : {true, false}) {
    WebSocketMessage message;
    message.payload = isPlain ? R"({"C":"a","s":12})" : R"({"C":"a","s":"12.9"})";
    message.prepared = prepareFrame(message.payload, FrameReaders());
    const std::size_t size = sizeOfPreparedFrame(message.prepared);
    const auto frame = takeFrame(message);
    EXPECT_EQ(frame->timestamp, 12);
    EXPECT_EQ(frame->unreadText().empty(), !isPlain);
    EXPECT_EQ(message.payload.empty(), isPlain);
    EXPECT_GE(size, frame->memory + sizeof(ReplyFrame));
    EXPECT_EQ(frame->memory == 0, isPlain);
  }
}

}  // namespace
}  // namespace orv::frame_head_test
