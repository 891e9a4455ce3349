#pragma once

#include <sys/types.h>

#include <string>

namespace bench {

/// The embedded classroom server in a process of its own, for the time of a benchmark. When `cpu` is not
/// negative it is pinned to that CPU. With a PEM file of a certificate chain and its key it speaks TLS.
class ServerProcess {
 public:
  explicit ServerProcess(int cpu = -1, const std::string& tlsFile = "");
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  unsigned short port() const { return port_; }
  std::string url() const { return (tls_ ? "wss://127.0.0.1:" : "ws://127.0.0.1:") + std::to_string(port_); }
  /// Posts a JSON command to the server's control.
  void control(const std::string& json) const;

 private:
  pid_t pid_ = -1;
  unsigned short port_ = 0;
  const bool tls_;
};

}  // namespace bench
