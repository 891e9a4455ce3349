#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/native/network/NativeReachability.h>
#include <orvnetwork/platform/native/network/NetworkWatcher.h>
#include <orvnetwork/platform/native/network/ReachabilitySubscription.h>

#include <tests/support/NetworkNamespace.h>
#include <tests/support/PumpedExecutor.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace orv::native_reachability_test {
namespace {

using test::NetworkNamespace;
using test::PumpedExecutor;

constexpr auto kNone = ReachabilityStatus::NotReachable;
constexpr auto kCellular = ReachabilityStatus::Cellular;
constexpr auto kWiFi = ReachabilityStatus::WiFi;

/// A machine with a link "net0" to a neighbour, and what is reported there.
class NativeReachabilityTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0 && !NetworkNamespace::isPermitted()) {
      GTEST_SKIP() << "needs root for network namespaces";
    }
    machine_.emplace();
    neighbour_.emplace();
  }

  /// Gives the machine a working link with an address, and no default route.
  void plugIn(const std::string& link = "net0", const std::string& subnet = "192.0.2") {
    machine_->connect(link, *neighbour_, link);
    neighbour_->ip("link set " + link + " up");
    machine_->ip("address add " + subnet + ".1/24 dev " + link + "\nlink set " + link + " up");
    machine_->waitUntilRunning(link);
  }

  /// The same with a link "modem0" that the system calls cellular.
  void plugInModem() {
    std::filesystem::create_directories(linkInformation_ / "modem0");
    std::ofstream(linkInformation_ / "modem0" / "uevent") << "DEVTYPE=wwan\nINTERFACE=modem0\n";
    plugIn("modem0", "198.51.100");
  }

  NativeReachabilityOptions options() const {
    NativeReachabilityOptions options;
    options.linkInformation = linkInformation_;
    return options;
  }

  std::unique_ptr<Reachability> make() { return makeNativeReachability(queue_, options()); }

  Reachability::Callback record() {
    return [this](ReachabilityStatus status) { reports_.push_back(status); };
  }

  /// Makes an object that watches the machine's network, and waits for its first report.
  std::unique_ptr<Reachability> watch(const OptionalString& server = std::nullopt) {
    std::unique_ptr<Reachability> reachability = make();
    reachability->setServer(server);
    machine_->run([&] { reachability->startMonitoring(record()); });
    EXPECT_TRUE(reports_.empty()) << "reported inside startMonitoring";
    EXPECT_TRUE(waitForReports(1));
    return reachability;
  }

  bool waitForReports(std::size_t count) {
    return queue_.pumpUntil([&] { return reports_.size() >= count; });
  }

  /// Waits until the newest report is `status`, whatever came before.
  bool waitForStatus(ReachabilityStatus status) {
    return queue_.pumpUntil([&] { return !reports_.empty() && reports_.back() == status; });
  }

  const std::filesystem::path linkInformation_ = std::filesystem::path(std::getenv("HOME")) / "net";
  std::optional<NetworkNamespace> machine_;
  std::optional<NetworkNamespace> neighbour_;
  PumpedExecutor queue_;
  std::vector<ReachabilityStatus> reports_;
};

TEST_F(NativeReachabilityTest, WithoutADefaultRouteNothingIsReachable) {
  plugIn();
  const auto reachability = watch();
  EXPECT_EQ(reports_.front(), kNone);
}

TEST_F(NativeReachabilityTest, ADefaultRouteThatIsThereAlreadyIsReportedFirst) {
  plugIn();
  machine_->ip("route add default via 192.0.2.2");
  const auto reachability = watch();
  EXPECT_EQ(reports_.front(), kWiFi);
}

TEST_F(NativeReachabilityTest, ADefaultRouteThatComesAndGoesIsReported) {
  plugIn();
  const auto reachability = watch();
  machine_->ip("route add default via 192.0.2.2");
  EXPECT_TRUE(waitForStatus(kWiFi));
  machine_->ip("route del default");
  EXPECT_TRUE(waitForStatus(kNone));
}

TEST_F(NativeReachabilityTest, AnotherDefaultRouteIsReportedThoughTheStatusIsTheSame) {
  plugIn();
  machine_->ip("route add default via 192.0.2.2");
  const auto reachability = watch();
  ASSERT_EQ(reports_.back(), kWiFi);
  const std::size_t before = reports_.size();
  machine_->ip("route replace default via 192.0.2.3");
  EXPECT_TRUE(waitForReports(before + 1));
  EXPECT_EQ(reports_.back(), kWiFi);
}

TEST_F(NativeReachabilityTest, AnotherAddressIsReportedThoughTheWayOutIsTheSame) {
  plugIn();
  machine_->ip("route add default via 192.0.2.2");
  const auto reachability = watch();
  for (const char* change : {"address add 192.0.2.7/24 dev net0", "address del 192.0.2.7/24 dev net0",
                             "address add 2001:db8::7/64 dev net0 nodad"}) {
    const std::size_t before = reports_.size();
    machine_->ip(change);
    EXPECT_TRUE(waitForReports(before + 1)) << change;
    EXPECT_EQ(reports_.back(), kWiFi) << change;
  }
}

TEST_F(NativeReachabilityTest, ALinkThatIsTakenDownTakesTheNetworkWithIt) {
  plugIn();
  machine_->ip("route add default via 192.0.2.2");
  const auto reachability = watch();
  machine_->ip("link set net0 down");
  EXPECT_TRUE(waitForStatus(kNone));
  machine_->ip("link set net0 up\nroute add default via 192.0.2.2");
  EXPECT_TRUE(waitForStatus(kWiFi));
}

TEST_F(NativeReachabilityTest, AWireThatIsPulledIsReportedThoughTheRouteStays) {
  plugIn();
  machine_->ip("route add default via 192.0.2.2");
  const auto reachability = watch();
  ASSERT_TRUE(waitForStatus(kWiFi));
  neighbour_->ip("link set net0 down");
  EXPECT_TRUE(waitForStatus(kNone));
  neighbour_->ip("link set net0 up");
  EXPECT_TRUE(waitForStatus(kWiFi));
}

TEST_F(NativeReachabilityTest, Ipv6AloneIsEnough) {
  plugIn();
  machine_->ip("address flush dev net0\naddress add 2001:db8::1/64 dev net0 nodad");
  const auto reachability = watch();
  ASSERT_EQ(reports_.front(), kNone);
  machine_->ip("route add default via 2001:db8::2 metric 1024");
  EXPECT_TRUE(waitForStatus(kWiFi));
  machine_->ip("route del default via 2001:db8::2");
  EXPECT_TRUE(waitForStatus(kNone));
}

TEST_F(NativeReachabilityTest, RoutesThatLeadNowhereDoNotCount) {
  plugIn();
  machine_->ip(
      "route add unreachable ::/0 metric 4294967295\nroute add blackhole default metric 9\n"
      "route add default via 192.0.2.2 table 100\nroute add 128.0.0.0/1 via 192.0.2.2");
  const auto reachability = watch();
  EXPECT_EQ(reports_.front(), kNone);
}

TEST_F(NativeReachabilityTest, ARouteOverTwoLinksCountsUntilBothAreDown) {
  plugIn("net0", "192.0.2");
  plugIn("net1", "198.51.100");
  machine_->ip("route add default nexthop via 192.0.2.2 dev net0 nexthop via 198.51.100.2 dev net1");
  const auto reachability = watch();
  EXPECT_EQ(reports_.front(), kWiFi);
  const std::size_t before = reports_.size();
  neighbour_->ip("link set net0 down");
  EXPECT_TRUE(waitForReports(before + 1));
  EXPECT_EQ(reports_.back(), kWiFi);
  neighbour_->ip("link set net1 down");
  EXPECT_TRUE(waitForStatus(kNone));
}

TEST_F(NativeReachabilityTest, ALinkOfTypeWwanIsCellular) {
  plugIn("net0", "192.0.2");
  plugInModem();
  machine_->ip("route add default via 198.51.100.2 metric 700");
  const auto reachability = watch();
  EXPECT_EQ(reports_.front(), kCellular);
  machine_->ip("route add default via 192.0.2.2 metric 100");
  EXPECT_TRUE(waitForStatus(kWiFi));
  machine_->ip("route del default metric 100");
  EXPECT_TRUE(waitForStatus(kCellular));
}

TEST_F(NativeReachabilityTest, AServerOnThisMachineNeedsTheLoopbackLinkOnly) {
  const auto reachability = watch("ws://127.0.0.1:8080");
  EXPECT_EQ(reports_.front(), kNone);
  machine_->ip("link set lo up");
  EXPECT_TRUE(waitForStatus(kWiFi));
  machine_->ip("link set lo down");
  EXPECT_TRUE(waitForStatus(kNone));
}

TEST_F(NativeReachabilityTest, AnotherServerTakesEffectWithTheNextReport) {
  machine_->ip("link set lo up");
  const auto reachability = watch("ws://school.example");
  EXPECT_EQ(reports_.front(), kNone);
  reachability->setServer("ws://localhost");
  const std::size_t before = reports_.size();
  plugIn();
  EXPECT_TRUE(waitForReports(before + 1));
  EXPECT_EQ(reports_.back(), kWiFi);
}

TEST_F(NativeReachabilityTest, ABurstOfChangesGivesFewReportsAndTheLastIsRight) {
  plugIn("net0", "192.0.2");
  plugInModem();
  const auto reachability = watch();
  ASSERT_EQ(reports_.back(), kNone);
  std::string burst;
  for (int change = 0; change < 25; ++change) {
    burst += "route add default via 192.0.2.2\nroute del default\n";
  }
  // Only what stands at the very end is cellular.
  burst += "route add default via 198.51.100.2";
  const std::size_t before = reports_.size();
  const auto start = std::chrono::steady_clock::now();
  machine_->ip(burst);
  EXPECT_TRUE(waitForStatus(kCellular));
  const auto duration = std::chrono::steady_clock::now() - start;
  // Between two reports there is at least one quiet time.
  const auto most = static_cast<std::size_t>(duration / options().quiet) + 1;
  EXPECT_LE(reports_.size() - before, most);
}

TEST_F(NativeReachabilityTest, ManyRoutesAreReadToTheEnd) {
  plugIn();
  std::string routes;
  for (int high = 0; high < 8; ++high) {
    for (int low = 0; low < 256; ++low) {
      routes += "route add 10." + std::to_string(high) + "." + std::to_string(low) + ".0/24 via 192.0.2.2\n";
    }
  }
  machine_->ip(routes + "address add 2001:db8::1/64 dev net0 nodad\nroute add default via 2001:db8::2");
  const auto reachability = watch();
  EXPECT_EQ(reports_.front(), kWiFi);
}

TEST_F(NativeReachabilityTest, StartingAgainReportsAgainToTheNewCallback) {
  plugIn();
  const auto reachability = watch();
  const std::size_t before = reports_.size();
  std::vector<ReachabilityStatus> later;
  reachability->startMonitoring([&later](ReachabilityStatus status) { later.push_back(status); });
  EXPECT_TRUE(queue_.pumpUntil([&] { return !later.empty(); }));
  EXPECT_EQ(later.front(), kNone);
  EXPECT_EQ(reports_.size(), before);
  machine_->ip("route add default via 192.0.2.2");
  EXPECT_TRUE(queue_.pumpUntil([&] { return later.back() == kWiFi; }));
  EXPECT_EQ(reports_.size(), before);
}

TEST_F(NativeReachabilityTest, StoppingDropsAReportThatIsQueuedAlready) {
  const auto reachability = make();
  machine_->run([&] { reachability->startMonitoring(record()); });
  ASSERT_TRUE(queue_.waitForQueued(1));
  reachability->stopMonitoring();
  // The queue is in order.
  bool passed = false;
  queue_.post([&passed] { passed = true; });
  EXPECT_TRUE(queue_.pumpUntil([&] { return passed; }));
  EXPECT_TRUE(reports_.empty());
  std::vector<ReachabilityStatus> later;
  reachability->startMonitoring([&later](ReachabilityStatus status) { later.push_back(status); });
  EXPECT_TRUE(queue_.pumpUntil([&] { return !later.empty(); }));
  EXPECT_TRUE(reports_.empty());
}

TEST_F(NativeReachabilityTest, AReportMayOutliveTheObject) {
  auto reachability = make();
  machine_->run([&] { reachability->startMonitoring(record()); });
  ASSERT_TRUE(queue_.waitForQueued(1));
  reachability.reset();
  bool passed = false;
  queue_.post([&passed] { passed = true; });
  EXPECT_TRUE(queue_.pumpUntil([&] { return passed; }));
  EXPECT_TRUE(reports_.empty());
}

TEST_F(NativeReachabilityTest, WhatACallbackHoldsIsLetGoOnTheMainThread) {
  MainQueue::instance().claim();
  const auto reachability = make();
  std::weak_ptr<int> held;
  const auto holding = [&held] {
    auto something = std::make_shared<int>();
    held = something;
    return [something](ReachabilityStatus) {};
  };
  const std::function<void()> ways[] = {[&] { reachability->startMonitoring(nullptr); },
                                        [&] { reachability->stopMonitoring(); }};
  for (const auto& way : ways) {
    machine_->run([&] {
      reachability->startMonitoring(holding());
      way();
    });
    EXPECT_FALSE(held.expired());
    EXPECT_TRUE(queue_.pumpUntil([&] { return held.expired(); }));
    reachability->startMonitoring(holding());
    way();
    EXPECT_TRUE(held.expired()) << "this is the main thread";
  }
}

TEST_F(NativeReachabilityTest, AWatcherIsStoppedThoughReportsAreStillWanted) {
  const auto subscription = std::make_shared<ReachabilitySubscription>();
  NetworkWatcher watcher(queue_, options(), subscription);
  subscription->start(record());
  std::thread thread([&] { machine_->run([&] { watcher.run(); }); });
  EXPECT_TRUE(waitForReports(1));
  watcher.stop();
  thread.join();
}

TEST_F(NativeReachabilityTest, MayBeStartedForTheFirstTimeOnManyThreadsAtOnce) {
  constexpr int kThreads = 4;
  for (int round = 0; round < 20; ++round) {
    const auto reachability = make();
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&] {
        machine_->run([&] {
          ++ready;
          while (ready < kThreads) std::this_thread::yield();
          reachability->startMonitoring(record());
        });
      });
    }
    for (std::thread& thread : threads) thread.join();
    reports_.clear();
    EXPECT_TRUE(waitForReports(1));
  }
}

TEST_F(NativeReachabilityTest, MayBeStartedAndStoppedOnManyThreadsAtOnce) {
  const auto reachability = make();
  machine_->run([&] { reachability->startMonitoring(nullptr); });
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        reachability->setServer(round % 2 == 0 ? "ws://localhost" : "ws://school.example");
        reachability->startMonitoring([](ReachabilityStatus) {});
        reachability->stopMonitoring();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  reachability->startMonitoring(record());
  EXPECT_TRUE(waitForReports(1));
}

}  // namespace
}  // namespace orv::native_reachability_test
