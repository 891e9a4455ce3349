#include <orvnetwork/platform/native/websocket/GatheringStream.h>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::gathering_stream_test {
namespace {

/// A gathering stream on one end of a loopback connection; the test holds the other end and turns the loop.
class GatheringStreamTest : public ::testing::Test, protected GatheringStream::Owner {
 protected:
  void SetUp() override {
    asio::ip::tcp::acceptor acceptor(loop, {asio::ip::address_v4::loopback(), 0});
    stream.socket().connect(acceptor.local_endpoint());
    acceptor.accept(peer);
    peer.non_blocking(true);
  }

  void inputCame() override { ++reads; }
  void inputEnded(const error_code& error) override { ends.push_back(error); }
  void outputDrained() override { ++drained; }
  void outputFailed(const error_code& error) override { failures.push_back(error); }
  void partingEnded() override { ended = true; }
  std::shared_ptr<void> keepAlive() override { return nullptr; }

  void turnUntil(const std::function<bool()>& condition) {
    while (!condition()) {
      loop.restart();
      ASSERT_GT(loop.run_one_for(std::chrono::seconds(30)), 0u) << "nothing happened";
    }
  }
  /// What one read of the peer gives, without waiting.
  std::string receiveNow() {
    std::string bytes(1 << 20, '\0');
    error_code error;
    bytes.resize(peer.read_some(asio::buffer(bytes), error));
    return bytes;
  }
  void say(std::string_view text) { asio::write(peer, asio::buffer(text)); }
  void readOnce() {
    const int before = reads;
    stream.read();
    turnUntil([&] { return reads > before; });
  }

  asio::io_context loop;
  GatheringStream stream{loop, *this};
  asio::ip::tcp::socket peer{loop};
  int reads = 0;
  int drained = 0;
  bool ended = false;
  std::vector<error_code> ends;
  std::vector<error_code> failures;
};

TEST_F(GatheringStreamTest, WhatIsGatheredStaysUntilItIsFlushedAndThenLeavesTogether) {
  for (const char* text : {"one ", "two ", "three"}) stream.gather(text);
  EXPECT_EQ(receiveNow(), "");
  EXPECT_EQ(stream.gatheredBytes(), 13u);
  stream.flush();
  turnUntil([this] { return drained == 1; });
  EXPECT_EQ(stream.sentBytes(), 13u);
  EXPECT_EQ(receiveNow(), "one two three");
}

TEST_F(GatheringStreamTest, WhatIsGatheredWhileAWriteIsUnderWayFollowsIt) {
  stream.gather("first ");
  stream.flush();
  stream.gather("second ");
  stream.gather("third");
  stream.flush();
  turnUntil([this] { return drained == 2; });
  EXPECT_EQ(receiveNow(), "first second third");
  EXPECT_EQ(stream.gatheredBytes(), 0u);
}

TEST_F(GatheringStreamTest, FramesAreMaskedEachWithAKeyOfItsOwn) {
  std::vector<std::string> keys;
  for (int i = 0; i < 4; ++i) stream.gather(Opcode::Text, "hello");
  stream.flush();
  turnUntil([this] { return drained == 1; });
  const std::string bytes = receiveNow();
  ASSERT_EQ(bytes.size(), 4 * 11u);
  for (std::size_t at = 0; at < bytes.size(); at += 11) {
    EXPECT_EQ(bytes.substr(at, 2), "\x81\x85");
    const std::string key = bytes.substr(at + 2, 4);
    std::string text = bytes.substr(at + 6, 5);
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(text[i] ^ key[i % 4]);
    EXPECT_EQ(text, "hello");
    keys.push_back(key);
  }
  EXPECT_FALSE(keys[0] == keys[1] && keys[1] == keys[2] && keys[2] == keys[3]);
}

TEST_F(GatheringStreamTest, ThrowsAwayWhatComesAfterTheLastFrame) {
  stream.gather("before ");
  stream.sealWith(1000);
  EXPECT_FALSE(stream.isSealedAndSent());
  stream.gather("after");
  stream.gather(Opcode::Ping, "after");
  stream.sealWith(1002);
  stream.flush();
  turnUntil([this] { return drained == 1; });
  const std::string bytes = receiveNow();
  ASSERT_EQ(bytes.size(), 7u + 8u);
  EXPECT_EQ(bytes.substr(0, 9), "before \x88\x82");
  EXPECT_EQ(bytes[13] ^ bytes[9], 0x03);
  EXPECT_EQ(static_cast<char>(bytes[14] ^ bytes[10]), '\xe8');
  EXPECT_TRUE(stream.isSealedAndSent());
}

TEST_F(GatheringStreamTest, WritesAtOnceOnTheCallingThreadAndIsIdleThen) {
  EXPECT_TRUE(stream.isIdle());
  stream.gather("one ");
  stream.gather("two");
  EXPECT_FALSE(stream.isIdle());
  stream.writeNow();
  EXPECT_TRUE(stream.isIdle());
  EXPECT_EQ(stream.sentBytes(), 7u);
  EXPECT_EQ(receiveNow(), "one two");
  stream.goOn();
  stream.gather("three");
  stream.writeNow();
  EXPECT_EQ(receiveNow(), "three");
  EXPECT_EQ(drained, 0);
}

TEST_F(GatheringStreamTest, WhatTheSystemDoesNotTakeAtOnceFollowsBeforeAllElse) {
  std::string sent;
  while (stream.isIdle()) {
    const std::string piece(100'000, static_cast<char>('a' + sent.size() / 100'000 % 26));
    stream.gather(piece);
    stream.writeNow();
    sent += piece;
    ASSERT_LT(sent.size(), 500'000'000u) << "the peer takes nothing";
  }
  stream.gather("the end");
  sent += "the end";
  EXPECT_LT(stream.sentBytes(), sent.size() - 7);
  stream.goOn();
  std::string received;
  while (received.size() < sent.size()) {
    received += receiveNow();
    loop.restart();
    loop.poll();
  }
  EXPECT_TRUE(received == sent);
  EXPECT_TRUE(stream.isIdle());
}

TEST_F(GatheringStreamTest, AFailureOfWritingAtOnceIsToldWhenItIsGoneOn) {
  stream.socket().shutdown(GatheringStream::Socket::shutdown_send);
  stream.gather("text");
  stream.writeNow();
  EXPECT_FALSE(stream.isIdle());
  EXPECT_EQ(failures.size(), 0u);
  stream.goOn();
  EXPECT_EQ(failures, std::vector<error_code>{asio::error::broken_pipe});
  EXPECT_FALSE(stream.isIdle());
  stream.goOn();
  EXPECT_EQ(failures.size(), 1u);
}

TEST_F(GatheringStreamTest, IsNotIdleOnceItIsSealed) {
  stream.sealWith(1000);
  stream.flush();
  turnUntil([this] { return drained == 1; });
  EXPECT_TRUE(stream.isSealedAndSent());
  EXPECT_FALSE(stream.isIdle());
}

TEST_F(GatheringStreamTest, TellsALateWriteErrorOnceAndTakesNothingMore) {
  stream.socket().shutdown(GatheringStream::Socket::shutdown_send);
  stream.gather("text");
  stream.flush();
  turnUntil([this] { return !failures.empty(); });
  EXPECT_EQ(failures, std::vector<error_code>{asio::error::broken_pipe});
  stream.gather("more");
  stream.gather(Opcode::Text, "more");
  EXPECT_EQ(stream.gatheredBytes(), 0u);
  stream.flush();
  EXPECT_EQ(failures.size(), 1u);
}

TEST_F(GatheringStreamTest, InputStaysUntilItIsUsed) {
  say("hello world");
  readOnce();
  EXPECT_EQ(stream.input(), "hello world");
  stream.used(6);
  EXPECT_EQ(stream.input(), "world");
  say(" again");
  readOnce();
  EXPECT_EQ(stream.input(), "world again");
  stream.used(11);
  EXPECT_EQ(stream.input(), "");
}

TEST_F(GatheringStreamTest, TellsTheEndOfTheStreamFromAFailure) {
  peer.close();
  stream.read();
  turnUntil([this] { return !ends.empty(); });
  EXPECT_TRUE(stream.sawEnd());
  EXPECT_EQ(reads, 0);
}

TEST_F(GatheringStreamTest, AResetIsNotTheEndOfTheStream) {
  peer.set_option(asio::socket_base::linger(true, 0));
  peer.close();
  stream.read();
  turnUntil([this] { return !ends.empty(); });
  EXPECT_EQ(ends.front(), asio::error::connection_reset);
  EXPECT_FALSE(stream.sawEnd());
}

TEST_F(GatheringStreamTest, PartingSendsTheRestEndsOurSideAndWaitsForThePeers) {
  say("unread");
  readOnce();
  stream.gather("last");
  stream.part();
  turnUntil([this] { return drained == 1; });
  say("unread too");
  EXPECT_EQ(receiveNow(), "last");
  error_code error;
  char byte;
  while (loop.poll() > 0) continue;
  pollfd watched{peer.native_handle(), POLLIN, 0};
  ASSERT_EQ(::poll(&watched, 1, 30'000), 1);
  peer.read_some(asio::buffer(&byte, 1), error);
  EXPECT_EQ(error, asio::error::eof);
  EXPECT_FALSE(ended);
  peer.close();
  turnUntil([this] { return ended; });
}

TEST_F(GatheringStreamTest, PartingEndsAtOnceWhenNothingCanBeWrittenAnyMore) {
  stream.socket().shutdown(GatheringStream::Socket::shutdown_send);
  stream.sealWith(1000);
  stream.flush();
  turnUntil([this] { return !failures.empty(); });
  EXPECT_FALSE(ended);
  stream.part();
  EXPECT_TRUE(ended);
}

}  // namespace
}  // namespace orv::gathering_stream_test
