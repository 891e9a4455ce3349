// A life of one socket in which the first system call of the network thread fails, then the second, and so on until
// there is nothing left to fail: looking up the name, connecting, the handshakes, writing and reading. Whatever fails:
// the socket comes to one end, nothing of it is left, and the next one works.

#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>

#include "tests/fault/SystemCalls.h"
#include <tests/support/ForkedRun.h>
#include <tests/support/PumpedExecutor.h>
#include <tests/support/RawPeer.h>
#include <tests/support/TlsIdentity.h>
#include <tests/support/WebSocketFixture.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

namespace orv {
namespace {

using namespace test;
using system_calls::Kind;

constexpr int kTexts = 3;

/// Answers everybody: each text with itself.
void serve(RawListener& listener, const TlsIdentity* identity) {
  for (;;) {
    try {
      RawPeer peer = listener.accept();
      if (identity != nullptr && !peer.acceptTls(identity->context())) continue;
      peer.acceptHandshake();
      while (const auto frame = peer.readFrame()) {
        if (frame->opcode == opcode::kText) peer.send(frameBytes(opcode::kText, frame->payload));
        if (frame->opcode == opcode::kPing) peer.send(frameBytes(opcode::kPong, frame->payload));
        if (frame->opcode == opcode::kClose) {
          peer.send(frameBytes(opcode::kClose, frame->payload));
          break;
        }
      }
      // As a server should: the client may still have something to say.
      peer.readEnd();
    } catch (const std::exception&) {
      // This client is gone.
    }
  }
}

/// What is wrong with the life of one socket; empty when it opened, talked and closed, or came to one end at least.
class Life {
 public:
  explicit Life(std::string url) : url_(std::move(url)) {}

  std::string live(bool mustSucceed) {
    WebSocketRequest request;
    request.url = url_;
    request.connectTimeout = Seconds(2);
    NativeWebSocketLimits limits;
    limits.closing = Seconds(1);
    auto socket = makeNativeWebSocket(request, main_, limits);
    const std::weak_ptr<WebSocket> all = socket;
    socket->setDelegate(&delegate_);
    socket->open();
    if (!reach("opened")) return "neither opened nor ended" + seen();
    for (int i = 0; i < kTexts; ++i) socket->send(std::make_shared<const std::string>(textNumber(i)));
    if (!reach("text " + textNumber(kTexts - 1))) return "no answer and no end" + seen();
    socket->sendPing("ping");
    if (!reach("pong ping")) return "no pong and no end" + seen();
    socket->close();
    socket.reset();
    if (!main_.pumpUntil([&] { return all.expired(); })) return "something is left of the socket" + seen();
    return whatIsWrong(mustSucceed);
  }

 private:
  /// So long that one system call does not take all of it.
  static std::string textNumber(int number) {
    return std::to_string(number) + std::string(static_cast<std::size_t>(number) * 100'000, 'x');
  }
  bool reach(const std::string& event) {
    return main_.pumpUntil([&] { return delegate_.has(event) || delegate_.ended(); });
  }
  std::string seen() const {
    std::string text = ":";
    for (const auto& event : delegate_.events) text += " [" + event.substr(0, 40) + "]";
    return text;
  }
  std::string whatIsWrong(bool mustSucceed) const {
    const auto& events = delegate_.events;
    const auto isEnd = [](const std::string& event) {
      return event.starts_with("closed") || event.starts_with("failed");
    };
    if (std::ranges::count_if(events, isEnd) > 1) return "two ends" + seen();
    if (std::ranges::any_of(events, isEnd) && !isEnd(events.back())) return "events after the end" + seen();
    int texts = 0;
    for (const auto& event : events) {
      if (event.starts_with("text ") && event != "text " + textNumber(texts++)) {
        return "a wrong text" + seen();
      }
    }
    const bool succeeded = texts == kTexts && delegate_.has("pong ping");
    return mustSucceed && !succeeded ? "the next one does not work" + seen() : "";
  }

  const std::string url_;
  PumpedExecutor main_;
  RecordingDelegate delegate_;
};

/// One life in which the `n`-th call of this name fails. Gives the name if one has failed, or what is wrong.
std::string liveWithFailure(const std::string& call, std::uint64_t n, bool secure) {
  return runForked([&]() -> std::string {
    ::signal(SIGPIPE, SIG_IGN);
    // The thread serves until the process is gone, and so must these.
    const TlsIdentity& identity = *new TlsIdentity("DNS:localhost");
    if (secure) identity.trust();
    RawListener& listener = *new RawListener;
    std::thread([&listener, served = secure ? &identity : nullptr] { serve(listener, served); }).detach();
    const std::string url = listener.url("/", secure ? "wss" : "ws", "localhost");
    system_calls::failAt(Kind::Socket, call, n);
    std::string wrong = Life(url).live(false);
    system_calls::letPass();
    const std::string failed = system_calls::failed();
    if (wrong.empty()) wrong = Life(url).live(true);
    return wrong.empty() ? failed : wrong;
  });
}

/// What the network thread calls when it is started, before it has a name, is not among these.
void failEachCall(bool secure) {
  constexpr std::uint64_t kMost = 200;
  std::uint64_t sum = 0;
  std::string counts;
  for (const std::string call : {"getaddrinfo", "socket", "connect", "getsockopt", "setsockopt", "ioctl",
                                 "epoll_ctl", "send", "sendmsg", "recv", "recvmsg", "shutdown"}) {
    std::uint64_t n = 1;
    for (; n <= kMost; ++n) {
      const std::string told = liveWithFailure(call, n, secure);
      if (told.empty()) break;
      EXPECT_EQ(told, call) << "number " << n;
    }
    EXPECT_LE(n, kMost) << "there is an end to calls of " << call;
    sum += n - 1;
    counts += " " + call + " " + std::to_string(n - 1);
  }
  EXPECT_GT(sum, 20u);
  std::cout << (secure ? "secure link: " : "link: ") << sum << " system calls failed in turn:" << counts
            << std::endl;
}

TEST(NativeLinkFailAtNth, ASocketComesToOneEndAndTheNextOneWorks) {
  failEachCall(false);
}

TEST(NativeLinkFailAtNth, ASecureSocketComesToOneEndAndTheNextOneWorks) {
  failEachCall(true);
}

}  // namespace
}  // namespace orv
