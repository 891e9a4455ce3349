#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <string>
#include <string_view>

namespace orv::nested_loop_test {
namespace {

// An observer may run the host's loop, as a modal dialogue does, and come back to a link that is up again.
class NestedLoop : public LinkFixture {
 protected:
  /// The first post of `name` reconnects and runs the loop until the link is up.
  ObserverToken reconnectInside(std::string_view name) {
    return NotificationCenter::defaultCenter().observe(std::string(name), [this](const Notification&) {
      if (std::exchange(entered_, true)) return;
      runFor(2);
      link.reconnect();
      runFor(2);
      EXPECT_TRUE(link.isOpen());
    });
  }

 private:
  bool entered_ = false;
};

TEST_F(NestedLoop, InTheFirstFailureLeavesTheNewLinkAlone) {
  platform.network().planConnect(testing::ConnectPlan::refuse());
  const auto token = reconnectInside(QXNotificationDidAutoReconnectFailed);
  link.watchNetworkStatus();
  runFor(100);
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(attempts().size(), 2u);
  EXPECT_EQ(server.countFrames("PING"), 4u) << "the keep-alive goes on";
}

TEST_F(NestedLoop, InTheSecondFailureArmsNoRetryForALinkThatIsUp) {
  bringUp();
  runFor(10);
  platform.network().planConnect(testing::ConnectPlan::refuse());
  const auto token = reconnectInside(QXNotificationDidFailWithError);
  server.reset(1);
  runFor(100);
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(attempts().size(), 3u);
}

TEST_F(NestedLoop, InACloseLeavesTheNewLinkAlone) {
  bringUp();
  runFor(10);
  const auto token = reconnectInside(QXNotificationDidCloseWithCode);
  server.close(1, 1000);
  runFor(100);
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(attempts().size(), 2u);
  EXPECT_EQ(link.retryTimes(), 0);
}

}  // namespace
}  // namespace orv::nested_loop_test
