#include <tests/support/BoundSocket.h>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cerrno>
#include <system_error>

namespace orv::test {

namespace {

void check(int result, const char* what) {
  if (result != 0) throw std::system_error(errno, std::system_category(), what);
}

}  // namespace

BoundSocket::BoundSocket(int family, const char* host)
    : socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)), size(sizeof(sockaddr_in)) {
  address.ss_family = static_cast<sa_family_t>(family);
  if (family == AF_INET6) {
    reinterpret_cast<sockaddr_in6&>(address).sin6_addr = in6addr_loopback;
    size = sizeof(sockaddr_in6);
  } else {
    reinterpret_cast<sockaddr_in&>(address).sin_addr.s_addr =
        host != nullptr ? ::inet_addr(host) : htonl(INADDR_LOOPBACK);
  }
  auto* const where = reinterpret_cast<sockaddr*>(&address);
  check(::bind(socket.get(), where, size), "bind");
  check(::getsockname(socket.get(), where, &size), "getsockname");
  // The port stands at the same place in both kinds of address.
  port = ntohs(reinterpret_cast<sockaddr_in&>(address).sin_port);
}

}  // namespace orv::test
