#include "orvnetwork/platform/native/network/NetlinkSocket.h"

#include <orvnetwork/platform/native/network/RouteDump.h>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <utility>

namespace orv {

namespace {

/// More than the kernel puts into one datagram of a dump (32 KiB).
constexpr std::size_t kBufferSize = 64 * 1024;
constexpr int kAttempts = 8;

/// Receives one whole answer.
RouteDump::Progress receiveDump(NetlinkSocket& socket, RouteDump& dump) {
  for (;;) {
    std::span<const std::byte> datagram;
    switch (socket.receive(datagram, true)) {
      case NetlinkSocket::Received::Datagram:
        break;
      case NetlinkSocket::Received::Lost:
        return RouteDump::Progress::Again;
      case NetlinkSocket::Received::Nothing:
        errno = ETIMEDOUT;
        return RouteDump::Progress::Refused;
      case NetlinkSocket::Received::Failed:
        return RouteDump::Progress::Refused;
    }
    const RouteDump::Progress progress = dump.take(datagram);
    if (progress == RouteDump::Progress::Refused) errno = dump.error();
    if (progress != RouteDump::Progress::More) return progress;
  }
}

/// Makes one request and takes its answer. `errno` tells why it was refused.
RouteDump::Progress dumpInto(RouteTable& table, NetlinkSocket& socket, std::uint16_t type,
                             std::uint8_t family, std::uint32_t sequence) {
  if (!socket.requestDump(type, family, sequence)) return RouteDump::Progress::Refused;
  RouteDump dump(table, sequence);
  return receiveDump(socket, dump);
}

/// Reads links and routes once, on a socket of its own so that nothing is left of an earlier attempt.
RouteDump::Progress readOnce(RouteTable& table) {
  using Progress = RouteDump::Progress;
  NetlinkSocket socket(0);
  if (!socket) return Progress::Refused;
  const Progress links = dumpInto(table, socket, RTM_GETLINK, AF_UNSPEC, 1);
  if (links != Progress::Done) return links;
  const Progress ipv4 = dumpInto(table, socket, RTM_GETROUTE, AF_INET, 2);
  if (ipv4 == Progress::Again) return ipv4;
  const Progress ipv6 = dumpInto(table, socket, RTM_GETROUTE, AF_INET6, 3);
  if (ipv6 == Progress::Again) return ipv6;
  // A kernel without one of the two families refuses to tell its routes.
  return ipv4 == Progress::Done ? ipv4 : ipv6;
}

}  // namespace

NetlinkSocket::NetlinkSocket(std::uint32_t groups)
    : socket_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)), buffer_(kBufferSize) {
  if (!socket_) return;
  const timeval limit{.tv_sec = 1, .tv_usec = 0};
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = groups;
  if (::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return;
  const int error = errno;
  socket_ = FileDescriptor();
  errno = error;
}

bool NetlinkSocket::requestDump(std::uint16_t type, std::uint8_t family, std::uint32_t sequence) {
  struct Request {
    nlmsghdr header;
    rtgenmsg body;
  } request{};
  request.header.nlmsg_len = sizeof request;
  request.header.nlmsg_type = type;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.header.nlmsg_seq = sequence;
  request.body.rtgen_family = family;
  sockaddr_nl kernel{};
  kernel.nl_family = AF_NETLINK;
  const ssize_t sent = ::sendto(socket_.get(), &request, sizeof request, 0,
                                reinterpret_cast<const sockaddr*>(&kernel), sizeof kernel);
  return sent == static_cast<ssize_t>(sizeof request);
}

NetlinkSocket::Received NetlinkSocket::receive(std::span<const std::byte>& datagram, bool wait) {
  for (;;) {
    sockaddr_nl sender{};
    socklen_t senderSize = sizeof sender;
    const ssize_t size =
        ::recvfrom(socket_.get(), buffer_.data(), buffer_.size(), MSG_TRUNC | (wait ? 0 : MSG_DONTWAIT),
                   reinterpret_cast<sockaddr*>(&sender), &senderSize);
    if (size < 0) {
      if (errno == EINTR) continue;
      if (errno == ENOBUFS) return Received::Lost;
      return errno == EAGAIN || errno == EWOULDBLOCK ? Received::Nothing : Received::Failed;
    }
    if (sender.nl_pid != 0) continue;  // not from the kernel
    const auto length = static_cast<std::size_t>(size);
    if (length > buffer_.size()) return Received::Lost;
    datagram = std::span<const std::byte>(buffer_).first(length);
    return Received::Datagram;
  }
}

int readRouteTable(RouteTable& table) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    RouteTable whole;
    switch (readOnce(whole)) {
      case RouteDump::Progress::Done:
        table = std::move(whole);
        return 0;
      case RouteDump::Progress::Refused:
        return errno;
      default:
        break;
    }
  }
  return EAGAIN;
}

}  // namespace orv
