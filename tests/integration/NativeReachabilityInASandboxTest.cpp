#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/network/NativeReachability.h>

#include <tests/support/PumpedExecutor.h>
#include <tests/support/SystemCallFilter.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
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

// The undefined behaviour sanitizer opens a pipe to look at an object and takes the lack of one for a bad object.
#if !defined(__SANITIZE_ADDRESS__)

/// Leaves the process so many further descriptors, as long as it lives.
class FewDescriptors {
 public:
  explicit FewDescriptors(int spare) {
    const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(next);
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before_), 0);
    rlimit few = before_;
    few.rlim_cur = static_cast<rlim_t>(next + spare);
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  }
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;
  ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_{};
};

TEST(NativeReachabilityInASandbox, WhatCannotBeSeenForWantOfDescriptorsIsReportedOnceAndSeenLater) {
  // One is enough to hear of changes, and not to look.
  for (const int spare : {0, 1}) {
    PumpedExecutor queue;
    std::vector<ReachabilityStatus> reports;
    NativeReachabilityOptions impatient;
    impatient.again = std::chrono::milliseconds(1);
    const auto reachability = makeNativeReachability(queue, impatient);
    {
      const FewDescriptors few(spare);
      reachability->startMonitoring([&reports](ReachabilityStatus status) { reports.push_back(status); });
      EXPECT_TRUE(queue.pumpUntil([&] { return !reports.empty(); })) << "with " << spare << " to spare";
      int waits = 0;  // time enough for many looks in vain
      queue.pumpUntil([&waits] { return ++waits > 50; });
      EXPECT_EQ(reports, std::vector{ReachabilityStatus::WiFi}) << "with " << spare << " to spare";
    }
    EXPECT_TRUE(queue.pumpUntil([&] { return reports.size() > 1; })) << "with " << spare << " to spare";
  }
}

#endif

}  // namespace
}  // namespace orv::native_reachability_in_a_sandbox_test
