#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

namespace orv::testing::simulated_reachability_test {
namespace {

using enum ReachabilityStatus;
using Reports = std::vector<ReachabilityStatus>;

struct Watcher {
  explicit Watcher(SimulatedPlatform& platform) : platform_(platform) {}
  void start() {
    platform_.reachability().startMonitoring([this](ReachabilityStatus status) {
      EXPECT_TRUE(platform_.mainQueue().isCurrent());
      reports.push_back(status);
    });
  }
  SimulatedPlatform& platform_;
  Reports reports;
};

TEST(SimulatedReachability, MakesTheFirstReportLaterWithTheStatusOfThatMoment) {
  SimulatedPlatform platform;
  Watcher watcher(platform);
  platform.reachability().setStatus(NotReachable);
  watcher.start();
  EXPECT_TRUE(watcher.reports.empty());
  platform.settle();
  EXPECT_EQ(watcher.reports, Reports{NotReachable});
}

TEST(SimulatedReachability, PassesRepeatedReportsOn) {
  SimulatedPlatform platform;
  Watcher watcher(platform);
  watcher.start();
  platform.settle();
  platform.reachability().report(WiFi);
  platform.reachability().report(Cellular);
  platform.reachability().report(Cellular);
  EXPECT_EQ(watcher.reports, Reports{WiFi});
  platform.settle();
  EXPECT_EQ(watcher.reports, (Reports{WiFi, WiFi, Cellular, Cellular}));
  EXPECT_EQ(platform.reachability().status(), Cellular);
}

TEST(SimulatedReachability, CanWithholdTheFirstReport) {
  SimulatedPlatform platform;
  Watcher watcher(platform);
  platform.reachability().withholdFirstReport(true);
  watcher.start();
  platform.settle();
  EXPECT_TRUE(watcher.reports.empty());
  platform.reachability().report(WiFi);
  platform.settle();
  EXPECT_EQ(watcher.reports, Reports{WiFi});
}

TEST(SimulatedReachability, DropsQueuedReportsWhenStopped) {
  SimulatedPlatform platform;
  Watcher watcher(platform);
  watcher.start();
  platform.settle();
  platform.reachability().report(NotReachable);
  platform.reachability().stopMonitoring();
  platform.reachability().report(WiFi);
  platform.settle();
  EXPECT_EQ(watcher.reports, Reports{WiFi});
  EXPECT_FALSE(platform.reachability().isMonitoring());
}

TEST(SimulatedReachability, ReportsAgainToTheNewCallbackWhenStartedAgain) {
  SimulatedPlatform platform;
  Watcher first(platform);
  Watcher second(platform);
  first.start();
  platform.settle();
  second.start();
  platform.settle();
  EXPECT_EQ(first.reports.size(), 1U);
  EXPECT_EQ(second.reports, Reports{WiFi});
}

TEST(SimulatedReachability, TellsWhichServerWasNamed) {
  SimulatedPlatform platform;
  platform.reachability().setServer("ws://127.0.0.1:1");
  EXPECT_EQ(platform.reachability().server(), "ws://127.0.0.1:1");
}

}  // namespace
}  // namespace orv::testing::simulated_reachability_test
