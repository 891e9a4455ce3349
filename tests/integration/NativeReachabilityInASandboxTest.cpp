#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/network/NativeReachability.h>

#include <tests/support/PumpedExecutor.h>

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

namespace orv::native_reachability_in_a_sandbox_test {
namespace {

using test::PumpedExecutor;

/// Makes the kernel refuse netlink sockets to the calling thread and to those that it starts.
void forbidNetlink() {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_socket, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_NETLINK, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter{static_cast<unsigned short>(std::size(program)), program};
  ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

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
    forbidNetlink();
    reachability->startMonitoring([&reports](ReachabilityStatus status) { reports.push_back(status); });
  }).join();
  EXPECT_TRUE(queue.pumpUntil([&] { return !reports.empty(); }));
  EXPECT_EQ(reports, std::vector{ReachabilityStatus::WiFi});
  EXPECT_EQ(complaints, 1);
  Console::setSink(nullptr);
}

/// Makes the kernel answer a system call of the calling thread with an error.
void forbid(std::uint32_t call, std::uint32_t error) {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter{static_cast<unsigned short>(std::size(program)), program};
  ASSERT_EQ(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

/// Starts to watch where these system calls fail, and expects the one report.
void expectToCountAsReachable(const std::vector<std::uint32_t>& calls, std::uint32_t error) {
  PumpedExecutor queue;
  std::vector<ReachabilityStatus> reports;
  std::unique_ptr<Reachability> reachability;
  std::thread([&] {
    for (const std::uint32_t call : calls) forbid(call, error);
    reachability = makeNativeReachability(queue);
    reachability->startMonitoring([&reports](ReachabilityStatus status) { reports.push_back(status); });
  }).join();
  EXPECT_TRUE(queue.pumpUntil([&] { return !reports.empty(); }));
  EXPECT_EQ(reports, std::vector{ReachabilityStatus::WiFi});
}

TEST(NativeReachabilityInASandbox, WithoutADescriptorOrAThreadTheNetworkCountsAsReachableToo) {
  expectToCountAsReachable({__NR_eventfd2}, EMFILE);
  expectToCountAsReachable({__NR_clone, __NR_clone3}, EAGAIN);
}

}  // namespace
}  // namespace orv::native_reachability_in_a_sandbox_test
