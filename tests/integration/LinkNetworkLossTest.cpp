// The link while the machine's network goes away and comes back: a machine and a server, joined by a wire, in
// network namespaces of the test's own.

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>
#include <tests/support/NetworkNamespace.h>

#include <unistd.h>

#include <optional>

namespace orv::link_network_loss_test {
namespace {

using test::NetworkNamespace;

class LinkNetworkLoss : public test::LiveLinkTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0 && !NetworkNamespace::isPermitted()) {
      GTEST_SKIP() << "needs root for network namespaces";
    }
    machine_.emplace();
    school_.emplace();
    machine_->connect("net0", *school_, "net0");
    school_->ip("address add 192.0.2.2/24 dev net0\nlink set net0 up");
    machine_->ip("address add 192.0.2.1/24 dev net0\nlink set net0 up");
    machine_->waitUntilRunning("net0");
    machine_->ip(kGiveRoute);
    DevServerOptions options;
    options.host = "192.0.2.2";
    server_.emplace(options);
    school_->run([this] { server_->start(); });
  }

  static constexpr const char* kGiveRoute = "route add default via 192.0.2.2";
  static constexpr const char* kTakeRoute = "route del default";

  std::optional<NetworkNamespace> machine_;
  std::optional<NetworkNamespace> school_;
  std::optional<DevServer> server_;
};

TEST_F(LinkNetworkLoss, ClosesTheLinkAndOpensItAgainWhenTheNetworkIsBack) {
  machine_->run([this] {
    bringUp(server_->url());
    EXPECT_TRUE(echoes());
    EXPECT_TRUE(link.isWifiNetwork());
    ASSERT_TRUE(waitForReconnectPause());
    notifications.clear();

    machine_->ip(kTakeRoute);
    ASSERT_TRUE(waitForPosted(QXNotificationDidAutoReconnectFailed));
    EXPECT_EQ(notifications[0].name, "QXNotificationReachabilityStatusChange");
    EXPECT_EQ(notifications[0].userInfo, R"({"WNNetworkNotificationKey_Status":0})");
    EXPECT_EQ(notifications[1].name, "QXNotificationDidAutoReconnectFailed");
    EXPECT_EQ(count(QXNotificationDidCloseWithCode), 0u) << "closed on purpose";
    EXPECT_TRUE(link.isClosed());
    EXPECT_FALSE(link.isNetworkEnable());
    EXPECT_FALSE(link.isAutoReconnecting());
    EXPECT_GE(countLogged("Network is broken, close socket"), 1u);
    // The wire itself still works, so the close frame reaches the server.
    EXPECT_TRUE(server_->waitUntil([&] { return server_->connectionCount() == 0; }, test::kLivePatience));

    notifications.clear();
    machine_->ip(kGiveRoute);
    ASSERT_TRUE(waitUntilReopened());
    EXPECT_EQ(notifications[0].userInfo, R"({"WNNetworkNotificationKey_Status":2})");
    EXPECT_TRUE(echoes());
    EXPECT_EQ(server_->counters().opened, 2u);
  });
}

TEST_F(LinkNetworkLoss, DoesNotTryWithoutANetworkAndConnectsWhenItComes) {
  machine_->ip(kTakeRoute);
  machine_->run([this] {
    start(server_->url());
    ASSERT_TRUE(waitForPosted(QXNotificationDidAutoReconnectFailed));
    EXPECT_EQ(server_->counters().tcpAccepted, 0u);
    EXPECT_TRUE(link.isClosed());
    machine_->ip(kGiveRoute);
    ASSERT_TRUE(waitUntilReopened());
    EXPECT_TRUE(echoes());
  });
}

TEST_F(LinkNetworkLoss, SurvivesAWireThatIsPulledAndPutBack) {
  machine_->run([this] {
    bringUp(server_->url());
    ASSERT_TRUE(waitForReconnectPause());
    notifications.clear();
    machine_->ip("link set net0 down");
    ASSERT_TRUE(waitForPosted(QXNotificationDidAutoReconnectFailed));
    EXPECT_TRUE(link.isClosed());
    notifications.clear();
    machine_->ip("link set net0 up");
    machine_->waitUntilRunning("net0");
    machine_->ip(kGiveRoute);
    ASSERT_TRUE(waitUntilReopened());
    EXPECT_TRUE(echoes());
  });
}

}  // namespace
}  // namespace orv::link_network_loss_test
