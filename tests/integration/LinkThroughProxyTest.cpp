// The whole link through a proxy, and everything that a run leaves behind is searched for who signed in there.

#include <orvnetwork/platform/Console.h>

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>
#include <tests/support/NetworkNamespace.h>
#include <tests/support/ProxyPeer.h>
#include <tests/support/RealProxy.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace orv::link_through_proxy_test {
namespace {

using namespace test;

class LinkThroughProxy : public LiveLinkTest {
 protected:
  LinkThroughProxy() {
    Console::setSink([this](std::string_view line) {
      const std::lock_guard lock(mutex_);
      console_ += std::string(line) + "\n";
    });
  }

  void SetUp() override {
    if (geteuid() != 0 && !NetworkNamespace::isPermitted()) {
      GTEST_SKIP() << "needs root for network namespaces";
    }
    machine_.emplace();
    school_.emplace();
    machine_->connect("net0", *school_, "net0");
    school_->ip("address add 192.0.2.2/24 dev net0\nlink set net0 up");
    machine_->ip("link set lo up\naddress add 192.0.2.1/24 dev net0\nlink set net0 up");
    machine_->waitUntilRunning("net0");
    machine_->ip("route add default via 192.0.2.2");
    DevServerOptions options;
    options.host = "192.0.2.2";
    server_.emplace(options);
    school_->run([this] { server_->start(); });
  }

  void goThrough(const RealProxy& proxy, const std::string& password) {
    NetworkSettings settings;
    settings.proxy = {ProxySource::Fixed, proxy.address(), {}};
    settings.proxy.proxy.user = kProxyUser;
    settings.proxy.proxy.password = password;
    link.setNetworkSettings(std::move(settings));
  }

  /// All that the link has told and written.
  std::string everythingTold() {
    std::string all;
    for (const std::string& line : logLines()) all += line + "\n";
    for (const Posted& posted : notifications) all += posted.name + posted.userInfo + "\n";
    if (const auto failure = link.linkFailure()) all += failure->text + "\n" + failure->cause.text() + "\n";
    const ConnectReport report = link.connectReport();
    all += report.throughProxy.value_or("") + "\n";
    for (const auto& attempt : report.attempts) {
      all += attempt.address + (attempt.error ? attempt.error->text() : "") + "\n";
    }
    for (const auto& frame : server_->receivedFrames()) all += frame.text + "\n";
    const std::lock_guard lock(mutex_);
    return all + console_ + filesOfHome();
  }
  void expectNoCredentials(const std::string& password = kProxyPassword) {
    const std::string all = everythingTold();
    for (const std::string_view secret :
         {std::string_view(kProxyUser), std::string_view(password), std::string_view(kProxyCredentials)}) {
      EXPECT_EQ(all.find(secret), std::string::npos) << secret;
    }
  }

  std::optional<NetworkNamespace> machine_;
  std::optional<NetworkNamespace> school_;
  std::optional<DevServer> server_;

 private:
  /// What the library writes, and not what the proxy needs.
  static std::string filesOfHome() {
    std::string all;
    for (auto at = std::filesystem::recursive_directory_iterator(std::getenv("HOME"));
         at != std::filesystem::recursive_directory_iterator(); ++at) {
      if (at->path().filename() == "proxy") at.disable_recursion_pending();
      if (!at->is_regular_file()) continue;
      std::ifstream file(at->path(), std::ios::binary);
      all.append(std::istreambuf_iterator<char>(file), {});
    }
    return all;
  }

  std::mutex mutex_;
  std::string console_;
};

TEST_F(LinkThroughProxy, ComesUpAndTellsNobodyWhoSignedIn) {
  machine_->run([this] {
    const RealProxy proxy(ProxyProgram::Tinyproxy, true);
    goThrough(proxy, kProxyPassword);
    bringUp(server_->url());
    EXPECT_TRUE(echoes());
    EXPECT_EQ(link.connectReport().throughProxy, shownProxy(proxy.address()));
    EXPECT_GT(link.connectReport().proxy.value().count(), 0);
    expectNoCredentials();
  });
}

TEST_F(LinkThroughProxy, TellsThatTheProxyRefusesTheUserAndNotWhoThatIs) {
  machine_->run([this] {
    const RealProxy proxy(ProxyProgram::Microsocks, true);
    goThrough(proxy, "wr0ng-Pa55");
    start(server_->url());
    ASSERT_TRUE(waitForPosted(QXNotificationDidAutoReconnectFailed));
    ASSERT_TRUE(link.linkFailure());
    EXPECT_EQ(link.linkFailure()->trouble, LinkTrouble::ProxyRefusesUser);
    EXPECT_EQ(link.linkFailure()->text, "the proxy " + shownProxy(proxy.address()) + " refuses the user");
    EXPECT_EQ(server_->counters().tcpAccepted, 0U);
    expectNoCredentials("wr0ng-Pa55");
  });
}

TEST_F(LinkThroughProxy, TellsTheVariableThatNamesNoProxyAndNotWhatItHolds) {
  machine_->run([this] {
    forgetProxyVariables();
    ::setenv("http_proxy", (std::string("https://") + kProxyUser + ":" + kProxyPassword + "@proxy:1").c_str(),
             1);
    NetworkSettings settings;
    settings.proxy.source = ProxySource::Environment;
    link.setNetworkSettings(std::move(settings));
    start(server_->url());
    ASSERT_TRUE(waitForPosted(QXNotificationDidAutoReconnectFailed));
    EXPECT_EQ(link.linkFailure().value().trouble, LinkTrouble::BadProxy);
    EXPECT_TRUE(link.linkFailure()->text.starts_with("the variable http_proxy names no proxy"));
    EXPECT_EQ(server_->counters().tcpAccepted, 0U) << "nothing goes straight";
    expectNoCredentials();
  });
}

}  // namespace
}  // namespace orv::link_through_proxy_test
