#include <tests/support/SilentListener.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace orv::test {

namespace {

FileDescriptor newSocket(int family) {
  return FileDescriptor(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

void check(int result, const char* what) {
  if (result != 0) throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

SilentListener::SilentListener(int family) : socket_(newSocket(family)), filler_(newSocket(family)) {
  sockaddr_storage address{};
  socklen_t size = sizeof(sockaddr_in);
  address.ss_family = static_cast<sa_family_t>(family);
  if (family == AF_INET6) {
    reinterpret_cast<sockaddr_in6&>(address).sin6_addr = in6addr_loopback;
    size = sizeof(sockaddr_in6);
  } else {
    reinterpret_cast<sockaddr_in&>(address).sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  }
  auto* const where = reinterpret_cast<sockaddr*>(&address);
  check(::bind(socket_.get(), where, size), "bind");
  check(::listen(socket_.get(), 0), "listen");
  check(::getsockname(socket_.get(), where, &size), "getsockname");
  // The port stands at the same place in both kinds of address.
  port_ = ntohs(reinterpret_cast<sockaddr_in&>(address).sin_port);
  check(::connect(filler_.get(), where, size), "connect");
}

RawPeer SilentListener::letIn() {
  // The first one fills the queue.
  FileDescriptor(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
  constexpr int kPatience = 30'000;
  pollfd waiting{socket_.get(), POLLIN, 0};
  const int ready = retryOnSignal([&] { return ::poll(&waiting, 1, kPatience); });
  if (ready != 1) throw std::runtime_error("nobody comes");
  return RawPeer(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

}  // namespace orv::test
