#include "bench/support/ServerProcess.h"

#include <arpa/inet.h>
#include <sched.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace bench {

ServerProcess::ServerProcess(int cpu, const std::string& tlsFile) : tls_(!tlsFile.empty()) {
  int out[2];
  if (::pipe(out) != 0) throw std::runtime_error("pipe");
  pid_ = ::fork();
  if (pid_ == 0) {
    if (cpu >= 0) {
      cpu_set_t set;
      CPU_ZERO(&set);
      CPU_SET(static_cast<unsigned>(cpu), &set);
      ::sched_setaffinity(0, sizeof set, &set);
    }
    ::dup2(out[1], STDOUT_FILENO);
    ::close(out[0]);
    ::close(out[1]);
    const char* const file = tls_ ? tlsFile.c_str() : nullptr;
    ::execl(ORV_DEVSERVER_PROGRAM, ORV_DEVSERVER_PROGRAM, tls_ ? "--tls" : nullptr, file, file, nullptr);
    ::_exit(127);
  }
  ::close(out[1]);
  FILE* lines = ::fdopen(out[0], "r");
  char line[256] = {};
  unsigned int port = 0;
  if (std::fgets(line, sizeof line, lines) == nullptr ||
      std::sscanf(line, tls_ ? "listening wss://127.0.0.1:%u" : "listening ws://127.0.0.1:%u", &port) != 1) {
    throw std::runtime_error("the server did not start");
  }
  port_ = static_cast<unsigned short>(port);
  std::fclose(lines);
}

ServerProcess::~ServerProcess() {
  ::kill(pid_, SIGTERM);
  ::waitpid(pid_, nullptr, 0);
}

void ServerProcess::control(const std::string& json) const {
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port_);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const std::string request =
      "POST /control HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n"
      "Content-Type: application/json\r\nContent-Length: " +
      std::to_string(json.size()) + "\r\n\r\n" + json;
  std::string answer;
  if (::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      ::send(socket, request.data(), request.size(), 0) == static_cast<ssize_t>(request.size())) {
    char bytes[4096];
    for (ssize_t got = 0; (got = ::recv(socket, bytes, sizeof bytes, 0)) > 0;) {
      answer.append(bytes, static_cast<std::size_t>(got));
    }
  }
  ::close(socket);
  if (answer.find(" 200 ") == std::string::npos) throw std::runtime_error("control refused: " + answer);
}

}  // namespace bench
