#pragma once

#include <orvnetwork/platform/NetworkSettings.h>

#include <tests/support/WebSocketFixture.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace orv::test {

/// A server that no look-up on this machine knows: only a proxy gets there.
inline constexpr const char* kBehindProxy = "class.example.org";

inline constexpr const char* kProxyUser = "aNNa-4711";
inline constexpr const char* kProxyPassword = "pLant3d-pa55";
/// The two as basic authorization writes them.
inline constexpr const char* kProxyCredentials = "YU5OYS00NzExOnBMYW50M2QtcGE1NQ==";

/// Takes out of the environment what whoever runs the tests says of proxies there.
inline void forgetProxyVariables() {
  for (const char* name :
       {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"}) {
    ::unsetenv(name);
  }
}

/// A socket that goes through the listener, which is a proxy.
class ThroughProxyTest : public WebSocketTest {
 protected:
  Proxy proxyAt(ProxyKind kind, std::uint16_t port) const { return {kind, "127.0.0.1", port, {}, {}}; }
  Proxy withUser(Proxy proxy) const {
    proxy.user = kProxyUser;
    proxy.password = kProxyPassword;
    return proxy;
  }

  void setProxy(Proxy proxy, std::string exceptions = {}) {
    auto settings = std::make_shared<NetworkSettings>();
    settings->proxy = {ProxySource::Fixed, std::move(proxy), std::move(exceptions)};
    request.network = std::move(settings);
  }
  void takeProxyFromEnvironment() {
    forgetProxyVariables();
    auto settings = std::make_shared<NetworkSettings>();
    settings->proxy.source = ProxySource::Environment;
    request.network = std::move(settings);
  }

  /// Starts to connect through the listener and takes the connection.
  RawPeer startThrough(ProxyKind kind, const std::string& url, bool signsIn = false) {
    const Proxy proxy = proxyAt(kind, listener.port());
    setProxy(signsIn ? withUser(proxy) : proxy);
    start(url);
    return listener.accept();
  }

  /// Waits for the end and returns it, with what is left of the socket gone.
  std::string endOf() {
    EXPECT_TRUE(waitForEnd());
    const Events events = eventsAfterAll();
    EXPECT_EQ(events.size(), 1U);
    return events.empty() ? "" : events.back();
  }
};

}  // namespace orv::test
