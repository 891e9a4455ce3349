#include <orvnetwork/platform/native/network/NetlinkSocket.h>
#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <tests/support/NetworkNamespace.h>

#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace orv::netlink_socket_test {
namespace {

using test::NetworkNamespace;
using Received = NetlinkSocket::Received;

/// A socket that hears of the links of a machine of the test's own.
class NetlinkSocketTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0 && !NetworkNamespace::isPermitted()) {
      GTEST_SKIP() << "needs root for network namespaces";
    }
    machine_.emplace();
    machine_->run([this] { socket_.emplace(RTMGRP_LINK); });
    ASSERT_TRUE(*socket_);
  }
  Received receive(bool wait = false) { return socket_->receive(datagram_, wait); }

  std::optional<NetworkNamespace> machine_;
  std::optional<NetlinkSocket> socket_;
  std::span<const std::byte> datagram_;
};

TEST_F(NetlinkSocketTest, BringsWhatTheKernelAnnouncesAndNothingElse) {
  EXPECT_EQ(receive(), Received::Nothing);
  EXPECT_EQ(receive(true), Received::Nothing) << "nobody waits for ever";
  machine_->ip("link set lo up");
  EXPECT_EQ(receive(), Received::Datagram);
  EXPECT_GE(datagram_.size(), sizeof(nlmsghdr));
}

TEST_F(NetlinkSocketTest, TellsThatSomeAnnouncementsAreGoneAndGoesOn) {
  const int least = 1;  // the system makes it some 2 KiB
  ASSERT_EQ(::setsockopt(socket_->descriptor(), SOL_SOCKET, SO_RCVBUF, &least, sizeof least), 0);
  std::string changes;
  for (int i = 0; i < 50; ++i) changes += "link set lo up\nlink set lo down\n";
  machine_->ip(changes);
  Received received = receive();
  while (received == Received::Datagram) received = receive();
  EXPECT_EQ(received, Received::Lost);
  while (receive() != Received::Nothing) {
  }
  machine_->ip("link set lo up");
  EXPECT_EQ(receive(), Received::Datagram);
}

TEST_F(NetlinkSocketTest, PassesOverWhatIsNotTheKernels) {
  sockaddr_nl own{};
  socklen_t size = sizeof own;
  ASSERT_EQ(::getsockname(socket_->descriptor(), reinterpret_cast<sockaddr*>(&own), &size), 0);
  own.nl_groups = 0;
  nlmsghdr forged{};
  forged.nlmsg_len = sizeof forged;
  forged.nlmsg_type = RTM_NEWLINK;
  machine_->run([&] {
    const FileDescriptor stranger(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    EXPECT_EQ(
        ::sendto(stranger.get(), &forged, sizeof forged, 0, reinterpret_cast<const sockaddr*>(&own), size),
        static_cast<ssize_t>(sizeof forged));
  });
  EXPECT_EQ(receive(), Received::Nothing);
}

}  // namespace
}  // namespace orv::netlink_socket_test
