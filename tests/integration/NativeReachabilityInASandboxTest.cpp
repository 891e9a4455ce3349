#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/network/NativeReachability.h>

#include <tests/support/PumpedExecutor.h>
#include <tests/support/SystemCallFilter.h>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

namespace orv::native_reachability_in_a_sandbox_test {
namespace {

using test::PumpedExecutor;
using test::RefusedCall;
using test::refuseSystemCalls;

TEST(NativeReachabilityInASandbox, TheNetworkCountsAsReachableAndTheConsoleHearsWhy) {
  std::atomic<int> complaints = 0;
  Console::setSink([&complaints](std::string_view line) {
    if (line.find("cannot watch the network") != std::string_view::npos) ++complaints;
  });
  PumpedExecutor queue;
  std::vector<ReachabilityStatus> reports;
  const auto reachability = makeNativeReachability(queue);
  // The filter is the thread's for good, so it is set on one that ends with the test.
  std::thread([&] {
    refuseSystemCalls({{__NR_socket, EPERM, AF_NETLINK}});
    reachability->startMonitoring([&reports](ReachabilityStatus status) { reports.push_back(status); });
  }).join();
  EXPECT_TRUE(queue.pumpUntil([&] { return !reports.empty(); }));
  EXPECT_EQ(reports, std::vector{ReachabilityStatus::WiFi});
  EXPECT_EQ(complaints, 1);
  Console::setSink(nullptr);
}

/// Starts to watch where these system calls fail, and expects the one report.
void expectToCountAsReachable(const std::vector<RefusedCall>& calls) {
  for (const char* server : {"ws://school.example", "ws://localhost"}) {
    PumpedExecutor queue;
    std::vector<ReachabilityStatus> reports;
    std::unique_ptr<Reachability> reachability;
    std::thread([&] {
      refuseSystemCalls(calls);
      reachability = makeNativeReachability(queue);
      reachability->setServer(server);
      reachability->startMonitoring([&reports](ReachabilityStatus status) { reports.push_back(status); });
    }).join();
    EXPECT_TRUE(queue.pumpUntil([&] { return !reports.empty(); }));
    EXPECT_EQ(reports, std::vector{ReachabilityStatus::WiFi}) << server;
  }
}

TEST(NativeReachabilityInASandbox, WithoutADescriptorOrAThreadTheNetworkCountsAsReachableToo) {
  expectToCountAsReachable({{__NR_eventfd2, EMFILE}});
  expectToCountAsReachable({{__NR_clone, EAGAIN}, {__NR_clone3, EAGAIN}});
}

}  // namespace
}  // namespace orv::native_reachability_in_a_sandbox_test
