#include <orvnetwork/platform/native/websocket/codec/FrameReader.h>

#include "ReadFrames.h"
#include <tests/support/RawPeer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace orv::frame_reader_test {
namespace {

using namespace test;
using Events = std::vector<std::string>;

constexpr std::size_t kLimit = std::size_t{16} << 20;
constexpr int kNotLast = 0;
const std::string kProtocolFault = "fault 1002, told 0";

std::string text(std::string_view payload, int firstBits = 0x80) {
  return frameBytes(opcode::kText, payload, firstBits);
}
std::string more(std::string_view payload, int firstBits = 0x80) {
  return frameBytes(opcode::kContinuation, payload, firstBits);
}
std::string ping(std::string_view payload) {
  return frameBytes(opcode::kPing, payload);
}
std::string closing(int code, std::string_view reason = "") {
  return frameBytes(opcode::kClose, closePayload(code, reason));
}

/// The same comes of the bytes however they are cut.
void expectEvents(std::string_view bytes, const Events& events, std::size_t limit = kLimit) {
  for (const std::size_t piece : {bytes.size(), std::size_t{1}, std::size_t{2}, std::size_t{3},
                                  std::size_t{7}, std::size_t{64}, std::size_t{997}, std::size_t{65536}}) {
    if (piece * 500'000 < bytes.size()) continue;
    FrameReading reading(limit);
    reading.feedInPieces(bytes, std::max<std::size_t>(piece, 1));
    EXPECT_TRUE(reading.events() == events)
        << "in pieces of " << piece << ": " << ::testing::PrintToString(reading.events()).substr(0, 500);
  }
}

/// How many bytes it takes until the reader has something to say.
std::size_t bytesUntilEvent(std::string_view bytes) {
  FrameReading reading(kLimit);
  std::size_t fed = 0;
  while (fed < bytes.size() && reading.events().empty()) reading.feed(std::string(1, bytes[fed++]));
  return fed;
}

TEST(FrameReader, TakesMessagesWithEachFormOfLength) {
  for (const std::size_t size : {0, 1, 125, 126, 127, 128, 65535, 65536, 70000}) {
    const std::string payload(size, '*');
    expectEvents(text(payload), {"text " + payload});
    expectEvents(frameBytes(opcode::kBinary, payload), {"binary " + payload});
  }
  expectEvents(frameBytes(opcode::kBinary, std::string("\xff\0\xfe", 3)),
               {"binary " + std::string("\xff\0\xfe", 3)});
}

TEST(FrameReader, TakesManyMessagesFromOnePiece) {
  std::string bytes;
  Events events;
  for (int i = 0; i < 300; ++i) {
    bytes += text("message " + std::to_string(i));
    events.push_back("text message " + std::to_string(i));
  }
  expectEvents(bytes, events);
}

TEST(FrameReader, TellsPingsAndPongsWithTheirPayload) {
  expectEvents(ping(""), {"ping "});
  expectEvents(ping("hello"), {"ping hello"});
  expectEvents(ping(std::string("\x00\xff\xfe\xfd", 4)), {"ping " + std::string("\x00\xff\xfe\xfd", 4)});
  expectEvents(ping(std::string(125, '\xfe')), {"ping " + std::string(125, '\xfe')});
  expectEvents(frameBytes(opcode::kPong, "unasked") + ping("asked"), {"pong unasked", "ping asked"});
  std::string ten;
  Events answers;
  for (int i = 0; i < 10; ++i) {
    ten += ping("payload-" + std::to_string(i));
    answers.push_back("ping payload-" + std::to_string(i));
  }
  expectEvents(ten, answers);
}

TEST(FrameReader, AControlFrameIsShortAndWhole) {
  for (const int op : {opcode::kPing, opcode::kPong, opcode::kClose}) {
    expectEvents(frameBytes(op, std::string(126, 'x')) + ping("later"), {kProtocolFault});
    expectEvents(frameBytes(op, std::string(65536, 'x')), {kProtocolFault});
    expectEvents(frameBytes(op, "xy", kNotLast) + more("z"), {kProtocolFault});
  }
}

TEST(FrameReader, ReservedBitsAreAFaultBehindWhatCameBefore) {
  for (int reserved = 0x10; reserved <= 0x70; reserved += 0x10) {
    for (const int op : {opcode::kText, opcode::kBinary, opcode::kPing, opcode::kPong, opcode::kClose}) {
      for (const char* payload : {"", "hello"}) {
        expectEvents(text("before") + frameBytes(op, payload, 0x80 | reserved) + ping(""),
                     {"text before", kProtocolFault});
      }
    }
    expectEvents(text("a", kNotLast) + more("b", 0x80 | reserved), {kProtocolFault});
  }
}

TEST(FrameReader, ReservedOpcodesAreAFaultBehindWhatCameBefore) {
  for (const int op : {3, 4, 5, 6, 7, 11, 12, 13, 14, 15}) {
    for (const char* payload : {"", "x"}) {
      for (const int bits : {0x80, kNotLast}) {
        expectEvents(text("before") + frameBytes(op, payload, bits) + ping(""),
                     {"text before", kProtocolFault});
      }
    }
  }
}

TEST(FrameReader, AMaskedFrameIsAFault) {
  for (const int op : {opcode::kText, opcode::kBinary, opcode::kPing, opcode::kPong, opcode::kClose}) {
    for (const std::string& payload : {std::string(), std::string("hello"), std::string(300, 'x')}) {
      expectEvents(frameBytes(op, payload, 0x80, true), {kProtocolFault});
    }
  }
}

TEST(FrameReader, ALengthInALongerFormThanItNeedsIsAFault) {
  using std::string_literals::operator""s;
  expectEvents("\x81\x7e\x00\x00"s, {kProtocolFault});
  expectEvents("\x81\x7e\x00\x7d"s, {kProtocolFault});
  expectEvents("\x82\x7f\x00\x00\x00\x00\x00\x00\x00\x05"s, {kProtocolFault});
  expectEvents("\x82\x7f\x00\x00\x00\x00\x00\x00\xff\xff"s, {kProtocolFault});
  expectEvents("\x82\x7f\x80\x00\x00\x00\x00\x01\x00\x00"s, {kProtocolFault});  // the top bit must be clear
  expectEvents("\x82\x7f\xff\xff\xff\xff\xff\xff\xff\xff"s, {kProtocolFault});
}

TEST(FrameReader, JoinsFragmentsAroundControlFrames) {
  expectEvents(text("one ", kNotLast) + more("two"), {"text one two"});
  expectEvents(text("", kNotLast) + more("", kNotLast) + more(""), {"text "});
  expectEvents(text("", kNotLast) + more("middle", kNotLast) + more(""), {"text middle"});
  expectEvents(text("a", kNotLast) + ping("1") + more("b", kNotLast) + ping("2") +
                   frameBytes(opcode::kPong, "") + more("c") + text("d"),
               {"ping 1", "ping 2", "pong ", "text abc", "text d"});
  expectEvents(frameBytes(opcode::kBinary, "\xff", kNotLast) + more("\xfe") + text("x"),
               {"binary \xff\xfe", "text x"});
  expectEvents(text("half", kNotLast) + closing(1000, "bye"), {"close 1000 bye"});
}

TEST(FrameReader, AContinuationNeedsAMessageAndAMessageIsContinued) {
  for (const int bits : {0x80, kNotLast}) {
    expectEvents(more("nothing to continue", bits), {kProtocolFault});
    expectEvents(text("whole") + more("later", bits), {"text whole", kProtocolFault});
    expectEvents(text("a", kNotLast) + more("b") + more("c", bits), {"text ab", kProtocolFault});
    expectEvents(text("a", kNotLast) + text("b", bits), {kProtocolFault});
    expectEvents(text("a", kNotLast) + frameBytes(opcode::kBinary, "b", bits), {kProtocolFault});
  }
}

TEST(FrameReader, TellsTheCodeAndReasonOfACloseFrameAndNothingAfterIt) {
  expectEvents(frameBytes(opcode::kClose, ""), {"close 1005 "});
  const std::string longest(123, 'r');
  expectEvents(closing(1000, longest) + closing(1001), {"close 1000 " + longest});
  for (const std::string& later : {ping("x"), text("x"), more("x"), text("x", kNotLast), closing(1000)}) {
    expectEvents(text("last") + closing(1000, "bye") + later, {"text last", "close 1000 bye"});
  }
  const std::string large(std::size_t{256} << 10, 'l');
  expectEvents(text(large) + closing(1000), {"text " + large, "close 1000 "});
  for (const int code : {1000, 1001, 1002, 1003, 1007, 1008, 1009, 1010, 1011, 3000, 3999, 4000, 4999}) {
    expectEvents(closing(code), {"close " + std::to_string(code) + " "});
  }
}

TEST(FrameReader, ABadCloseFrameIsAFaultThatTellsItsCode) {
  expectEvents(frameBytes(opcode::kClose, "\x03"), {kProtocolFault});
  for (const int code :
       {0, 1, 999, 1004, 1005, 1006, 1012, 1013, 1014, 1015, 1016, 1100, 2000, 2999, 5000, 65535}) {
    expectEvents(closing(code, "why") + ping(""), {"fault 1002, told " + std::to_string(code)});
  }
  expectEvents(closing(1000, "\xce\xba\xe1\xbd\xb9\xed\xa0\x80"), {"fault 1002, told 1000"});
  expectEvents(closing(4000, "\xe5\x86"), {"fault 1002, told 4000"});
}

TEST(FrameReader, AMessageBeyondTheLimitIsAFaultByItsHeadAlone) {
  const std::string fits(1000, 'x');
  expectEvents(text(fits), {"text " + fits}, 1000);
  expectEvents(text(fits + "x").substr(0, 4), {"fault 1009, told 0"}, 1000);
  expectEvents(text(fits, kNotLast) + more(""), {"text " + fits}, 1000);
  expectEvents(text(fits, kNotLast) + more("x").substr(0, 2), {"fault 1009, told 0"}, 1000);
  expectEvents(text(fits) + text(fits), {"text " + fits, "text " + fits}, 1000);
  expectEvents(frameBytes(opcode::kBinary, std::string(70000, 'b')).substr(0, 10), {"fault 1009, told 0"},
               69999);
  expectEvents(std::string("\x82\x7f\x7f\xff\xff\xff\xff\xff\xff\xff", 10), {"fault 1009, told 0"});
}

TEST(FrameReader, RefusesAFrameWithTheByteThatDecides) {
  EXPECT_EQ(bytesUntilEvent(text("x", 0xc0)), 1u);
  EXPECT_EQ(bytesUntilEvent(frameBytes(11, "x")), 1u);
  EXPECT_EQ(bytesUntilEvent(frameBytes(opcode::kPing, "x", kNotLast)), 1u);
  EXPECT_EQ(bytesUntilEvent(more("x")), 1u);
  EXPECT_EQ(bytesUntilEvent(text("x", 0x80).replace(0, 1, "\x01") + text("y")), 4u);
  EXPECT_EQ(bytesUntilEvent(frameBytes(opcode::kText, "x", 0x80, true)), 2u);
  EXPECT_EQ(bytesUntilEvent(ping(std::string(126, 'x'))), 2u);
  EXPECT_EQ(bytesUntilEvent(text("ab\xff"
                                 "c")),
            5u);
}

TEST(FrameReader, TakesNoMemoryForAPromise) {
  FrameReader reader(std::size_t{1} << 40);
  const std::string head(
      "\x82\x7f\x00\x00\x00\xff\xff\xff\xff\xff"
      "few",
      13);
  std::string_view bytes = head;
  EXPECT_EQ(reader.next(bytes), FrameReader::Event::NeedsMore);
  EXPECT_EQ(reader.unfinished(), 3u);
}

TEST(FrameReader, HandsAMessageOutWithLittleMemoryBesideIt) {
  for (const std::size_t cut : {std::size_t{0}, std::size_t{100}}) {
    const std::string frame = text(std::string(5000, 'x'));
    FrameReader reader(kLimit);
    std::string_view first = std::string_view(frame).substr(0, cut);
    std::string_view rest = std::string_view(frame).substr(cut);
    EXPECT_EQ(reader.next(first), FrameReader::Event::NeedsMore);
    EXPECT_EQ(reader.next(rest), FrameReader::Event::Text);
    EXPECT_EQ(reader.takeMessage().capacity(), 5000u);
    EXPECT_EQ(reader.unfinished(), 0u);
  }
}

TEST(FrameReader, GoesOnBehindAMessageThatNobodyHasTaken) {
  FrameReader reader(10);
  const std::string frames = text("12345", kNotLast) + more("67890") + text("next", kNotLast) + more(" one");
  std::string_view bytes = frames;
  EXPECT_EQ(reader.next(bytes), FrameReader::Event::Text);
  EXPECT_EQ(reader.next(bytes), FrameReader::Event::Text);
  EXPECT_EQ(reader.takeMessage(), "next one");
}

// Sizes up to what a whole classroom may need, in one frame and in fragments.

TEST(FrameReader, TakesLongMessages) {
  for (std::size_t size = std::size_t{64} << 10; size <= kLimit; size *= 4) {
    const std::string payload(size, 'L');
    expectEvents(text(payload), {"text " + payload});
    expectEvents(frameBytes(opcode::kBinary, payload), {"binary " + payload});
  }
}

TEST(FrameReader, TakesALongMessageInFragments) {
  const std::string payload(std::size_t{4} << 20, 'F');
  for (const int op : {opcode::kText, opcode::kBinary}) {
    for (std::size_t size = 64; size <= payload.size(); size *= 4) {
      std::string bytes;
      for (std::size_t at = 0; at < payload.size(); at += size) {
        bytes += frameBytes(at == 0 ? op : opcode::kContinuation, std::string_view(payload).substr(at, size),
                            at + size == payload.size() ? 0x80 : 0);
      }
      expectEvents(bytes, {(op == opcode::kText ? "text " : "binary ") + payload});
    }
  }
}

}  // namespace
}  // namespace orv::frame_reader_test
