#include <orvnetwork/platform/native/network/ReachabilitySubscription.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace orv::reachability_subscription_test {
namespace {

constexpr auto kNone = ReachabilityStatus::NotReachable;
constexpr auto kCellular = ReachabilityStatus::Cellular;
constexpr auto kWiFi = ReachabilityStatus::WiFi;

class ReachabilitySubscriptionTest : public ::testing::Test {
 protected:
  using Statuses = std::vector<ReachabilityStatus>;

  Reachability::Callback recordIn(Statuses& statuses) {
    return [&statuses](ReachabilityStatus status) { statuses.push_back(status); };
  }

  Statuses reports_;
  ReachabilitySubscription subscription_;
};

TEST_F(ReachabilitySubscriptionTest, DeliversEveryReportOfItsPeriodEvenWhenTheStatusIsTheSame) {
  subscription_.start(recordIn(reports_));
  const auto period = subscription_.monitoredPeriod();
  for (const auto status : {kWiFi, kWiFi, kNone}) subscription_.deliver(period, {status, kNone});
  EXPECT_EQ(reports_, (Statuses{kWiFi, kWiFi, kNone}));
}

TEST_F(ReachabilitySubscriptionTest, TheServerInForceAtDeliveryDecidesWhichFactCounts) {
  subscription_.start(recordIn(reports_));
  const auto period = subscription_.monitoredPeriod();
  subscription_.deliver(period, {kCellular, kWiFi});
  subscription_.setServerIsOnThisMachine(true);
  subscription_.deliver(period, {kCellular, kWiFi});
  subscription_.setServerIsOnThisMachine(false);
  subscription_.deliver(period, {kCellular, kWiFi});
  EXPECT_EQ(reports_, (Statuses{kCellular, kWiFi, kCellular}));
}

TEST_F(ReachabilitySubscriptionTest, ReportsThatWereQueuedBeforeAStopAreDropped) {
  subscription_.start(recordIn(reports_));
  const auto period = subscription_.monitoredPeriod();
  subscription_.stop();
  EXPECT_EQ(subscription_.monitoredPeriod(), 0U);
  subscription_.deliver(period, {kWiFi, kWiFi});
  EXPECT_TRUE(reports_.empty());
}

TEST_F(ReachabilitySubscriptionTest, StartingAgainDropsOldReportsAndReplacesTheCallback) {
  Statuses later;
  subscription_.start(recordIn(reports_));
  const auto first = subscription_.monitoredPeriod();
  subscription_.start(recordIn(later));
  const auto second = subscription_.monitoredPeriod();
  EXPECT_NE(first, second);
  subscription_.deliver(first, {kWiFi, kWiFi});
  subscription_.deliver(second, {kNone, kNone});
  EXPECT_TRUE(reports_.empty());
  EXPECT_EQ(later, Statuses{kNone});
}

TEST_F(ReachabilitySubscriptionTest, AnEmptyCallbackIsMonitoredAndHearsNothing) {
  subscription_.start(nullptr);
  EXPECT_NE(subscription_.monitoredPeriod(), 0U);
  subscription_.deliver(subscription_.monitoredPeriod(), {kWiFi, kWiFi});
}

TEST_F(ReachabilitySubscriptionTest, TheCallbackMayStopAndStartAgain) {
  subscription_.start([this](ReachabilityStatus) {
    subscription_.stop();
    subscription_.start(recordIn(reports_));
  });
  subscription_.deliver(subscription_.monitoredPeriod(), {kNone, kNone});
  subscription_.deliver(subscription_.monitoredPeriod(), {kWiFi, kNone});
  EXPECT_EQ(reports_, Statuses{kWiFi});
}

TEST_F(ReachabilitySubscriptionTest, AReplacedCallbackIsDestroyedWhereItMayUseTheSubscription) {
  struct AsksWhenDestroyed {
    explicit AsksWhenDestroyed(ReachabilitySubscription& asked) : subscription(asked) {}
    ~AsksWhenDestroyed() { subscription.monitoredPeriod(); }
    ReachabilitySubscription& subscription;
  };
  auto asks = std::make_shared<AsksWhenDestroyed>(subscription_);
  const std::weak_ptr<AsksWhenDestroyed> alive = asks;
  subscription_.start([asks = std::move(asks)](ReachabilityStatus) {});
  EXPECT_FALSE(alive.expired());
  subscription_.stop();
  EXPECT_TRUE(alive.expired());
}

}  // namespace
}  // namespace orv::reachability_subscription_test
