// The way to a server whose name has several addresses, or whose name servers do not answer, in network namespaces of the
// test's own. What is counted in milliseconds is tried in virtual time. Here no time-out of any network is waited for: those
// of the resolver and of the system's connections are longer than all that a test waits.

#include <tests/support/NameServer.h>
#include <tests/support/NetworkNamespace.h>
#include <tests/support/QuietNetwork.h>
#include <tests/support/SilentListener.h>
#include <tests/support/WebSocketFixture.h>

#include <netdb.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::finding_the_server_test {
namespace {

using namespace test;
using Says = NameServer::Says;

constexpr const char* kSilentSixth = QuietNetwork::kSilentSixth;
constexpr const char* kSilentFourth = QuietNetwork::kSilentFourth;
constexpr const char* kNoWaySixth = QuietNetwork::kNoWaySixth;
constexpr const char* kNoWayFourth = QuietNetwork::kNoWayFourth;

class FindingTheServer : public WebSocketTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0 && !NetworkNamespace::isPermitted()) {
      GTEST_SKIP() << "needs root for network namespaces";
    }
    world_.emplace();
  }

  /// Runs `body` in the network, where the server has these addresses: lines of a file of hosts.
  void runWithHosts(const std::string& hosts, const std::function<void()>& body) {
    world_->run([&] {
      useOwnNames(hosts);
      body();
      leave();
    });
  }
  /// Runs `body` in the network, where this is said of every name.
  void runWithNameServer(const NameServer::Answer& sixth, const NameServer::Answer& fourth,
                         const std::function<void()>& body) {
    world_->run([&] {
      useOwnNames("");
      const NameServer server(sixth, fourth);
      body();
      // Whoever asks may be slow.
      EXPECT_TRUE(waitFor([&] { return server.asked() > 0; }));
      leave();
    });
  }
  /// Lets a server in the network answer at its address, from the first look-up to the open link.
  void expectToReach(RawListener& server) {
    start(server.url("/", "ws", "server.example"));
    RawPeer peer = server.accept();
    peer.acceptHandshake();
    EXPECT_TRUE(waitForEvent("opened"));
    report = socket->connectReport();
    ASSERT_FALSE(report.attempts.empty());
    std::printf("name %.1f ms, connect %.1f ms, %zu tries\n", report.name.value_or(Seconds(0)).count() * 1e3,
                report.connect.value_or(Seconds(0)).count() * 1e3, report.attempts.size());
  }
  void expectToFail(const std::string& domain, int code) {
    start("ws://server.example:9/");
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(delegate.events, Events{"failed " + domain + " " + std::to_string(code)});
    report = socket->connectReport();
  }
  static std::ptrdiff_t descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
  }
  void leave() {
    socket->setDelegate(nullptr);
    socket->close();
    eventsAfterAll();
  }

  std::optional<QuietNetwork> world_;
  ConnectReport report;
};

TEST_F(FindingTheServer, ADeadFirstAddressCostsAQuarterOfASecond) {
  runWithHosts(serverAt(kSilentSixth, "127.0.0.1"), [this] {
    RawListener server;
    expectToReach(server);
    ASSERT_EQ(report.attempts.size(), 2u);
    EXPECT_EQ(report.attempts[0].address, kSilentSixth);
    EXPECT_FALSE(report.attempts[0].won);
    EXPECT_EQ(report.attempts[0].error, std::nullopt);
    EXPECT_EQ(report.attempts[1].address, "127.0.0.1");
    EXPECT_GE(report.attempts[1].begun, Seconds(0.25));
    EXPECT_TRUE(report.attempts[1].won);
  });
}

TEST_F(FindingTheServer, ThatQuarterIsPaidOnceWhenTheServerDoesItsWork) {
  runWithHosts(serverAt(kSilentSixth, "127.0.0.1"), [this] {
    RawListener server;
    const auto begin = [&] {
      delegate.events.clear();
      start(server.url("/", "ws", "server.example"));
      RawPeer peer = server.accept();
      peer.acceptHandshake();
      EXPECT_TRUE(waitForEvent("opened"));
      return peer;
    };
    const auto leaveIt = [&] {
      socket->setDelegate(nullptr);
      socket->close();
      eventsAfterAll();
    };
    // An open link alone says little: something may listen there that does nothing.
    RawPeer peer = begin();
    EXPECT_EQ(socket->connectReport().attempts.size(), 2u);
    leaveIt();
    RawPeer second = begin();
    EXPECT_EQ(socket->connectReport().attempts.size(), 2u);
    second.send(test::frameBytes(test::opcode::kText, "PONG"));
    EXPECT_TRUE(waitForEvent("text PONG"));
    leaveIt();
    RawPeer third = begin();
    report = socket->connectReport();
    ASSERT_EQ(report.attempts.size(), 1u);
    EXPECT_EQ(report.attempts[0].address, "127.0.0.1");
  });
}

TEST_F(FindingTheServer, AFamilyThatNothingLeadsToCostsNothing) {
  runWithHosts(serverAt(kNoWaySixth, "127.0.0.1"), [this] {
    RawListener server;
    expectToReach(server);
    ASSERT_EQ(report.attempts.size(), 2u);
    EXPECT_EQ(report.attempts[0].error->code, EHOSTUNREACH);
    EXPECT_TRUE(report.attempts[1].won);
  });
}

TEST_F(FindingTheServer, TheSixthVersionGoesFirst) {
  runWithHosts("127.0.0.1 server.example\n::1 server.example\n", [this] {
    RawListener server(true, AF_INET6);
    expectToReach(server);
    EXPECT_EQ(report.attempts[0].address, "::1");
    EXPECT_TRUE(report.attempts[0].won);
  });
}

TEST_F(FindingTheServer, AnAddressThatTakesASecondIsStillTaken) {
  runWithHosts(serverAt(kSilentSixth, "127.0.0.1") + std::string(kSilentFourth) + " server.example\n",
               [this] {
                 SilentListener server;
                 start("ws://server.example:" + std::to_string(server.port()) + "/");
                 ASSERT_TRUE(waitFor([this] { return socket->connectReport().attempts.size() == 3; }));
                 RawPeer peer = server.letIn();
                 peer.acceptHandshake();
                 EXPECT_TRUE(waitForEvent("opened"));
                 report = socket->connectReport();
                 EXPECT_EQ(report.attempts[1].address, "127.0.0.1");
                 EXPECT_TRUE(report.attempts[1].won);
                 EXPECT_GT(report.attempts[1].took, Seconds(0.3)) << "longer than the pause between tries";
               });
}

TEST_F(FindingTheServer, AllThatFailsIsToldAndTheMostTellingErrorIsTheAttempts) {
  runWithHosts(serverAt(kNoWaySixth, "127.0.0.1") + std::string(kNoWayFourth) + " server.example\n", [this] {
    expectToFail("POSIX", ECONNREFUSED);
    ASSERT_EQ(report.attempts.size(), 3u);
    EXPECT_EQ(report.attempts[0].error->code, EHOSTUNREACH);
    EXPECT_EQ(report.attempts[1].error->code, ECONNREFUSED);
    EXPECT_EQ(report.attempts[2].error->code, EHOSTUNREACH);
  });
}

TEST_F(FindingTheServer, SilenceEndsAtTheTimeLimitOfTheSocket) {
  request.connectTimeout = Seconds(0.4);
  runWithHosts(serverAt(kSilentSixth, kSilentFourth), [this] {
    expectToFail("OrvWebSocket", 504);
    ASSERT_EQ(report.attempts.size(), 2u);
    for (const AddressAttempt& attempt : report.attempts) {
      ASSERT_TRUE(attempt.error.has_value());
      EXPECT_EQ(attempt.error->code, ETIMEDOUT);
    }
    EXPECT_GE(report.connect, Seconds(0.3));
  });
}

TEST_F(FindingTheServer, ANameServerThatKnowsOneFamilyAndIsSilentOnTheOtherCostsNoTimeOut) {
  runWithNameServer({Says::Nothing}, {Says::Addresses, {"127.0.0.1"}}, [this] {
    RawListener server;
    expectToReach(server);
    EXPECT_GE(report.name, Seconds(0.05));
  });
}

TEST_F(FindingTheServer, TheOtherWayRoundToo) {
  runWithNameServer({Says::Addresses, {"::1"}}, {Says::Nothing}, [this] {
    RawListener server(true, AF_INET6);
    expectToReach(server);
  });
}

TEST_F(FindingTheServer, ANameThatHasNoAddressOfAFamilyIsReachedByTheOther) {
  runWithNameServer({Says::NoAddress}, {Says::Addresses, {"127.0.0.1"}}, [this] {
    RawListener server;
    expectToReach(server);
  });
}

TEST_F(FindingTheServer, FamiliesTakeTurnsWhenTheNameServerKnowsBoth) {
  const NameServer::Answer sixth{Says::Addresses, {kSilentSixth, QuietNetwork::kOtherSilentSixth}};
  const NameServer::Answer fourth{Says::Addresses, {"127.0.0.1", kNoWayFourth}};
  runWithNameServer(sixth, fourth, [this] {
    start("ws://server.example:9/");
    ASSERT_TRUE(waitFor([this] { return socket->connectReport().attempts.size() == 4; }));
    const auto attempts = socket->connectReport().attempts;
    EXPECT_TRUE(attempts[0].address.starts_with("2001:db8::"));
    EXPECT_FALSE(attempts[1].address.starts_with("2001:db8::"));
    EXPECT_TRUE(attempts[2].address.starts_with("2001:db8::"));
    EXPECT_FALSE(attempts[3].address.starts_with("2001:db8::"));
  });
}

TEST_F(FindingTheServer, ANameThatDoesNotExistIsTold) {
  runWithNameServer({Says::NoSuchName}, {Says::NoSuchName}, [this] {
    expectToFail("OrvNameLookup", EAI_NONAME);
    EXPECT_TRUE(report.attempts.empty());
    EXPECT_TRUE(report.name.has_value());
  });
}

TEST_F(FindingTheServer, AClosedSocketWaitsForNoNameServer) {
  runWithNameServer({Says::Nothing}, {Says::Nothing}, [this] {
    start("ws://server.example/");
    waitFor([this] { return socket->connectReport().name.has_value(); });
    socket->close();
    EXPECT_TRUE(waitForEnd());
    std::shared_ptr<WebSocket> closed = std::move(socket);
    closed.reset();
    EXPECT_TRUE(waitFor([this] { return everyPart.expired(); }));
    EXPECT_EQ(delegate.events, Events{"closed 0 (absent) clean"});
    // For the end of the test.
    start("none");
  });
}

TEST_F(FindingTheServer, SixtyFourLookUpsAreUnderWayAtMost) {
  runWithNameServer({Says::Nothing}, {Says::Nothing}, [this] {
    request.connectTimeout = Seconds(600);
    request.url = "ws://server.example/";
    std::vector<std::unique_ptr<OwnSocket>> waiting;
    for (int i = 0; i < 32; ++i) {  // each asks for both families
      waiting.push_back(std::make_unique<OwnSocket>(request, mainQueue));
      EXPECT_TRUE(waitFor([&] { return (*waiting.back())->connectReport().name.has_value(); }));
    }
    expectToFail("OrvNameLookup", EAI_AGAIN);
    for (const auto& one : waiting) {
      EXPECT_EQ(one->delegate.events, Events{});
      (*one)->close();
      one->eventsAfterAll(mainQueue);
    }
  });
}

TEST_F(FindingTheServer, ThisMachinesNameIsAskedOfNobody) {
  world_->run([this] {
    useOwnNames("127.0.0.1 localhost\n");
    const NameServer silent({Says::Nothing}, {Says::Nothing});
    RawListener server;
    start(server.url("/", "ws", "localhost"));
    RawPeer peer = server.accept();
    peer.acceptHandshake();
    EXPECT_TRUE(waitForEvent("opened"));
    EXPECT_EQ(silent.asked(), 0);
    leave();
  });
}

TEST_F(FindingTheServer, ThatThisMachineHasNoAddressOfAFamilyIsNotWhyThereIsNoWay) {
  world_->run([this] {
    useOwnNames(std::string(kNoWaySixth) + " localhost\n");
    start("ws://localhost:9/");
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(delegate.events, Events{"failed POSIX " + std::to_string(EHOSTUNREACH)});
    leave();
  });
}

TEST_F(FindingTheServer, AThousandAttemptsLeaveNothingOpen) {
  runWithHosts(serverAt("::1", "127.0.0.1"), [this] {
    RawListener server;
    const auto attempt = [&](bool isAwaited) {
      start(server.url("/", "ws", "server.example"));
      if (isAwaited) server.accept();
      socket->setDelegate(nullptr);
      socket->close();
      eventsAfterAll();
    };
    attempt(true);
    const auto before = descriptors();
    for (int i = 0; i < 1'000; ++i) attempt(i % 2 == 0);
    while (server.hasConnection()) server.accept();
    // Look-ups that nobody waits for any more end by themselves.
    EXPECT_TRUE(waitFor([&] { return descriptors() == before; })) << descriptors() - before << " more";
    start("none");
  });
}

}  // namespace
}  // namespace orv::finding_the_server_test
