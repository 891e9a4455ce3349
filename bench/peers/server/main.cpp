// The server of the peers: as cheap as it can be, so that what differs is the clients'.
//
//   bench_peer_server [PUSHES]
//
// Prints "listening 127.0.0.1:PORT" and serves until its standard input ends. All requests of one read are answered in one
// write, by ready replies with the request's identifier put in. It answers "PING" by "PONG", and then sends as many
// pushes of 3 KB as it was told.

#include "bench/peers/server/Connection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>

namespace {

using peers::Connection;

class Server {
 public:
  explicit Server(std::size_t pushes) : pushes_(pushes) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_, generic, size) != 0 || ::listen(listener_, 16) != 0 ||
        ::getsockname(listener_, generic, &size) != 0) {
      std::perror("bench_peer_server");
      std::exit(EXIT_FAILURE);
    }
    std::printf("listening 127.0.0.1:%d\n", ::ntohs(address.sin_port));
    std::fflush(stdout);
    watch(EPOLL_CTL_ADD, listener_, EPOLLIN);
    watch(EPOLL_CTL_ADD, STDIN_FILENO, EPOLLIN);
  }

  void run() {
    std::array<epoll_event, 16> events;
    for (bool serving = true; serving;) {
      const int count = ::epoll_wait(poll_, events.data(), static_cast<int>(events.size()), -1);
      for (int at = 0; at < count; ++at) {
        const epoll_event& event = events[static_cast<std::size_t>(at)];
        if (event.data.fd == STDIN_FILENO) {
          serving = false;
        } else if (event.data.fd == listener_) {
          accept();
        } else {
          serve(event);
        }
      }
    }
  }

 private:
  struct Client {
    std::unique_ptr<Connection> connection;
    bool writing = false;
  };

  void watch(int operation, int descriptor, unsigned events) const {
    epoll_event event{};
    event.events = events;
    event.data.fd = descriptor;
    ::epoll_ctl(poll_, operation, descriptor, &event);
  }

  void accept() {
    const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (socket < 0) return;
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    clients_[socket] = {std::make_unique<Connection>(socket, pushes_)};
    watch(EPOLL_CTL_ADD, socket, EPOLLIN);
  }

  void serve(const epoll_event& event) {
    const auto found = clients_.find(event.data.fd);
    if (found == clients_.end()) return;
    Client& client = found->second;
    Connection& connection = *client.connection;
    bool goesOn = true;
    if ((event.events & EPOLLOUT) != 0) goesOn = connection.write();
    if (goesOn && (event.events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0) goesOn = connection.read();
    if (!goesOn) {
      clients_.erase(found);
    } else if (client.writing != connection.hasToWrite()) {
      client.writing = connection.hasToWrite();
      watch(EPOLL_CTL_MOD, event.data.fd, client.writing ? EPOLLIN | EPOLLOUT : EPOLLIN);
    }
  }

  const std::size_t pushes_;
  const int poll_ = ::epoll_create1(EPOLL_CLOEXEC);
  const int listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::map<int, Client> clients_;
};

}  // namespace

int main(int argc, char** argv) {
  const long pushes = argc > 1 ? std::atol(argv[1]) : 0;
  Server(pushes > 0 ? static_cast<std::size_t>(pushes) : 0).run();
  return 0;
}
