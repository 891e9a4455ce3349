#include <orvnetwork/platform/native/websocket/CloseFrameWatcher.h>

#include <tests/support/RawPeer.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace orv::close_frame_watcher_test {
namespace {

using namespace test;

int codeAfter(const std::string& stream, std::size_t pieceSize) {
  CloseFrameWatcher watcher;
  for (std::size_t at = 0; at < stream.size(); at += pieceSize) {
    watcher.feed(stream.data() + at, std::min(pieceSize, stream.size() - at));
  }
  return watcher.code();
}

TEST(CloseFrameWatcher, FindsTheCodeHoweverTheStreamIsCut) {
  const std::string stream = frameBytes(opcode::kText, "hello") + frameBytes(opcode::kText, "") +
                             frameBytes(opcode::kBinary, std::string(300, '\x88')) +
                             frameBytes(opcode::kText, std::string(70'000, '\x88')) +
                             frameBytes(opcode::kPing, "\x88\x02") +
                             frameBytes(opcode::kText, "masked", 0x80, true) +
                             frameBytes(opcode::kClose, closePayload(2999, "reason"));
  for (const std::size_t pieceSize : {1u, 2u, 3u, 7u, 1536u, 1'000'000u}) {
    EXPECT_EQ(codeAfter(stream, pieceSize), 2999);
  }
}

TEST(CloseFrameWatcher, HasNoCodeWithoutAWholeOne) {
  EXPECT_EQ(codeAfter("", 1), 0);
  EXPECT_EQ(codeAfter(frameBytes(opcode::kText, closePayload(1000)), 1), 0);
  EXPECT_EQ(codeAfter(frameBytes(opcode::kClose, ""), 1), 0);
  EXPECT_EQ(codeAfter(frameBytes(opcode::kClose, "\x03"), 1), 0);
}

TEST(CloseFrameWatcher, TellsTheCodeOfTheLastCloseFrame) {
  const std::string two =
      frameBytes(opcode::kClose, closePayload(1000)) + frameBytes(opcode::kClose, closePayload(65535));
  EXPECT_EQ(codeAfter(two, 100), 65535);
  EXPECT_EQ(codeAfter(two + frameBytes(opcode::kClose, "x"), 100), 0);
}

}  // namespace
}  // namespace orv::close_frame_watcher_test
