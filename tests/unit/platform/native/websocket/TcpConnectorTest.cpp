#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/platform/native/websocket/TcpConnector.h>

#include <tests/support/RawPeer.h>
#include <tests/support/SilentListener.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::tcp_connector_test {
namespace {

using test::RawListener;
using test::SilentListener;

/// A connector on a loop that the test turns, and look-ups that the test answers.
class TcpConnectorTest : public ::testing::Test {
 protected:
  struct Asked {
    std::string host;
    std::uint16_t port;
    std::optional<IpFamily> family;
    std::function<void(HostAddresses)> done;
  };

  TcpConnectorTest() { limits.nextTry = Seconds(0); }
  ~TcpConnectorTest() override {
    if (connector) connector->cancel();
    loop.restart();
    loop.poll();
  }

  void start(const std::string& host, std::uint16_t port) {
    recorder.start();
    connector = std::make_unique<TcpConnector>(
        socket, recorder, limits,
        [this](const std::string& name, std::uint16_t at, std::optional<IpFamily> family,
               std::function<void(HostAddresses)> done) {
          asked.push_back({name, at, family, std::move(done)});
        },
        good);
    connector->start(host, port, alive, [this](const std::optional<Error>& error) {
      ++ends;
      outcome = error;
    });
  }
  /// Answers the look-up for a family with loopback addresses of these ports.
  void answer(IpFamily family, const std::vector<std::uint16_t>& ports) {
    HostAddresses found;
    for (const std::uint16_t port : ports) {
      const auto one = numericHostAddress(family == IpFamily::Sixth ? "::1" : "127.0.0.1", port);
      found.addresses.push_back(one.addresses.at(0));
    }
    asked.at(family == IpFamily::Sixth ? 0 : 1).done(std::move(found));
  }
  void answerNo(std::size_t which, int code) {
    asked.at(which).done({{}, {websocket_error::kNameLookupDomain, code, "no"}});
  }
  void turn() {
    loop.restart();
    loop.poll();
  }
  void turnUntilEnd() {
    while (ends == 0) {
      loop.restart();
      ASSERT_GT(loop.run_one_for(std::chrono::seconds(30)), 0u) << "nothing happened";
    }
  }
  static std::ptrdiff_t descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
  }

  asio::io_context loop;
  GatheringStream::Socket socket{loop};
  ConnectRecorder recorder;
  RaceLimits limits;
  GoodAddresses good;
  std::vector<Asked> asked;
  std::shared_ptr<int> alive = std::make_shared<int>(0);
  std::unique_ptr<TcpConnector> connector;  // so that a sanitizer sees who uses one that has gone
  std::optional<Error> outcome;
  int ends = 0;
};

TEST_F(TcpConnectorTest, ConnectsToANumberWithoutAskingAnybody) {
  RawListener listener;
  start("127.0.0.1", listener.port());
  turnUntilEnd();
  EXPECT_EQ(outcome, std::nullopt);
  EXPECT_TRUE(asked.empty());
  listener.accept();
  EXPECT_EQ(socket.remote_endpoint().port(), listener.port());
  EXPECT_NE(::fcntl(socket.native_handle(), F_GETFD) & FD_CLOEXEC, 0);
  const ConnectReport report = recorder.report();
  EXPECT_EQ(report.name, std::nullopt);
  EXPECT_TRUE(report.addresses.empty());
  EXPECT_GT(report.connect, Seconds(0));
  ASSERT_EQ(report.attempts.size(), 1u);
  EXPECT_EQ(report.attempts[0].address, "127.0.0.1");
  EXPECT_TRUE(report.attempts[0].won);
}

TEST_F(TcpConnectorTest, AsksForBothFamiliesOfAName) {
  RawListener listener;
  start("example.org", 4711);
  ASSERT_EQ(asked.size(), 2u);
  for (const Asked& one : asked) {
    EXPECT_EQ(one.host, "example.org");
    EXPECT_EQ(one.port, 4711);
  }
  EXPECT_EQ(asked[0].family, IpFamily::Sixth);
  EXPECT_EQ(asked[1].family, IpFamily::Fourth);
  answerNo(0, EAI_NODATA);
  answer(IpFamily::Fourth, {listener.port()});
  turnUntilEnd();
  EXPECT_EQ(outcome, std::nullopt);
  EXPECT_TRUE(recorder.report().name.has_value());
  EXPECT_TRUE(recorder.report().connect.has_value());
}

TEST_F(TcpConnectorTest, AsksForThisMachineOnceSoThatNoNameServerIs) {
  RawListener listener;
  start("LocalHost", listener.port());
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].family, std::nullopt);
  HostAddresses both = numericHostAddress("127.0.0.1", listener.port());
  const RawListener refusing(false);
  both.addresses.push_back(numericHostAddress("127.0.0.1", refusing.port()).addresses.at(0));
  asked[0].done(both);
  turnUntilEnd();
  EXPECT_EQ(outcome, std::nullopt);
  EXPECT_EQ(socket.remote_endpoint().port(), listener.port());
}

TEST_F(TcpConnectorTest, ThisMachineMayHaveAddressesOfBothFamilies) {
  start("localhost", 1);
  ASSERT_EQ(asked.size(), 1u);
  HostAddresses both = numericHostAddress("127.0.0.1", 1);
  both.addresses.push_back(numericHostAddress("::1", 1).addresses.at(0));
  asked[0].done(both);
  turnUntilEnd();
  ASSERT_TRUE(outcome.has_value());
  EXPECT_EQ(outcome->code, ECONNREFUSED);
  const auto attempts = recorder.report().attempts;
  ASSERT_EQ(attempts.size(), 2u);
  EXPECT_EQ(attempts[0].address, "::1");
  EXPECT_EQ(attempts[1].address, "127.0.0.1");
}

TEST_F(TcpConnectorTest, OneThatWinsTakesThePlaceOfTheOthers) {
  const SilentListener silent;
  RawListener listener;
  const auto before = descriptors();
  start("example.org", 1);
  answerNo(0, EAI_NODATA);
  answer(IpFamily::Fourth, {silent.port(), listener.port()});
  turnUntilEnd();
  EXPECT_EQ(outcome, std::nullopt);
  EXPECT_EQ(socket.remote_endpoint().port(), listener.port());
  EXPECT_EQ(descriptors(), before + 1) << "the socket alone";
  const auto attempts = recorder.report().attempts;
  ASSERT_EQ(attempts.size(), 2u);
  EXPECT_FALSE(attempts[0].won);
  EXPECT_EQ(attempts[0].error, std::nullopt) << "given up as another one won";
  EXPECT_TRUE(attempts[1].won);
}

TEST_F(TcpConnectorTest, OfTwoThatConnectInOneTurnOneIsClosed) {
  RawListener first;
  RawListener second;
  const auto before = descriptors();
  start("example.org", 1);
  answerNo(0, EAI_NODATA);
  answer(IpFamily::Fourth, {first.port(), second.port()});
  // One at a time, so that the loop does not see the first connection before the second has begun.
  while (recorder.report().attempts.size() < 2) {
    loop.restart();
    loop.poll_one();
    ASSERT_EQ(ends, 0) << "the loop was quicker than the test needs it to be";
  }
  ASSERT_TRUE(first.hasConnection(30'000));
  ASSERT_TRUE(second.hasConnection(30'000));
  turnUntilEnd();
  turn();
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(descriptors(), before + 1) << "the socket alone";
  test::RawPeer one = first.accept();
  test::RawPeer other = second.accept();
  const bool firstWon = socket.remote_endpoint().port() == first.port();
  EXPECT_TRUE((firstWon ? other : one).readEnd()) << "the other one is closed";
}

TEST_F(TcpConnectorTest, TellsWhatSaysMostWhenAllHaveFailed) {
  const RawListener refusing(false);
  start("example.org", 1);
  answerNo(0, EAI_AGAIN);
  answer(IpFamily::Fourth, {refusing.port()});
  turnUntilEnd();
  ASSERT_TRUE(outcome.has_value());
  EXPECT_EQ(outcome->domain, websocket_error::kSystemDomain);
  EXPECT_EQ(outcome->code, ECONNREFUSED);
  EXPECT_EQ(recorder.report().addresses, std::vector<std::string>{"127.0.0.1"});
  EXPECT_EQ(recorder.report().attempts.at(0).error, outcome);
}

TEST_F(TcpConnectorTest, TellsTheResolversErrorWhenThereIsNoAddress) {
  start("example.org", 1);
  answerNo(1, EAI_NONAME);
  turn();
  EXPECT_EQ(ends, 0) << "the other family is looked up still";
  answerNo(0, EAI_NODATA);
  turnUntilEnd();
  ASSERT_TRUE(outcome.has_value());
  EXPECT_EQ(outcome->domain, websocket_error::kNameLookupDomain);
  EXPECT_EQ(outcome->code, EAI_NONAME);
  EXPECT_TRUE(recorder.report().name.has_value());
  EXPECT_EQ(recorder.report().connect, std::nullopt);
}

TEST_F(TcpConnectorTest, ALookupThatIsLeftBehindHoldsNothingAndTellsNobody) {
  const std::weak_ptr<int> life = alive;
  start("example.org", 1);
  alive.reset();
  EXPECT_FALSE(life.expired());
  connector->cancel();
  EXPECT_TRUE(life.expired());
  connector.reset();
  answer(IpFamily::Sixth, {1});
  answer(IpFamily::Fourth, {1});
  turn();
  EXPECT_EQ(ends, 0);
}

TEST_F(TcpConnectorTest, NorDoesItAfterTheOtherFamilyHasConnected) {
  RawListener listener;
  limits.firstFamily = Seconds(0);
  start("example.org", 1);
  answer(IpFamily::Fourth, {listener.port()});
  turnUntilEnd();
  connector.reset();
  answer(IpFamily::Sixth, {listener.port()});
  turn();
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(recorder.report().attempts.size(), 1u);
}

TEST_F(TcpConnectorTest, CancellingClosesEveryTry) {
  const SilentListener first;
  const SilentListener second;
  const auto before = descriptors();
  start("example.org", 1);
  answerNo(0, EAI_NODATA);
  answer(IpFamily::Fourth, {first.port(), second.port()});
  turn();
  EXPECT_EQ(descriptors(), before + 2);
  connector->cancel();
  EXPECT_EQ(descriptors(), before);
  alive.reset();
  turn();
  EXPECT_EQ(ends, 0);
}

/// Comes to a connection to the second of two addresses, the first of which refuses; how many tries that took.
class TcpConnectorMemoryTest : public TcpConnectorTest {
 protected:
  TcpConnectorMemoryTest() { limits.nextTry = Seconds(30); }
  ~TcpConnectorMemoryTest() override { connector.reset(); }

  std::size_t connect(const std::string& host = "example.org") {
    ends = 0;
    asked.clear();
    connector.reset();
    attempt.emplace();
    attempt->start();
    connector = std::make_unique<TcpConnector>(
        socket, *attempt, limits,
        [this](const std::string& name, std::uint16_t at, std::optional<IpFamily> family,
               std::function<void(HostAddresses)> done) {
          asked.push_back({name, at, family, std::move(done)});
        },
        good);
    connector->start(host, 4711, alive, [this](const std::optional<Error>&) { ++ends; });
    answerNo(0, EAI_NODATA);
    answer(IpFamily::Fourth, {refusing.port(), listener.port()});
    turnUntilEnd();
    while (listener.hasConnection()) listener.accept();
    return attempt->report().attempts.size();
  }

  const RawListener refusing{false};
  RawListener listener;
  std::optional<ConnectRecorder> attempt;
};

TEST_F(TcpConnectorMemoryTest, WhatWorkedLastTimeGoesFirst) {
  EXPECT_EQ(connect(), 2u);
  connector->rememberAddress();
  EXPECT_EQ(connect(), 1u);
  EXPECT_EQ(socket.remote_endpoint().port(), listener.port());
}

TEST_F(TcpConnectorMemoryTest, AnAddressThatOnlyConnectsIsNotRemembered) {
  EXPECT_EQ(connect(), 2u);
  EXPECT_EQ(connect(), 2u);
  connector->rememberAddress();
  EXPECT_EQ(connect(), 1u);
  // It has led to nothing this time.
  EXPECT_EQ(connect(), 2u);
}

TEST_F(TcpConnectorMemoryTest, AConnectionIsRememberedOnce) {
  connect();
  connector->rememberAddress();
  EXPECT_EQ(good.count(), 1u);
  good.take("example.org", 4711, std::chrono::steady_clock::now());
  connector->rememberAddress();
  EXPECT_EQ(good.count(), 0u);
}

TEST_F(TcpConnectorMemoryTest, AnotherHostHasAnotherAddress) {
  connect();
  connector->rememberAddress();
  EXPECT_EQ(connect("example.com"), 2u);
  EXPECT_EQ(connect("example.org"), 1u);
}

TEST_F(TcpConnectorMemoryTest, ANumberNeedsNone) {
  start("127.0.0.1", listener.port());
  turnUntilEnd();
  connector->rememberAddress();
  EXPECT_EQ(good.count(), 0u);
}

TEST_F(TcpConnectorTest, AThousandAttemptsLeaveNoDescriptor) {
  const SilentListener silent;
  const RawListener refusing(false);
  RawListener listener;
  const auto before = descriptors();
  for (int i = 0; i < 1'000; ++i) {
    ends = 0;
    asked.clear();
    start("example.org", 1);
    answerNo(0, EAI_NODATA);
    answer(IpFamily::Fourth, {silent.port(), refusing.port(), listener.port()});
    // Every other one is given up, sooner or later.
    const int turns = i % 12;
    for (int left = turns; left > 0; --left) {
      loop.restart();
      loop.poll_one();
    }
    if (i % 2 == 1) turnUntilEnd();
    connector->cancel();
    error_code ignored;
    socket.close(ignored);
    turn();  // what was under way for it is called with its cancellation
    connector.reset();
    while (listener.hasConnection()) listener.accept();
    ASSERT_EQ(descriptors(), before) << "after " << i + 1;
  }
}

}  // namespace
}  // namespace orv::tcp_connector_test
