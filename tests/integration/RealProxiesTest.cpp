// Through proxies as they are installed elsewhere, in a network of the test's own: a server on this machine's own
// address is reached straight, so this one has another.

#include <tests/support/NetworkNamespace.h>
#include <tests/support/ProxyPeer.h>
#include <tests/support/RawPeer.h>
#include <tests/support/RealProxy.h>
#include <tests/support/TlsIdentity.h>

#include <unistd.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace orv::real_proxies_test {
namespace {

using namespace test;

class NetworkWithProxy : public ThroughProxyTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0 && !NetworkNamespace::isPermitted()) {
      GTEST_SKIP() << "needs root for network namespaces";
    }
  }

  using Body = std::function<void(const RealProxy& proxy, RawListener& server)>;

  /// Runs `body` in the network with the proxy in it.
  void inNetworkOf(ProxyProgram program, bool wantsUser, const Body& body) {
    const NetworkNamespace world;
    world.ip(std::string("link set lo up\naddress add ") + RealProxy::kServerAddress + "/32 dev lo");
    world.run([&] {
      RawListener server(true, AF_INET, RealProxy::kServerAddress);
      const RealProxy proxy(program, wantsUser);
      body(proxy, server);
    });
  }

  /// How an attempt ends that does not come to the server.
  std::string endOfAttempt(const Proxy& proxy, const std::string& url) {
    delegate.events.clear();
    setProxy(proxy);
    start(url);
    return endOf();
  }

  /// Connects through the proxy and talks to the server.
  void talk(const Proxy& proxy, RawListener& server, const std::string& host,
            const TlsIdentity* identity = nullptr) {
    delegate.events.clear();
    setProxy(proxy);
    start(server.url("/room", identity != nullptr ? "wss" : "ws", host));
    RawPeer peer = server.accept();
    if (identity != nullptr) {
      ASSERT_TRUE(peer.acceptTls(identity->context()));
    }
    const std::string upgrade = peer.readRequest();
    EXPECT_EQ(upgrade.find("uthorization"), std::string::npos) << upgrade;
    peer.send(RawPeer::agreement(upgrade));
    EXPECT_TRUE(waitForEvent("opened"));
    EXPECT_EQ(socket->connectReport().throughProxy, shownProxy(proxy));
    send(std::string(100'000, 'x'));
    EXPECT_EQ(peer.readFrame()->payload.size(), 100'000U);
    peer.send(frameBytes(opcode::kText, "answer"));
    EXPECT_TRUE(waitForEvent("text answer"));
    socket->close();
    EXPECT_EQ(peer.readFrame()->closeCode(), 1000);
    peer.send(frameBytes(opcode::kClose, closePayload(1000)));
    EXPECT_TRUE(waitForEnd());
    peer.close();
    eventsAfterAll();
  }
};

class RealProxies : public NetworkWithProxy, public testing::WithParamInterface<ProxyProgram> {
 protected:
  void inNetwork(bool wantsUser, const Body& body) { inNetworkOf(GetParam(), wantsUser, body); }

  std::string byProgram(const char* tinyproxy, const char* microsocks, const char* dante) const {
    const char* const outcomes[] = {tinyproxy, microsocks, dante};
    return std::string("failed OrvProxy ") + outcomes[static_cast<int>(GetParam())];
  }
};

TEST_P(RealProxies, LetALinkThroughByNameAndByNumber) {
  inNetwork(false, [this](const RealProxy& proxy, RawListener& server) {
    talk(proxy.address(), server, RealProxy::kServerName);
    talk(proxy.address(), server, RealProxy::kServerAddress);
    talk(withUser(proxy.address()), server, RealProxy::kServerName);
  });
}

TEST_P(RealProxies, TakeTheRightUserAndNoOther) {
  inNetwork(true, [this](const RealProxy& proxy, RawListener& server) {
    const Proxy good = withUser(proxy.address());
    talk(good, server, RealProxy::kServerName);
    const std::string url = server.url("/", "ws", RealProxy::kServerName);
    EXPECT_EQ(endOfAttempt(proxy.address(), url), "failed OrvProxy -1101");
    Proxy wrong = good;
    wrong.password = "wr0ng";
    EXPECT_EQ(endOfAttempt(wrong, url), "failed OrvProxy -1101");
    EXPECT_EQ(delegate.lastError.description.find("wr0ng"), std::string::npos);
    wrong = good;
    wrong.user = "n0body";
    EXPECT_EQ(endOfAttempt(wrong, url), "failed OrvProxy -1101");
    talk(good, server, RealProxy::kServerName);
  });
}

TEST_P(RealProxies, LetTlsThroughToTheServer) {
  const TlsIdentity identity(std::string("DNS:") + RealProxy::kServerName);
  identity.trust();
  inNetwork(true, [&](const RealProxy& proxy, RawListener& server) {
    talk(withUser(proxy.address()), server, RealProxy::kServerName, &identity);
  });
}

TEST_P(RealProxies, TellThatNobodyListensThere) {
  inNetwork(false, [this](const RealProxy& proxy, RawListener&) {
    const RawListener closed(false, AF_INET, RealProxy::kServerAddress);
    EXPECT_EQ(endOfAttempt(proxy.address(), closed.url("/", "ws", RealProxy::kServerAddress)),
              byProgram("500", "5", "5"));
  });
}

TEST_P(RealProxies, TellThatTheNameIsNotKnown) {
  inNetwork(false, [this](const RealProxy& proxy, RawListener&) {
    EXPECT_EQ(endOfAttempt(proxy.address(), "ws://nobody.example.org/"), byProgram("500", "1", "4"));
  });
}

std::string nameOf(const ::testing::TestParamInfo<ProxyProgram>& instance) {
  constexpr const char* kNames[] = {"Tinyproxy", "Microsocks", "Dante"};
  return kNames[static_cast<int>(instance.param)];
}

INSTANTIATE_TEST_SUITE_P(OfTheDistribution, RealProxies,
                         ::testing::Values(ProxyProgram::Tinyproxy, ProxyProgram::Microsocks,
                                           ProxyProgram::Dante),
                         nameOf);

TEST_F(NetworkWithProxy, ToldThatTheRulesForbidTheServer) {
  inNetworkOf(ProxyProgram::Dante, false, [this](const RealProxy& proxy, RawListener&) {
    const std::string url =
        std::string("ws://") + RealProxy::kServerAddress + ":" + std::to_string(RealProxy::kForbiddenPort);
    EXPECT_EQ(endOfAttempt(proxy.address(), url), "failed OrvProxy 2");
  });
}

}  // namespace
}  // namespace orv::real_proxies_test
