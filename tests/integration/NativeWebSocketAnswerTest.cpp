// What the server answers to the handshake.

#include <tests/support/RawPeer.h>
#include <tests/support/WebSocketFixture.h>

#include <cerrno>
#include <string>
#include <vector>

namespace orv::native_web_socket_answer_test {
namespace {

using namespace test;

class NativeWebSocketAnswer : public WebSocketTest {
 protected:
  /// What comes of it when the server answers the handshake with `answer` and stays connected.
  Events eventsAfterAnswer(const std::string& answer) {
    start(listener.url());
    RawPeer peer = listener.accept();
    peer.readRequest();
    peer.send(answer);
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(delegate.stateAtEnd, WebSocketState::Closed);
    EXPECT_TRUE(peer.readEnd());
    return eventsAfterAll();
  }
  /// What is told of the header of that answer.
  std::vector<AnswerHeader> headersTold(const std::string& answer) {
    start(listener.url());
    RawPeer peer = listener.accept();
    peer.readRequest();
    peer.send(answer);
    EXPECT_TRUE(waitForEnd());
    std::vector<AnswerHeader> headers = socket->connectReport().answerHeaders;
    eventsAfterAll();
    delegate.events.clear();
    return headers;
  }
  /// The same when the server agrees to open the link and to something more, by `lines` of its header.
  Events eventsAfterAgreementTo(const std::string& lines) {
    start(listener.url());
    RawPeer peer = listener.accept();
    peer.send(RawPeer::agreement(peer.readRequest(), lines));
    EXPECT_TRUE(waitForEnd());
    return eventsAfterAll();
  }
};

TEST_F(NativeWebSocketAnswer, NamesTheStatusOfAServerThatRefuses) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 403 Forbidden\r\nContent-Length: 5\r\n\r\nsorry"),
            Events{"failed OrvWebSocket 2132"});
  EXPECT_NE(delegate.lastError.description.find("403"), std::string::npos);
}

TEST_F(NativeWebSocketAnswer, KeepsWhatARefusalSaysOfItself) {
  const std::string lines = "Server: gate\r\nLocation: /in?token=rosebud\r\n";
  const std::vector<AnswerHeader> told{{"Server", "gate"}, {"Location", "/in"}};
  for (const char* status : {"302 Found", "403 Forbidden"}) {
    EXPECT_EQ(headersTold(std::string("HTTP/1.1 ") + status + "\r\n" + lines + "\r\nVia: body\r\n"), told)
        << status;
  }
  EXPECT_EQ(headersTold("HTTP/1.1 101 Switching Protocols\r\n" + lines + "\r\n"), told) << "no WebSocket's";
  EXPECT_TRUE(headersTold("220 mail.example.org\r\n" + lines + "\r\n").empty());
}

TEST_F(NativeWebSocketAnswer, ARefusalBeginsWithStatus400) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 400 Bad Request\r\n\r\n"), Events{"failed OrvWebSocket 2132"});
  delegate.events.clear();
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 399 Elsewhere\r\n\r\n"), Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketAnswer, DoesNotWaitForTheBodyOfARefusal) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 500 Oops\r\n\r\n"), Events{"failed OrvWebSocket 2132"});
}

TEST_F(NativeWebSocketAnswer, FollowsNoRedirection) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 301 Moved\r\nLocation: " + listener.url() + "\r\n\r\n"),
            Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketAnswer, AnOrdinaryAnswerIsABadHandshake) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"),
            Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketAnswer, AWrongAcceptKeyIsABadHandshake) {
  EXPECT_EQ(
      eventsAfterAnswer("HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                        "Sec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n\r\n"),
      Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketAnswer, AMissingAcceptKeyIsABadHandshake) {
  EXPECT_EQ(eventsAfterAnswer(
                "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n\r\n"),
            Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketAnswer, AnAnswerThatIsNotHttpIsABadHandshake) {
  // It is known by its first letters: a server that waits for the client to speak sends no more.
  for (const char* answer :
       {"220 mail.example.org ready\r\n\r\n", "SSH-2.0-Open\r\n", "{}", "\x15\x03\x01"}) {
    const OwnSocket other(ownRequest(), mainQueue);
    RawPeer peer = listener.accept();
    peer.readRequest();
    peer.send(answer);
    EXPECT_TRUE(other.waitForEnd(mainQueue)) << answer;
    EXPECT_EQ(other.delegate.events, Events{"failed OrvWebSocket 2133"});
    EXPECT_EQ(other.delegate.lastError.description, "the server's answer to the handshake is not HTTP");
  }
}

TEST_F(NativeWebSocketAnswer, AnAnswerPassesUpToItsLongestHeader) {
  const auto event = [this](std::size_t size) {
    const OwnSocket other(ownRequest(), mainQueue);
    RawPeer peer = listener.accept();
    const std::string asked = peer.readRequest();
    const std::size_t rest = size - RawPeer::agreement(asked, "X: \r\n").size();
    const std::string header = RawPeer::agreement(asked, "X: " + std::string(rest, 'x') + "\r\n");
    EXPECT_EQ(header.size(), size);
    peer.send(header + frameBytes(opcode::kText, "first"));
    other.waitForEvent(mainQueue, "text first");
    return other.delegate.events;
  };
  for (const std::size_t size : {7999u, 8000u, 8001u, 8192u, 15'000u, 16u << 10}) {
    EXPECT_EQ(event(size), (Events{"opened", "text first"})) << size;
  }
  EXPECT_EQ(event((16u << 10) + 1), Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketAnswer, AnExtensionThatWasNotOfferedIsABadHandshake) {
  EXPECT_EQ(eventsAfterAgreementTo("Sec-WebSocket-Extensions: permessage-deflate\r\n"),
            Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketAnswer, AHeaderWithoutEndIsABadHandshake) {
  EXPECT_EQ(eventsAfterAnswer("HTTP/1.1 101 Yes\r\nX: " + std::string(17'000, 'x')),
            Events{"failed OrvWebSocket 2133"});
  EXPECT_EQ(delegate.lastError.description, "the header of the server's answer to the handshake is too long");
}

TEST_F(NativeWebSocketAnswer, ASubProtocolThatWasNotAskedForIsABadHandshake) {
  EXPECT_EQ(eventsAfterAgreementTo("Sec-WebSocket-Protocol: chat\r\n"), Events{"failed OrvWebSocket 2133"});
}

TEST_F(NativeWebSocketAnswer, TheEndOfTheStreamIsAnUncleanClose) {
  for (const char* part : {"", "HTTP/1.1 101 Switch"}) {
    const OwnSocket cut(ownRequest(), mainQueue);
    RawPeer peer = listener.accept();
    peer.readRequest();
    peer.send(part);
    peer.close();
    EXPECT_TRUE(cut.waitForEnd(mainQueue));
    EXPECT_EQ(cut.delegate.events, Events{"closed 1001 Stream end encountered unclean"});
    EXPECT_EQ(cut.delegate.stateAtEnd, WebSocketState::Closed);
  }
}

TEST_F(NativeWebSocketAnswer, AResetIsAFailureWithTheSystemsError) {
  start(listener.url());
  RawPeer peer = listener.accept();
  peer.readRequest();
  peer.reset();
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(eventsAfterAll(), Events{"failed POSIX " + std::to_string(ECONNRESET)});
}

TEST_F(NativeWebSocketAnswer, TakesAnAnswerByteByByte) {
  start(listener.url());
  RawPeer peer = listener.accept();
  peer.sendOneByOne(RawPeer::agreement(peer.readRequest()) + frameBytes(opcode::kText, "first"));
  EXPECT_TRUE(waitForEvent("text first"));
  EXPECT_EQ(delegate.events, (Events{"opened", "text first"}));
}

TEST_F(NativeWebSocketAnswer, TakesFramesThatComeWithALongAnswer) {
  start(listener.url());
  RawPeer peer = listener.accept();
  const std::string cookies = "Set-Cookie: " + std::string(5000, 'c') + "\r\n";
  peer.send(RawPeer::agreement(peer.readRequest(), cookies) +
            frameBytes(opcode::kText, std::string(3000, 'm')) + frameBytes(opcode::kText, "second"));
  EXPECT_TRUE(waitForEvent("text second"));
  EXPECT_EQ(delegate.events, (Events{"opened", "text " + std::string(3000, 'm'), "text second"}));
}

}  // namespace
}  // namespace orv::native_web_socket_answer_test
