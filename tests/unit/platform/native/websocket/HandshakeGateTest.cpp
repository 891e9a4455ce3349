#include <orvnetwork/platform/native/websocket/HandshakeGate.h>

#include <gtest/gtest.h>

#include <string>

namespace orv::handshake_gate_test {
namespace {

using State = HandshakeGate::State;

TEST(HandshakeGate, PassesAnAgreementOnceItsHeaderIsWhole) {
  const std::string header = "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\n\r\n";
  HandshakeGate gate;
  for (std::size_t size = 0; size < header.size(); ++size) {
    EXPECT_EQ(gate.look(std::string_view(header).substr(0, size)), State::Waiting);
  }
  EXPECT_EQ(gate.look(header + "frames"), State::Passed);
  EXPECT_EQ(gate.status(), 101);
  EXPECT_EQ(gate.headerSize(), header.size());
}

TEST(HandshakeGate, RefusesEveryOtherStatusWithoutWaitingForABody) {
  for (const int status : {100, 200, 204, 301, 400, 404, 503}) {
    HandshakeGate gate;
    EXPECT_EQ(gate.look("HTTP/1.1 " + std::to_string(status) + " Text\r\nContent-Length: 100\r\n\r\n"),
              State::Refused);
    EXPECT_EQ(gate.status(), status);
  }
}

TEST(HandshakeGate, RefusesWhatIsNotHttpWithoutAStatus) {
  for (const char* answer :
       {"\r\n\r\n", "hello\r\n\r\n", "HTTP/1.1\r\n\r\n", "HTTP/1.1 abc\r\n\r\n", "HTTP/1.1 10\r\n\r\n",
        "HTTP/1.1\r\nX: 101\r\n\r\n", "HTTP/1.1\r\n\r\n 101 behind the header"}) {
    HandshakeGate gate;
    EXPECT_EQ(gate.look(answer), State::Refused) << answer;
    EXPECT_EQ(gate.status(), std::nullopt) << answer;
  }
}

TEST(HandshakeGate, KnowsByTheFirstLettersWhatIsNotHttp) {
  for (const char* answer : {"S", "http/1.1", "HTTQ", "HTTP1", "\x15"}) {
    HandshakeGate gate;
    EXPECT_EQ(gate.look(answer), State::Refused) << answer;
    EXPECT_EQ(gate.status(), std::nullopt);
    EXPECT_FALSE(gate.isTooLong());
  }
}

TEST(HandshakeGate, ReadsTheDateOfTheAnswerHoweverItIsWritten) {
  for (const char* line : {"Date: now", "date:now", "DATE: \t now \t", "Date: now\r\nDate: later"}) {
    for (const char* status : {"101", "200", "404"}) {
      HandshakeGate gate;
      gate.look(std::string("HTTP/1.1 ") + status + " Text\r\nX-Date: other\r\n" + line +
                "\r\nA: b\r\n\r\nDate: body");
      EXPECT_EQ(gate.date(), "now") << line;
    }
  }
  for (const char* answer : {"HTTP/1.1 101 Yes\r\n\r\nDate: body\r\n\r\n",
                             "HTTP/1.1 101 Yes\r\nDate:\r\n\r\n", "HTTP/1.1 101 Yes\r\nDate: now\r\n"}) {
    HandshakeGate gate;
    gate.look(answer);
    EXPECT_EQ(gate.date(), "") << answer;
  }
}

TEST(HandshakeGate, RefusesAHeaderWithoutEnd) {
  HandshakeGate gate;
  std::string header = "HTTP/1.1 101 Yes\r\n" + std::string(HandshakeGate::kLongestHeader, 'x');
  EXPECT_EQ(gate.look(std::string_view(header).substr(0, HandshakeGate::kLongestHeader)), State::Waiting);
  EXPECT_EQ(gate.look(header), State::Refused);
  EXPECT_TRUE(gate.isTooLong());
}

TEST(HandshakeGate, RefusesAHeaderWhoseEndComesTooLate) {
  const std::string begin = "HTTP/1.1 101 Yes\r\nX: ", end = "\r\n\r\n";
  const std::size_t filling = HandshakeGate::kLongestHeader - begin.size() - end.size();
  HandshakeGate longest, longer;
  EXPECT_EQ(longest.look(begin + std::string(filling, 'x') + end), State::Passed);
  EXPECT_EQ(longer.look(begin + std::string(filling + 1, 'x') + end), State::Refused);
}

}  // namespace
}  // namespace orv::handshake_gate_test
