// `orv doctor` where the network is at fault: in networks of the tests' own, with proxies and servers that misbehave there.

#ifdef ORV_PROGRAM

#include <devserver/DevServer.h>
#include <tests/cli/DoctorRun.h>
#include <tests/support/NameServer.h>
#include <tests/support/NetworkNamespace.h>
#include <tests/support/ProxyPeer.h>
#include <tests/support/QuietNetwork.h>
#include <tests/support/RawPeer.h>
#include <tests/support/SystemCallFilter.h>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace orv::doctor_network_test {
namespace {

using namespace test;
using Says = NameServer::Says;

class DoctorInANetwork : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0 && !NetworkNamespace::isPermitted()) {
      GTEST_SKIP() << "needs root for network namespaces";
    }
    forgetProxyVariables();
    network_.emplace();
  }
  void run(const std::function<void()>& body) { network_->run(body); }
  /// The same where the rest of the world is behind a route, so that not to have one is not the fault.
  void runWithRoute(const std::function<void()>& body) {
    network_->leadOut();
    run(body);
  }

  std::optional<QuietNetwork> network_;
};

TEST_F(DoctorInANetwork, WhoseNameServerIsSilent) {
  runWithRoute([] {
    useOwnNames("");
    const NameServer silent({Says::Nothing}, {Says::Nothing});
    const Findings found = doctor("ws://server.example", "1");
    EXPECT_EQ(found.failures(), Names{"name"}) << found.result.out;
    EXPECT_EQ(found.code("name"), "nameServerSilent");
    EXPECT_EQ(found.text("connect"), "because name failed");
    EXPECT_EQ(found.result.exitCode, 3);
  });
}

TEST_F(DoctorInANetwork, WhoseNameServerKnowsNoSuchName) {
  runWithRoute([] {
    useOwnNames("");
    const NameServer server({Says::NoSuchName}, {Says::NoSuchName});
    const Findings found = doctor("ws://server.example");
    EXPECT_EQ(found.failures(), Names{"name"}) << found.result.out;
    EXPECT_EQ(found.code("name"), "noSuchName");
  });
}

TEST_F(DoctorInANetwork, WhoseNameServerFails) {
  runWithRoute([] {
    useOwnNames("");
    const NameServer server({Says::Failure}, {Says::Failure});
    const Findings found = doctor("ws://server.example", "5");
    EXPECT_EQ(found.failures(), Names{"name"}) << found.result.out;
    EXPECT_EQ(found.code("name"), "nameServerFails");
    EXPECT_GT(server.asked(), 0);
    EXPECT_EQ(found.text("connect"), "because name failed");
    EXPECT_EQ(found.result.exitCode, 3);
  });
}

TEST_F(DoctorInANetwork, WhereNothingIsAtTheAddressOfTheNameServer) {
  runWithRoute([] {
    useOwnNames("");
    const Findings found = doctor("ws://server.example", "5");
    EXPECT_EQ(found.failures(), Names{"name"}) << found.result.out;
    EXPECT_EQ(found.code("name"), "nameServerFails");
  });
}

// A silent server that the resolver does give up is told of by the same code of the system as one that fails.
TEST_F(DoctorInANetwork, WhoseResolverGivesItsNameServerUp) {
  runWithRoute([] {
    useOwnNames("", "options timeout:1 attempts:1");
    const NameServer silent({Says::Nothing}, {Says::Nothing});
    const Findings found = doctor("ws://server.example", "20");
    EXPECT_EQ(found.failures(), Names{"name"}) << found.result.out;
    EXPECT_EQ(found.code("name"), "nameServerSilent");
    EXPECT_GE(found.of("name").at("ms").to_number<double>(), 900);
    EXPECT_LT(found.result.seconds, 4) << "the resolver has ended it, not the limit of 5 s";
  });
}

TEST_F(DoctorInANetwork, OnAMachineThatHasNoSocketLeftToAskForNames) {
  runWithRoute([] {
    useOwnNames("");
    const NameServer server({Says::NoSuchName}, {Says::NoSuchName});
    refuseSystemCalls({{__NR_socket, EMFILE, AF_INET}, {__NR_socket, EMFILE, AF_INET6}});
    const Findings found = doctor("ws://server.example");
    EXPECT_EQ(found.failures(), Names{"name"}) << found.result.out;
    EXPECT_EQ(found.code("name"), "failed");
    // The resolver does not say what it was.
    EXPECT_EQ(found.text("name"), "server.example could not be looked up: System error");
    EXPECT_EQ(server.asked(), 0);
  });
}

TEST_F(DoctorInANetwork, ThatDropsWhatIsSent) {
  runWithRoute([] {
    const Findings found = doctor(std::string("ws://") + QuietNetwork::kSilentFourth, "1");
    EXPECT_EQ(found.failures(), Names{"connect"}) << found.result.out;
    EXPECT_EQ(found.code("connect"), "noAnswer");
  });
}

TEST_F(DoctorInANetwork, ThatHasNoWayThere) {
  runWithRoute([] {
    const Findings found = doctor(std::string("ws://") + QuietNetwork::kNoWayFourth);
    EXPECT_EQ(found.failures(), Names{"connect"}) << found.result.out;
    EXPECT_EQ(found.code("connect"), "unreachable");
  });
}

TEST_F(DoctorInANetwork, ThatForbidsTheWayThere) {
  network_->forbid("203.0.113.0/24");
  runWithRoute([] {
    const Findings found = doctor("ws://203.0.113.9");
    EXPECT_EQ(found.failures(), Names{"connect"}) << found.result.out;
    EXPECT_EQ(found.code("connect"), "failed");
    EXPECT_NE(found.text("connect").find("203.0.113.9 port 80: "), std::string::npos)
        << found.text("connect");
    EXPECT_EQ(found.text("upgrade"), "because connect failed");
  });
}

TEST_F(DoctorInANetwork, WhereTheSixthVersionIsDead) {
  runWithRoute([] {
    useOwnNames(serverAt(QuietNetwork::kSilentSixth, "127.0.0.1"));
    DevServer::Options options;
    options.names = {"server.example"};
    DevServer server(options);
    server.start();
    const Findings found = doctor("ws://server.example:" + std::to_string(server.port()), "5");
    EXPECT_EQ(found.failures(), Names()) << found.result.out;
    EXPECT_EQ(found.code("connect"), "wideIsDead");
    EXPECT_NE(found.text("name").find(QuietNetwork::kSilentSixth), std::string::npos) << found.text("name");
    EXPECT_EQ(found.of("name").at("facts").at("addresses").as_array().size(), 2U) << found.result.out;
    EXPECT_EQ(found.verdict("connect"), "warn");
    EXPECT_EQ(found.result.exitCode, 0);
  });
}

TEST_F(DoctorInANetwork, FromWhichNothingLeadsOut) {
  run([] {
    const Findings found = doctor(std::string("ws://") + QuietNetwork::kNoWayFourth);
    EXPECT_EQ(found.failures(), Names{"network"}) << found.result.out;
    EXPECT_EQ(found.code("network"), "noRoute");
    EXPECT_EQ(found.text("connect"), "because network failed");
    EXPECT_EQ(found.text("clock"), "because network failed");
    EXPECT_EQ(found.result.exitCode, 3);
  });
}

TEST_F(DoctorInANetwork, FromWhichNothingLeadsOutButTheServerIsInIt) {
  run([] {
    DevServer::Options options;
    options.host = "192.0.2.1";
    DevServer server(options);
    server.start();
    const Findings found = doctor("ws://192.0.2.1:" + std::to_string(server.port()));
    EXPECT_EQ(found.failures(), Names()) << found.result.out;
    EXPECT_EQ(found.code("network"), "good");
    EXPECT_EQ(found.code("ping"), "good");
    EXPECT_EQ(found.code("tls"), "none") << "what is sent there leaves this machine";
    EXPECT_EQ(found.verdict("tls"), "warn");
    EXPECT_EQ(found.result.exitCode, 0);
    // Somebody has answered, so it is not for want of a route.
    EXPECT_EQ(doctor("ws://192.0.2.1:1").code("connect"), "refused");
  });
}

/// Answers one client, which has said what it wants, and ends the connection.
class OneAnswer {
 public:
  OneAnswer(RawListener& listener, std::string answer)
      : thread_([&listener, answer = std::move(answer)] {
          RawPeer peer = listener.accept();
          peer.readOnce();
          peer.send(answer);
          peer.readEnd();
        }) {}
  OneAnswer(const OneAnswer&) = delete;
  OneAnswer& operator=(const OneAnswer&) = delete;
  ~OneAnswer() { thread_.join(); }

 private:
  std::thread thread_;
};

TEST_F(DoctorInANetwork, WithProxiesThatDoNotLetItOut) {
  struct Case {
    const char* answer;
    const char* scheme;
    const char* code;
  };
  runWithRoute([&] {
    for (const Case& one :
         {Case{"HTTP/1.0 407 Who\r\n\r\n", "http", "refusesUser"},
          Case{"HTTP/1.1 403 No\r\n\r\n", "http", "refusesServer"},
          Case{"HTTP/1.1 503 Away\r\n\r\n", "http", "cannotReach"},
          Case{"SSH-2.0-server\r\n", "http", "notUnderstood"}, Case{"\x05\xff", "socks5", "refusesUser"},
          Case{"HTTP/1.1 400 Bad\r\n\r\n", "socks5", "notUnderstood"}}) {
      RawListener listener;
      const OneAnswer proxy(listener, one.answer);
      const Findings found =
          doctor("ws://198.51.100.1", "2",
                 {"--proxy", std::string(one.scheme) + "://127.0.0.1:" + std::to_string(listener.port())});
      EXPECT_EQ(found.failures(), Names{"proxy"}) << found.result.out;
      EXPECT_EQ(found.code("proxy"), one.code) << found.text("proxy");
      EXPECT_EQ(found.text("connect"), "because proxy failed");
    }
  });
}

TEST_F(DoctorInANetwork, WithAProxyThatIsNotThere) {
  runWithRoute([] {
    const RawListener refusing(false);
    const std::string address = "http://127.0.0.1:" + std::to_string(refusing.port());
    const Findings found = doctor("ws://198.51.100.1", "2", {"--proxy", address});
    EXPECT_EQ(found.failures(), Names{"proxy"}) << found.result.out;
    EXPECT_EQ(found.code("proxy"), "noAnswer");
    ::setenv("http_proxy", "ftp://127.0.0.1", 1);
    EXPECT_EQ(doctor("ws://198.51.100.1", "2", {"--proxy", "environment"}).code("proxy"), "badSettings");
    ::setenv("http_proxy", address.c_str(), 1);
    EXPECT_EQ(doctor("ws://198.51.100.1", "2", {"--proxy", "environment"}).code("proxy"), "noAnswer");
    EXPECT_EQ(doctor("ws://192.0.2.1:1", "2").code("proxy"), "notUsed");
    ::unsetenv("http_proxy");
  });
}

}  // namespace
}  // namespace orv::doctor_network_test

#endif
