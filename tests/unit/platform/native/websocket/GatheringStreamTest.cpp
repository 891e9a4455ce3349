#include <orvnetwork/platform/native/websocket/GatheringStream.h>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <functional>
#include <string_view>

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

  void outputDrained() override { ++drained; }
  void outputFailed(const error_code& error) override { failures.push_back(error); }
  void partingEnded() override { ended = true; }
  std::shared_ptr<void> keepAlive() override { return nullptr; }

  /// Writes the way the protocol library does; `done` is set by the completion.
  void writeAsync(const std::string& text, bool& done) {
    stream.async_write_some(asio::buffer(text), [&done](const error_code&, std::size_t) { done = true; });
  }
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

  asio::io_context loop;
  GatheringStream stream{loop, *this};
  asio::ip::tcp::socket peer{loop};
  int drained = 0;
  bool ended = false;
  std::vector<error_code> failures;
};

TEST_F(GatheringStreamTest, WhatIsWrittenStaysUntilItIsFlushedAndThenLeavesTogether) {
  error_code error;
  for (const char* text : {"one ", "two ", "three"}) {
    stream.write_some(asio::buffer(std::string_view(text)), error);
  }
  EXPECT_EQ(receiveNow(), "");
  EXPECT_EQ(stream.gatheredBytes(), 13u);
  stream.flush();
  turnUntil([this] { return drained == 1; });
  EXPECT_EQ(stream.sentBytes(), 13u);
  EXPECT_EQ(receiveNow(), "one two three");
}

TEST_F(GatheringStreamTest, WhatTheProtocolWritesLeavesWhenTheLoopComesRound) {
  bool done = false;
  writeAsync("pong", done);
  EXPECT_FALSE(done) << "a completion must not run inside the call";
  turnUntil([this] { return drained == 1; });
  EXPECT_TRUE(done);
  EXPECT_EQ(receiveNow(), "pong");
}

TEST_F(GatheringStreamTest, HoldsACompletionBackWhileTooMuchIsGathered) {
  std::size_t received = 0;
  const std::string large(std::size_t{32} << 20, 'x');  // more than both ends' socket buffers take
  bool done = false;
  writeAsync(large, done);
  while (loop.poll() > 0) loop.restart();
  EXPECT_FALSE(done);
  turnUntil([&] {
    received += receiveNow().size();
    return done;
  });
  EXPECT_GT(received, large.size() / 2);
}

TEST_F(GatheringStreamTest, ThrowsAwayWhatComesAfterTheLastFrame) {
  error_code error;
  stream.write_some(asio::buffer(std::string_view("before ")), error);
  stream.sealWith("last");
  EXPECT_EQ(stream.write_some(asio::buffer(std::string_view("after")), error), 5u);
  stream.sealWith("another");
  stream.flush();
  turnUntil([this] { return drained == 1; });
  EXPECT_EQ(receiveNow(), "before last");
}

TEST_F(GatheringStreamTest, TellsALateWriteErrorOnceAndTakesNothingMore) {
  stream.socket().shutdown(GatheringStream::Socket::shutdown_send);
  error_code error;
  EXPECT_EQ(stream.write_some(asio::buffer(std::string_view("text")), error), 4u);
  stream.flush();
  turnUntil([this] { return !failures.empty(); });
  EXPECT_EQ(failures, std::vector<error_code>{asio::error::broken_pipe});
  EXPECT_EQ(stream.write_some(asio::buffer(std::string_view("more")), error), 0u);
  EXPECT_EQ(error, asio::error::broken_pipe);
  stream.flush();
  EXPECT_EQ(failures.size(), 1u);
}

TEST_F(GatheringStreamTest, AWriteErrorReleasesTheCompletionThatWasHeldBack) {
  stream.socket().shutdown(GatheringStream::Socket::shutdown_send);
  bool done = false;
  writeAsync(std::string(GatheringStream::kHighWater + 1, 'y'), done);
  turnUntil([&] { return done; });
  EXPECT_EQ(failures.size(), 1u);
}

TEST_F(GatheringStreamTest, PartingSendsTheRestEndsOurSideAndWaitsForThePeers) {
  stream.sealWith("last");
  stream.part();
  turnUntil([this] { return drained == 1; });
  asio::write(peer, asio::buffer(std::string_view("unread")));
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
  stream.sealWith("last");
  stream.flush();
  turnUntil([this] { return !failures.empty(); });
  EXPECT_FALSE(ended);
  stream.part();
  EXPECT_TRUE(ended);
}

}  // namespace
}  // namespace orv::gathering_stream_test
