// Who writes what is sent: the caller's own thread when nothing waits, which is seen by holding the network thread up.

#include <orvnetwork/platform/TextBatch.h>
#include <orvnetwork/platform/native/system/FileDescriptor.h>
#include <orvnetwork/platform/native/websocket/IoThread.h>

#include <tests/support/WebSocketFixture.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace orv::native_web_socket_sending_test {
namespace {

using namespace test;

/// Keeps the network thread from everything as long as it lives.
class HeldNetworkThread {
 public:
  HeldNetworkThread() {
    auto held = std::make_shared<std::promise<void>>();
    boost::asio::post(ioContext(), [held, until = letGo_.get_future().share()] {
      held->set_value();
      until.wait();
    });
    held->get_future().wait();
  }
  HeldNetworkThread(const HeldNetworkThread&) = delete;
  HeldNetworkThread& operator=(const HeldNetworkThread&) = delete;
  ~HeldNetworkThread() { letGo_.set_value(); }

 private:
  std::promise<void> letGo_;
};

class NativeWebSocketSending : public WebSocketTest {
 protected:
  void sendTogether(const std::vector<std::string>& texts) {
    const std::vector<std::string_view> all(texts.begin(), texts.end());
    sendTexts(*socket, all);
  }
  void expectFrame(RawPeer& peer, int kind, const std::string& payload) {
    const auto frame = peer.readFrame();
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->opcode, kind);
    EXPECT_TRUE(frame->masked);
    EXPECT_TRUE(frame->payload == payload) << frame->payload.substr(0, 60);
  }
};

TEST_F(NativeWebSocketSending, ATextThatFindsNothingWaitingIsWrittenByItsCaller) {
  RawPeer peer = openToPeer();
  const HeldNetworkThread held;
  for (const std::size_t size : {0u, 5u, 126u, 32'768u}) {
    send(std::string(size, 's'));
    expectFrame(peer, opcode::kText, std::string(size, 's'));
  }
}

TEST_F(NativeWebSocketSending, SoIsOneThatIsSentOnAnotherThread) {
  RawPeer peer = openToPeer();
  const HeldNetworkThread held;
  std::thread([this] { send("elsewhere"); }).join();
  expectFrame(peer, opcode::kText, "elsewhere");
}

TEST_F(NativeWebSocketSending, SoIsOneAfterTheNetworkThreadHasWrittenWhatWaited) {
  RawPeer peer = openToPeer();
  for (int round = 0; round < 20; ++round) {
    socket->sendPing("first");
    peer.send(frameBytes(opcode::kPing, "asked"));
    int pings = 0, pongs = 0;
    for (int i = 0; i < 2; ++i) ++(peer.readFrame()->opcode == opcode::kPing ? pings : pongs);
    EXPECT_EQ(pings, 1);
    EXPECT_EQ(pongs, 1);
    // It has noticed that they have left when it has come this far twice.
    { const HeldNetworkThread once; }
    const HeldNetworkThread held;
    send("second");
    expectFrame(peer, opcode::kText, "second");
  }
}

TEST_F(NativeWebSocketSending, WhatFollowsSomethingThatWaitsLeavesBehindIt) {
  RawPeer peer = openToPeer();
  const std::string large(32'769, 'l');
  {
    const HeldNetworkThread held;
    send("first");
    socket->sendPing("ping");
    send("second");
    send(large);
    send("third");
    expectFrame(peer, opcode::kText, "first");
  }
  expectFrame(peer, opcode::kPing, "ping");
  expectFrame(peer, opcode::kText, "second");
  expectFrame(peer, opcode::kText, large);
  expectFrame(peer, opcode::kText, "third");
}

TEST_F(NativeWebSocketSending, TextsThatAreSentTogetherLeaveInOnePiece) {
  RawPeer peer = openToPeer();
  const HeldNetworkThread held;
  sendTogether({"one", "two", "three"});
  // Each frame has two bytes of a head and four of its mask before it.
  EXPECT_EQ(peer.readOnce().size(), 3 * 6 + 11u);
  sendTogether({"one", "", "two"});
  expectFrame(peer, opcode::kText, "one");
  expectFrame(peer, opcode::kText, "");
  expectFrame(peer, opcode::kText, "two");
}

TEST_F(NativeWebSocketSending, OfTextsThatAreTooLongTogetherTheLastLeaveLater) {
  RawPeer peer = openToPeer();
  const std::string first(20'000, 'f'), second(12'769, 's');
  {
    const HeldNetworkThread held;
    sendTogether({first, second, "third"});
    send("fourth");
    expectFrame(peer, opcode::kText, first);
    sendTogether({"fifth", "sixth"});
  }
  for (const std::string& text :
       {second, std::string("third"), std::string("fourth"), std::string("fifth"), std::string("sixth")}) {
    expectFrame(peer, opcode::kText, text);
  }
}

TEST_F(NativeWebSocketSending, TextsThatAreSentTogetherGoNowhereWhenTheSocketIsNotOpen) {
  RawPeer peer = openToPeer();
  socket->close();
  sendTogether({"too", "late"});
  EXPECT_EQ(peer.readFrame()->opcode, opcode::kClose);
  peer.send(frameBytes(opcode::kClose, closePayload(1000)));
  EXPECT_TRUE(peer.readEnd());
}

TEST_F(NativeWebSocketSending, TheCloseFrameLeavesBehindWhatItsCallerHasWritten) {
  RawPeer peer = openToPeer();
  {
    const HeldNetworkThread held;
    send("before");
    socket->close();
    send("after");
  }
  expectFrame(peer, opcode::kText, "before");
  EXPECT_EQ(peer.readFrame()->opcode, opcode::kClose);
  peer.send(frameBytes(opcode::kClose, closePayload(1000)));
  EXPECT_TRUE(peer.readEnd());
}

TEST_F(NativeWebSocketSending, ACallerIsNotHeldUpByAPeerThatDoesNotReadAndNothingIsLostOrTurned) {
  RawPeer peer = openToPeer();
  constexpr int kCount = 2500;
  const std::string filling(10'000, 'x');
  {
    // Were a caller to wait for the system here, it would wait for good.
    const HeldNetworkThread held;
    for (int i = 0; i < kCount; ++i) send(std::to_string(i) + filling);
  }
  for (int i = 0; i < kCount; ++i) expectFrame(peer, opcode::kText, std::to_string(i) + filling);
}

TEST_F(NativeWebSocketSending, MoreThanThereIsRoomForFailsTheSocketAsEver) {
  limits.outgoingBytes = 1000;
  RawPeer peer = openToPeer();
  send(std::string(900, 'x'));
  expectFrame(peer, opcode::kText, std::string(900, 'x'));
  send(std::string(1001, 'x'));
  EXPECT_TRUE(waitForEnd());
  peer.close();
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "failed OrvWebSocket 2145"}));
}

TEST_F(NativeWebSocketSending, AFailureThatACallerMeetsIsToldOnTheMainQueueAsAFailedWrite) {
  RawPeer peer = openToPeer();
  {
    const HeldNetworkThread held;
    peer.reset();
    send("refused");
    send("left behind");
    EXPECT_EQ(socket->readyState(), WebSocketState::Open);
  }
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.stateAtEnd, WebSocketState::Closed);
  EXPECT_EQ(eventsAfterAll(), (Events{"opened", "failed OrvWebSocket 2145"}));
}

TEST_F(NativeWebSocketSending, ThreadsThatSendWhileTheLinkIsCutWriteIntoNothingElse) {
  constexpr int kRounds = 40;
  for (int round = 0; round < kRounds; ++round) {
    OwnSocket one(ownRequest(), mainQueue);
    RawPeer peer = listener.accept();
    peer.acceptHandshake();
    ASSERT_TRUE(one.waitForEvent(mainQueue, "opened"));
    std::vector<std::thread> senders;
    for (int i = 0; i < 2; ++i) {
      senders.emplace_back([socket = one.shared()] {
        const auto text = std::make_shared<const std::string>(200, 's');
        while (socket->readyState() == WebSocketState::Open) socket->send(text);
      });
    }
    for (int i = 0; i < 10; ++i) ASSERT_TRUE(peer.readFrame().has_value());
    peer.reset();
    // These get the number that the socket had.
    std::vector<std::array<FileDescriptor, 2>> others;
    ASSERT_TRUE(waitFor([&] {
      int pair[2];
      if (others.size() < 200 && ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) == 0) {
        others.push_back({FileDescriptor(pair[0]), FileDescriptor(pair[1])});
      }
      return one.delegate.ended();
    }));
    for (std::thread& sender : senders) sender.join();
    EXPECT_EQ(one.eventsAfterAll(mainQueue).size(), 2u);
    for (const auto& pair : others) {
      for (const FileDescriptor& end : pair) {
        char byte;
        EXPECT_EQ(::recv(end.get(), &byte, 1, MSG_DONTWAIT), -1);
        EXPECT_EQ(errno, EAGAIN);
      }
    }
  }
}

}  // namespace
}  // namespace orv::native_web_socket_sending_test
