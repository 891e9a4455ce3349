#include <tests/support/BoundSocket.h>
#include <tests/support/SilentListener.h>

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace orv::test {

namespace {

void check(int result, const char* what) {
  if (result != 0) throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

SilentListener::SilentListener(int family) : filler_(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  BoundSocket bound(family);
  check(::listen(bound.socket.get(), 0), "listen");
  check(::connect(filler_.get(), reinterpret_cast<sockaddr*>(&bound.address), bound.size), "connect");
  socket_ = std::move(bound.socket);
  port_ = bound.port;
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
