// The watching of the network where a system call fails. What cannot be found out counts as reachable, and the console hears
// why; what was only disturbed is asked for again.

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/network/NativeReachability.h>

#include "tests/fault/SystemCalls.h"
#include <tests/support/NetworkNamespace.h>
#include <tests/support/PumpedExecutor.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace orv::native_reachability_fail_at_nth_test {
namespace {

using namespace test;
using system_calls::Failure;
namespace fs = std::filesystem;

using Reports = std::vector<ReachabilityStatus>;
constexpr auto kNone = ReachabilityStatus::NotReachable;
constexpr auto kWiFi = ReachabilityStatus::WiFi;

/// A machine with a link, and an object that watches its network and is told to stop at first: its thread is there then,
/// and what that thread calls from the next start on is counted.
class ReachabilityWithFailures : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0 && !NetworkNamespace::isPermitted()) {
      GTEST_SKIP() << "needs root for network namespaces";
    }
    Console::setSink([this](std::string_view line) {
      const std::lock_guard lock(mutex_);
      console_ += line;
    });
    machine_.emplace();
    neighbour_.emplace();
    machine_->connect("net0", *neighbour_, "net0");
    neighbour_->ip("link set net0 up");
    machine_->ip(
        "address add 192.0.2.1/24 dev net0\naddress add 2001:db8::1/64 dev net0 nodad\n"
        "link set net0 up");
    machine_->waitUntilRunning("net0");
    reachability_ = makeNativeReachability(queue_);
    const std::size_t before = sockets();
    start();
    EXPECT_EQ(firstReports(), Reports{kNone});
    stop(before);
  }
  void TearDown() override {
    system_calls::letPass();
    reachability_.reset();
    Console::setSink(nullptr);
  }

  void start() {
    reports_.clear();
    machine_->run([this] {
      reachability_->startMonitoring([this](ReachabilityStatus status) { reports_.push_back(status); });
    });
  }
  /// Waits until its thread has let go of everything.
  void stop(std::size_t socketsBefore) {
    reachability_->stopMonitoring();
    EXPECT_TRUE(queue_.pumpUntil([&] { return sockets() == socketsBefore && wakings() == 0; }));
  }
  bool waitForReports(std::size_t count) {
    return queue_.pumpUntil([&] { return reports_.size() >= count; });
  }
  Reports firstReports() {
    EXPECT_TRUE(waitForReports(1));
    return reports_;
  }
  /// What is reported at first where this fails.
  Reports reportsWith(const Failure& failure) {
    const std::size_t before = sockets();
    system_calls::fail(failure);
    start();
    const Reports reports = firstReports();
    system_calls::letPass();
    stop(before);
    return reports;
  }
  /// What the console has heard since the last time.
  std::string complaints() {
    const std::lock_guard lock(mutex_);
    return std::exchange(console_, {});
  }
  static std::string complaint(const char* what, int error) {
    return std::string("Reachability: ") + what + ": " + std::generic_category().message(error);
  }

  static std::size_t sockets() {
    std::size_t count = 0;
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
      if (fs::read_symlink(entry.path(), gone).string().starts_with("socket:")) ++count;
    }
    return count;
  }
  /// How often threads of this process were woken that have not noticed it yet.
  static std::uint64_t wakings() {
    constexpr std::string_view kCount = "eventfd-count:";
    std::uint64_t sum = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fdinfo")) {
      std::ifstream file(entry.path());
      for (std::string line; std::getline(file, line);) {
        if (line.starts_with(kCount)) sum += std::stoull(line.substr(kCount.size()), nullptr, 16);
      }
    }
    return sum;
  }

  std::mutex mutex_;
  std::string console_;
  std::optional<NetworkNamespace> machine_;
  std::optional<NetworkNamespace> neighbour_;
  PumpedExecutor queue_;
  Reports reports_;
  std::unique_ptr<Reachability> reachability_;
};

TEST_F(ReachabilityWithFailures, TheNetworkCountsAsReachableWhereItCannotBeWatched) {
  for (const auto& [call, error] : {std::pair("socket", EMFILE), std::pair("bind", EPERM)}) {
    EXPECT_EQ(reportsWith({.call = call}), Reports{kWiFi});
    EXPECT_EQ(complaints(), complaint("cannot watch the network", error));
  }
}

TEST_F(ReachabilityWithFailures, TheNetworkCountsAsReachableWhereItCannotBeRead) {
  for (const auto& [failure, error] :
       {std::pair(Failure{.call = "socket", .first = 2}, EMFILE),
        std::pair(Failure{.call = "bind", .first = 2}, EPERM), std::pair(Failure{.call = "sendto"}, ENOBUFS),
        std::pair(Failure{.call = "recvfrom", .error = EIO}, EIO),
        std::pair(Failure{.call = "recvfrom", .error = EAGAIN}, ETIMEDOUT)}) {
    EXPECT_EQ(reportsWith(failure), Reports{kWiFi}) << failure.call;
    EXPECT_EQ(complaints(), complaint("cannot read the state of the network", error));
  }
}

TEST_F(ReachabilityWithFailures, WhatCannotBeReadIsReadAgainAfterTheNextChange) {
  system_calls::fail({.call = "sendto"});
  start();
  EXPECT_EQ(firstReports(), Reports{kWiFi});
  machine_->ip("route add 198.51.100.0/24 via 192.0.2.2");
  EXPECT_TRUE(waitForReports(2));
  EXPECT_EQ(reports_, (Reports{kWiFi, kNone}));
}

TEST_F(ReachabilityWithFailures, AFamilyThatTheKernelDoesNotTellOfIsNone) {
  for (const std::uint64_t request : {2U, 3U}) {
    EXPECT_EQ(reportsWith({.call = "sendto", .first = request}), Reports{kNone}) << request;
  }
  machine_->ip("route add default via 192.0.2.2");
  EXPECT_EQ(reportsWith({.call = "sendto", .first = 3}), Reports{kWiFi});
  EXPECT_EQ(complaints(), "") << "nothing is missing";
}

TEST_F(ReachabilityWithFailures, AnAnswerOfWhichAPartIsLostIsAskedForAgain) {
  for (const char* route : {"192.0.2.2", "2001:db8::2"}) {
    machine_->ip(std::string("route add default via ") + route);
    for (const int error : {ENOBUFS, EMSGSIZE}) {
      std::uint64_t part = 1;
      while (true) {
        EXPECT_EQ(reportsWith({.call = "recvfrom", .first = part, .error = error}), Reports{kWiFi})
            << part << " " << route;
        if (system_calls::failed().empty()) break;
        ++part;
      }
      EXPECT_GT(part, 3U) << "links, and routes of both families";
    }
    machine_->ip(std::string("route del default via ") + route);
  }
  EXPECT_EQ(complaints(), "");
}

TEST_F(ReachabilityWithFailures, WhereEachAnswerIsDisturbedItIsLookedAtAgainSoon) {
  machine_->ip("route add default via 192.0.2.2");
  EXPECT_EQ(reportsWith({.call = "recvfrom", .count = 8}), Reports{kWiFi});
  EXPECT_EQ(complaints(), "");
}

TEST_F(ReachabilityWithFailures, AnInterruptedCallIsMadeAgain) {
  machine_->ip("route add default via 192.0.2.2");
  EXPECT_EQ(reportsWith({.call = "recvfrom", .count = 3, .error = EINTR}), Reports{kWiFi});
  EXPECT_EQ(complaints(), "");
  system_calls::fail({.call = "poll", .count = 5});
  start();
  EXPECT_EQ(firstReports(), Reports{kWiFi});
  machine_->ip("route del default");
  EXPECT_TRUE(queue_.pumpUntil([this] { return reports_.back() == kNone; }));
  EXPECT_EQ(system_calls::failed(), "poll");
}

TEST_F(ReachabilityWithFailures, AnotherStartWakesItOnce) {
  for (int i = 0; i < 2; ++i) {
    start();
    EXPECT_EQ(firstReports(), Reports{kNone});
  }
  EXPECT_TRUE(queue_.pumpUntil([] { return wakings() == 0; }));
}

TEST_F(ReachabilityWithFailures, NewsThatAreLostAreNews) {
  for (const int error : {ENOBUFS, EMSGSIZE}) {
    start();
    EXPECT_EQ(firstReports(), Reports{kNone});
    system_calls::fail({.call = "recvfrom", .error = error});
    machine_->ip("route add 198.51.100.0/24 via 192.0.2.2");  // one message tells of it
    EXPECT_TRUE(waitForReports(2)) << error;
    system_calls::letPass();
    EXPECT_EQ(system_calls::failed(), "recvfrom");
    machine_->ip("route del 198.51.100.0/24 via 192.0.2.2");
    EXPECT_TRUE(waitForReports(3));
  }
}

TEST_F(ReachabilityWithFailures, ASocketThatIsOfNoUseAnyMoreIsLetGoAndTheConsoleHearsOfIt) {
  const std::size_t before = sockets();
  start();
  EXPECT_EQ(firstReports(), Reports{kNone});
  system_calls::fail({.call = "recvfrom", .error = EIO});
  machine_->ip("route add 198.51.100.0/24 via 192.0.2.2");
  EXPECT_TRUE(queue_.pumpUntil([&] { return sockets() == before; }));
  EXPECT_EQ(complaints(), complaint("no more news of the network", EIO));
  system_calls::letPass();
  start();
  EXPECT_EQ(firstReports(), Reports{kNone}) << "the next start watches anew";
}

}  // namespace
}  // namespace orv::native_reachability_fail_at_nth_test
