#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/native/proxy/HttpConnect.h>

#include <tests/support/TalkInPieces.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace orv::http_connect_test {
namespace {

using State = ProxyTalk::State;

const Proxy kNobody{ProxyKind::Http, "proxy", 3128, {}, ""};
const Proxy kAnn{ProxyKind::Http, "proxy", 3128, "ann", "s:ecret"};

test::MakeTalk to(const Proxy& proxy) {
  return [proxy] { return std::make_unique<HttpConnect>(proxy, "class.example.org", std::uint16_t{443}); };
}

/// What comes of these words, which must be the same however they are cut.
test::TalkEnd after(const std::string& answer, const Proxy& proxy = kNobody) {
  std::string difference;
  auto end = test::talkHoweverCut(to(proxy), answer, difference);
  EXPECT_EQ(difference, "") << answer.substr(0, 200);
  return end;
}

TEST(HttpConnect, AsksForTheServerByName) {
  HttpConnect talk(kNobody, "class.example.org", 443);
  EXPECT_EQ(talk.takeOutput(),
            "CONNECT class.example.org:443 HTTP/1.1\r\nHost: class.example.org:443\r\n\r\n");
  EXPECT_EQ(talk.takeOutput(), "") << "once";
  EXPECT_EQ(talk.state(), State::Talking);
}

TEST(HttpConnect, SetsAddressesOfTheSixthVersionInBrackets) {
  HttpConnect talk(kNobody, "2001:db8::7", 80);
  EXPECT_EQ(talk.takeOutput(), "CONNECT [2001:db8::7]:80 HTTP/1.1\r\nHost: [2001:db8::7]:80\r\n\r\n");
}

TEST(HttpConnect, SignsInWithTheRequest) {
  HttpConnect talk(kAnn, "a", 1);
  EXPECT_EQ(talk.takeOutput(),
            "CONNECT a:1 HTTP/1.1\r\nHost: a:1\r\nProxy-Authorization: Basic YW5uOnM6ZWNyZXQ=\r\n\r\n");
}

TEST(HttpConnect, EverySuccessOpensTheWayWhateverLengthItTells) {
  for (const char* answer :
       {"HTTP/1.1 200 Connection established\r\n\r\n", "HTTP/1.0 200 OK\r\n\r\n", "HTTP/1.1 200\r\n\r\n",
        "HTTP/1.1 200 \r\n\r\n", "HTTP/1.1 299 Yes\r\n\r\n", "HTTP/1.1 204 No Content\r\nVia: x\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
        "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 102 Processing\r\nA: b\r\n\r\nHTTP/1.1 200 OK\r\n\r\n",
        "HTTP/1.0 200 OK\n\n", "HTTP/1.0 200 OK\nVia: x\n\r\n"}) {
    EXPECT_EQ(after(answer).state, State::Done) << answer;
  }
}

TEST(HttpConnect, WaitsForTheEmptyLine) {
  const std::string answer = "HTTP/1.1 200 Connection established\r\nVia: x\r\n\r\n";
  for (std::size_t size = 0; size < answer.size(); ++size) {
    EXPECT_EQ(after(answer.substr(0, size)).state, State::Talking) << size;
  }
}

TEST(HttpConnect, BytesBehindTheAnswerAreAFailure) {
  const std::string answer = "HTTP/1.1 200 OK\r\n\r\n";
  HttpConnect together(kNobody, "a", 1), later(kNobody, "a", 1);
  EXPECT_EQ(together.feed(answer + "x"), State::Failed);
  EXPECT_EQ(together.error().code, websocket_error::kProxyNotUnderstood);
  EXPECT_EQ(later.feed(answer), State::Done);
  EXPECT_EQ(later.wanted(), 0U);
  EXPECT_EQ(later.feed("HTTP/1.1 101 Switching Protocols\r\n\r\n"), State::Failed);
}

TEST(HttpConnect, TellsWhoIsRefused) {
  for (const int status : {401, 407}) {
    const std::string text = std::to_string(status);
    const std::string answer = "HTTP/1.1 " + text + " Who\r\nContent-Length: 9\r\n\r\n<p>No</p>";
    EXPECT_EQ(after(answer).error, (Error{"OrvProxy", websocket_error::kProxyRefusesUser,
                                          "asks for a user (HTTP status " + text + ")"}));
    EXPECT_EQ(after(answer, kAnn).error, (Error{"OrvProxy", websocket_error::kProxyRefusesUser,
                                                "refuses the user (HTTP status " + text + ")"}));
  }
}

TEST(HttpConnect, TellsTheStatusOfARefusal) {
  EXPECT_EQ(after("HTTP/1.1 403 Forbidden\r\n\r\n").error,
            (Error{"OrvProxy", 403, "refuses the way to the server (HTTP status 403)"}));
  EXPECT_EQ(after("HTTP/1.0 500 Unable to connect\r\nServer: t\r\n\r\n<html>").error,
            (Error{"OrvProxy", 500, "finds no way to the server (HTTP status 500)"}));
  EXPECT_EQ(after("HTTP/1.1 503 X\r\nX-Squid-Error: ERR_CONNECT_FAIL 111\r\n\r\n").error.description,
            "finds no way to the server (HTTP status 503, ERR_CONNECT_FAIL 111)");
  EXPECT_EQ(after("HTTP/1.1 405 No\r\n\r\n").error.code, 405);
}

TEST(HttpConnect, ShowsNothingThatTheProxySaysBack) {
  for (const char* answer :
       {"HTTP/1.1 403 YW5uOnM6ZWNyZXQ=\r\n\r\n",
        "HTTP/1.1 503 X\r\nX-Squid-Error: ERR_YW5uOnM6ZWNyZXQ=\r\n\r\n",
        "HTTP/1.1 503 X\r\nX-Squid-Error: YW5uOnM6ZWNyZXQ=\r\n\r\n", "HTTP/1.1 YW5uOnM6ZWNyZXQ=\r\n\r\n",
        "HTTP/1.1 407 ann:s:ecret\r\nProxy-Authorization: Basic YW5uOnM6ZWNyZXQ=\r\n\r\n"}) {
    const auto end = after(answer, kAnn);
    EXPECT_EQ(end.state, State::Failed) << answer;
    EXPECT_EQ(end.error.description.find("YW5u"), std::string::npos) << end.error.description;
    EXPECT_EQ(end.error.description.find("ecret"), std::string::npos) << end.error.description;
  }
}

TEST(HttpConnect, WhatIsNoAnswerOfAProxyIsAFailure) {
  for (const char* answer :
       {"HTTP/1.1 101 Switching Protocols\r\n\r\n", "HTTP/1.1 302 Found\r\nLocation: x\r\n\r\n",
        "HTTP/1.1\r\n\r\n", "HTTP/1.1 20\r\n\r\n", "HTTP/1.1 2000 OK\r\n\r\n", "HTTP/1.1 2x0 OK\r\n\r\n",
        "HTTP/1.1  200 OK\r\n\r\n", "HTTP/1.1 099 OK\r\n\r\n", "HTTP/1.1\r\nX: 200 OK\r\n\r\n",
        "http/1.1 200 OK\r\n\r\n", "SSH-2.0-OpenSSH\r\n", "\r\n", "\x05", "\x16\x03\x01"}) {
    const auto end = after(answer);
    EXPECT_EQ(end.state, State::Failed) << answer;
    EXPECT_EQ(end.error.code, websocket_error::kProxyNotUnderstood) << answer;
  }
}

TEST(HttpConnect, KnowsByTheFirstWrongByteWhatIsNoProxy) {
  HttpConnect talk(kNobody, "a", 1);
  EXPECT_EQ(talk.feed("HTTQ"), State::Failed);
}

TEST(HttpConnect, ReadsNoMoreThanItsBound) {
  const std::string start = "HTTP/1.1 200 OK\r\nX: ";
  const std::string fits =
      start + std::string(HttpConnect::kLongestAnswer - start.size() - 4, 'x') + "\r\n\r\n";
  EXPECT_EQ(test::talkInPieces(to(kNobody), fits, {}).state, State::Done);
  const std::string tooLong =
      start + std::string(HttpConnect::kLongestAnswer - start.size() - 3, 'x') + "\r\n\r\n";
  for (const auto& cuts : {std::vector<std::size_t>{}, std::vector<std::size_t>{1, 8192, 16383}}) {
    const auto end = test::talkInPieces(to(kNobody), tooLong, cuts);
    EXPECT_EQ(end.state, State::Failed);
    EXPECT_EQ(end.error.code, websocket_error::kProxyNotUnderstood);
  }
  std::string interim;
  while (interim.size() < HttpConnect::kLongestAnswer) interim += "HTTP/1.1 100 Continue\r\n\r\n";
  EXPECT_EQ(test::talkInPieces(to(kNobody), interim, {}).state, State::Failed) << "all of it counts";
}

TEST(HttpConnect, WantsWhatIsLeftOfTheBound) {
  HttpConnect talk(kNobody, "a", 1);
  EXPECT_EQ(talk.wanted(), HttpConnect::kLongestAnswer);
  talk.feed("HTTP/");
  EXPECT_EQ(talk.wanted(), HttpConnect::kLongestAnswer - 5);
  talk.feed("x");
  talk.feed("1\r\n\r\n");
  EXPECT_EQ(talk.wanted(), 0U);
}

}  // namespace
}  // namespace orv::http_connect_test
