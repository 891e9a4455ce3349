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
#include <cerrno>
#include <chrono>
#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

namespace orv::native_link_fail_at_nth_test {
namespace {

using namespace test;
using system_calls::Kind;

constexpr int kTexts = 3;

enum class Way { Plain, Secure, ThroughProxy };

/// Answers everybody: each text with itself. Whoever comes through a proxy comes to this one.
void serve(RawListener& listener, const TlsIdentity* identity, Way way) {
  for (;;) {
    try {
      RawPeer peer = listener.accept();
      if (way == Way::ThroughProxy) {
        peer.readRequest();
        peer.send("HTTP/1.1 200 Connection established\r\n\r\n");
      }
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
  Life(std::string url, std::shared_ptr<const NetworkSettings> network)
      : url_(std::move(url)), network_(std::move(network)) {}

  std::string live(bool mustSucceed) {
    WebSocketRequest request;
    request.url = url_;
    request.network = network_;
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
  const std::shared_ptr<const NetworkSettings> network_;
  PumpedExecutor main_;
  RecordingDelegate delegate_;
};

/// One life in which the `n`-th call of this name fails, and has to succeed all the same if so said. Gives the name if one
/// has failed, or what is wrong.
std::string liveWithFailure(const std::string& call, std::uint64_t n, Way way, bool mustSucceed = false) {
  return runForked([&]() -> std::string {
    ::signal(SIGPIPE, SIG_IGN);
    // The thread serves until the process is gone, and so must these.
    const TlsIdentity& identity = *new TlsIdentity("DNS:localhost");
    const bool secure = way == Way::Secure;
    if (secure) identity.trust();
    RawListener& listener = *new RawListener;
    std::thread([&listener, way, served = secure ? &identity : nullptr] {
      serve(listener, served, way);
    }).detach();
    std::string url = listener.url("/", secure ? "wss" : "ws", "localhost");
    std::shared_ptr<NetworkSettings> network;
    if (way == Way::ThroughProxy) {
      url = "ws://class.example.org/";
      network = std::make_shared<NetworkSettings>();
      network->proxy = {
          ProxySource::Fixed, {ProxyKind::Http, "localhost", listener.port(), "ann", "secret"}, {}};
    }
    system_calls::failAt(Kind::Socket, call, n);
    std::string wrong = Life(url, network).live(mustSucceed);
    system_calls::letPass();
    const std::string failed = system_calls::failed();
    if (wrong.empty()) wrong = Life(url, network).live(true);
    return wrong.empty() ? failed : wrong;
  });
}

/// What the network thread calls when it is started, before it has a name, is not among these.
void failEachCall(Way way) {
  constexpr std::uint64_t kMost = 200;
  std::uint64_t sum = 0;
  std::string counts;
  for (const std::string call : {"getaddrinfo", "socket", "connect", "getsockopt", "setsockopt", "ioctl",
                                 "epoll_ctl", "send", "sendmsg", "recv", "recvmsg", "shutdown"}) {
    std::uint64_t n = 1;
    for (; n <= kMost; ++n) {
      const std::string told = liveWithFailure(call, n, way);
      if (told.empty()) break;
      EXPECT_EQ(told, call) << "number " << n;
    }
    EXPECT_LE(n, kMost) << "there is an end to calls of " << call;
    sum += n - 1;
    counts += " " + call + " " + std::to_string(n - 1);
  }
  EXPECT_GT(sum, 20u);
  constexpr const char* kNames[] = {"link: ", "secure link: ", "link through a proxy: "};
  std::cout << kNames[static_cast<int>(way)] << sum << " system calls failed in turn:" << counts << std::endl;
}

TEST(NativeLinkFailAtNth, OptionsThatCannotBeSetAreDoneWithout) {
  for (const std::uint64_t option : {1U, 2U}) {
    EXPECT_EQ(liveWithFailure("setsockopt", option, Way::Plain, true), "setsockopt");
  }
}

TEST(NativeLinkFailAtNth, ALookUpThatTheSystemCannotMakeIsToldWithTheSystemsError) {
  PumpedExecutor main;
  system_calls::failAt(Kind::Socket, "getaddrinfo", 2);  // the first one sees that it is no number
  OwnSocket socket({"ws://localhost:9/", Seconds(60), nullptr}, main);
  EXPECT_TRUE(socket.waitForEnd(main));
  EXPECT_EQ(socket.eventsAfterAll(main), Events{"failed POSIX " + std::to_string(EMFILE)});
}

TEST(NativeLinkFailAtNth, AFailedWriteSaysMoreThanTheEndOfTheStreamBehindIt) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  RawListener listener;
  PumpedExecutor main;
  system_calls::failAt(Kind::Socket, "send", 3);  // the greeting, the end of the TLS handshake, the request
  OwnSocket socket({listener.url("/", "wss", "localhost"), Seconds(60), nullptr}, main);
  RawPeer peer = listener.accept();
  ASSERT_TRUE(peer.acceptTls(identity.context()));
  EXPECT_TRUE(main.pumpUntil([] { return system_calls::failed() == "send"; }));
  peer.close();
  EXPECT_TRUE(socket.waitForEnd(main));
  EXPECT_EQ(socket.eventsAfterAll(main), Events{"failed OrvWebSocket 2145"});
}

TEST(NativeLinkFailAtNth, AProxyThatCannotBeWrittenToIsNotWaitedFor) {
  const RawListener listener;
  PumpedExecutor main;
  const auto network = std::make_shared<NetworkSettings>();
  network->proxy = {ProxySource::Fixed, {ProxyKind::Http, "127.0.0.1", listener.port(), {}, {}}, {}};
  WebSocketRequest request{"ws://class.example.org/", Seconds(600), nullptr};
  request.network = network;
  system_calls::failAt(Kind::Socket, "send", 1);
  OwnSocket socket(request, main);
  EXPECT_TRUE(socket.waitForEnd(main));
  EXPECT_NE(socket.delegate.lastError.description.find("ended the talk"), std::string::npos)
      << socket.delegate.lastError.text();
  socket.eventsAfterAll(main);
}

TEST(NativeLinkFailAtNth, ASocketComesToOneEndAndTheNextOneWorks) {
  failEachCall(Way::Plain);
}

TEST(NativeLinkFailAtNth, ASecureSocketComesToOneEndAndTheNextOneWorks) {
  failEachCall(Way::Secure);
}

TEST(NativeLinkFailAtNth, ASocketThroughAProxyComesToOneEndAndTheNextOneWorks) {
  failEachCall(Way::ThroughProxy);
}

}  // namespace
}  // namespace orv::native_link_fail_at_nth_test
