#include <orvnetwork/platform/native/proxy/Socks5.h>

#include <tests/support/TalkInPieces.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace orv::socks5_test {
namespace {

using namespace std::string_literals;
using State = ProxyTalk::State;

const Proxy kNobody{ProxyKind::Socks5, "proxy", 1080, {}, ""};
const Proxy kAnn{ProxyKind::Socks5, "proxy", 1080, "ann", "secret"};

const std::string kHello = "\x05\x01\x00"s, kHelloWithUser = "\x05\x02\x00\x02"s;
const std::string kSignIn = "\x01\x03"s + "ann" + "\x06" + "secret";
const std::string kRequest = "\x05\x01\x00\x03\x11"s + "class.example.org" + "\x01\xbb"s;
const std::string kNobodyIsFine = "\x05\x00"s, kUserIsWanted = "\x05\x02"s, kUserIsFine = "\x01\x00"s;
const std::string kOpen = "\x05\x00\x00\x01\x7f\x00\x00\x01\x12\x34"s;

test::MakeTalk to(const Proxy& proxy, const std::string& host = "class.example.org") {
  return [proxy, host] { return std::make_unique<Socks5>(proxy, host, std::uint16_t{443}); };
}

/// What comes of these words, which must be the same however they are cut.
test::TalkEnd after(const std::string& answers, const Proxy& proxy = kNobody) {
  std::string difference;
  auto end = test::talkHoweverCut(to(proxy), answers, difference);
  EXPECT_EQ(difference, "");
  return end;
}

Error error(std::int64_t code, std::string description) {
  return {"OrvProxy", code, std::move(description)};
}

TEST(Socks5, AsksWithoutAUser) {
  EXPECT_EQ(after(kNobodyIsFine + kOpen), (test::TalkEnd{State::Done, {}, {kHello, kRequest}}));
}

TEST(Socks5, SignsInWhereTheProxyWantsIt) {
  EXPECT_EQ(after(kUserIsWanted + kUserIsFine + kOpen, kAnn),
            (test::TalkEnd{State::Done, {}, {kHelloWithUser, kSignIn, kRequest}}));
}

TEST(Socks5, KeepsItsPasswordWhereTheProxyDoesNotWantIt) {
  EXPECT_EQ(after(kNobodyIsFine + kOpen, kAnn), (test::TalkEnd{State::Done, {}, {kHelloWithUser, kRequest}}));
}

TEST(Socks5, SaysNothingMoreBeforeTheAnswerIsWhole) {
  EXPECT_EQ(after("").sent, std::vector{kHello});
  EXPECT_EQ(after(kNobodyIsFine.substr(0, 1)).sent, std::vector{kHello});
  EXPECT_EQ(after(kUserIsWanted, kAnn).sent, (std::vector{kHelloWithUser, kSignIn}));
  EXPECT_EQ(after(kUserIsWanted + "\x01", kAnn).sent, (std::vector{kHelloWithUser, kSignIn}));
  EXPECT_EQ(after(kNobodyIsFine + kOpen.substr(0, 9)).state, State::Talking);
}

TEST(Socks5, NamesTheServerAsItIsWritten) {
  const auto requestFor = [](const std::string& host) {
    return test::talkInPieces(to(kNobody, host), kNobodyIsFine, {}).sent.at(1);
  };
  const std::string port = "\x01\xbb"s;
  EXPECT_EQ(requestFor("192.0.2.7"), "\x05\x01\x00\x01\xc0\x00\x02\x07"s + port);
  EXPECT_EQ(requestFor("2001:db8::7"),
            "\x05\x01\x00\x04\x20\x01\x0d\xb8\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x07"s + port);
  EXPECT_EQ(requestFor("1.2.3"), "\x05\x01\x00\x03\x05"s + "1.2.3" + port);
}

TEST(Socks5, TakesWhateverAddressStandsInTheAnswer) {
  for (const std::string& answer : {kOpen, "\x05\x00\x00\x04"s + std::string(16, 'a') + "\x00\x50"s,
                                    "\x05\x00\x00\x03\x04"s + "name" + "pp", "\x05\x00\x00\x03\x00pp"s,
                                    "\x05\x00\xff\x03\xff"s + std::string(255, 'n') + "pp"}) {
    EXPECT_EQ(after(kNobodyIsFine + answer).state, State::Done);
    EXPECT_EQ(after(kNobodyIsFine + answer.substr(0, answer.size() - 1)).state, State::Talking);
  }
}

TEST(Socks5, ReadsNothingThatBelongsToTheServer) {
  const std::string answers = kUserIsWanted + kUserIsFine + "\x05\x00\x00\x03\x04"s + "name" + "pp";
  const std::string stream = answers + "the server's";
  Socks5 talk(kAnn, "class.example.org", 443);
  std::size_t at = 0;
  while (talk.state() == State::Talking) {
    const std::size_t size = talk.wanted();
    ASSERT_GT(size, 0U);
    talk.takeOutput();
    talk.feed(std::string_view(stream).substr(at, size));
    at += size;
  }
  EXPECT_EQ(talk.state(), State::Done);
  EXPECT_EQ(at, answers.size());
  EXPECT_EQ(talk.wanted(), 0U);
  EXPECT_EQ(talk.feed("x"), State::Failed) << "what is fed all the same";
}

TEST(Socks5, TellsWhoIsRefused) {
  constexpr auto kCode = websocket_error::kProxyRefusesUser;
  EXPECT_EQ(after("\x05\xff"s).error, error(kCode, "asks for a user"));
  EXPECT_EQ(after("\x05\xff"s, kAnn).error, error(kCode, "takes neither the user nor nobody"));
  EXPECT_EQ(after(kUserIsWanted + "\x01\x01"s, kAnn).error, error(kCode, "refuses the user"));
  EXPECT_EQ(after(kUserIsWanted + "\x01\x02"s, kAnn).error, error(kCode, "refuses the user"));
  EXPECT_EQ(after(kUserIsWanted + "\x05\x00"s, kAnn).state, State::Talking)
      << "some put their own version there";
}

TEST(Socks5, TellsTheReplyOfARefusalAtOnce) {
  for (char reply = 1; reply <= 8; ++reply) {
    const std::string answer = {5, reply, 0, 3};
    const auto end = after(kNobodyIsFine + answer);
    EXPECT_EQ(end.state, State::Failed);
    EXPECT_EQ(end.error.code, reply);
    EXPECT_NE(end.error.description.find("SOCKS reply " + std::to_string(reply)), std::string::npos);
    EXPECT_EQ(after(kNobodyIsFine + answer + "\x04namepp").error, end.error) << "with the name of the server";
  }
  EXPECT_EQ(after(kNobodyIsFine + "\x05\x05\x00\x01"s).error,
            error(5, "finds no way to the server (SOCKS reply 5, the connection is refused)"));
  EXPECT_EQ(after(kNobodyIsFine + "\x05\x02\x00\x01"s).error,
            error(2, "refuses the way to the server (SOCKS reply 2, its rules forbid it)"));
  EXPECT_EQ(after(kNobodyIsFine + "\x05\x5b\x00\x01"s).error.code, websocket_error::kProxyNotUnderstood);
}

TEST(Socks5, WhatIsNoAnswerOfAProxyIsAFailure) {
  const std::vector<std::string> answers{"HTTP/1.1 400 Bad Request\r\n\r\n",
                                         "\x04\x00"s,
                                         "\x00\x5a"s,
                                         "\x05\x02"s,  // was not offered
                                         "\x05\x01"s,
                                         "\x05\x80"s,
                                         kNobodyIsFine + "\x04\x00\x00\x01"s,
                                         kNobodyIsFine + "\x05\x00\x00\x02"s,
                                         kNobodyIsFine + "\x05\x00\x00\x00"s};
  for (const std::string& answer : answers) {
    const auto end = after(answer);
    EXPECT_EQ(end.state, State::Failed) << answer;
    EXPECT_EQ(end.error.code, websocket_error::kProxyNotUnderstood) << answer;
  }
  EXPECT_EQ(after("\x05\x01"s, kAnn).error.code, websocket_error::kProxyNotUnderstood) << "GSSAPI";
}

TEST(Socks5, WhatThereIsNoRoomForIsAFailureAndIsNotSent) {
  const auto failsAtOnce = [](const Proxy& proxy, const std::string& host) {
    Socks5 talk(proxy, host, 443);
    EXPECT_EQ(talk.takeOutput(), "");
    EXPECT_EQ(talk.wanted(), 0U);
    return talk.state() == State::Failed && talk.error().code == websocket_error::kBadProxy;
  };
  EXPECT_TRUE(failsAtOnce(kNobody, std::string(256, 'n')));
  EXPECT_TRUE(failsAtOnce(kNobody, ""));
  Proxy longUser = kAnn, longPassword = kAnn, longest = kAnn;
  longUser.user = std::string(256, 'u');
  longPassword.password = std::string(256, 'p');
  EXPECT_TRUE(failsAtOnce(longUser, "class"));
  EXPECT_TRUE(failsAtOnce(longPassword, "class"));
  longest.user = std::string(255, 'u');
  longest.password = std::string(255, 'p');
  const auto end =
      test::talkInPieces(to(longest, std::string(255, 'n')), kUserIsWanted + kUserIsFine + kOpen, {});
  EXPECT_EQ(end.state, State::Done);
  EXPECT_EQ(end.sent.at(1).size(), 3U + 255 + 255);
  EXPECT_EQ(end.sent.at(2).size(), 7U + 255);
}

}  // namespace
}  // namespace orv::socks5_test
