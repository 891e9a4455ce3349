#pragma once

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace orv::test {

/// Gives the calling thread, and the threads and programs that it starts from now on, a folder /etc of its own with three
/// files in it: where names are asked for (port 53 of `NameServer::kAddress`), and the names that are known without
/// asking. Needs root. Throws `std::runtime_error` when it is not permitted.
/// @param hosts lines like "192.0.2.7 server.example"
/// @param options a line of how names are asked for. Unless it is given, a server that is silent is asked five times and
///     waited for 30 s each time: for longer than a test waits
void useOwnNames(const std::string& hosts, const std::string& options = "options timeout:30 attempts:5");

/// A server of names for one thread's network namespace. It says the same of every name.
class NameServer {
 public:
  static constexpr const char* kAddress = "127.0.0.53";

  enum class Says { Nothing, NoSuchName, NoAddress, Addresses, Failure };
  struct Answer {
    Says says = Says::Nothing;
    std::vector<std::string> addresses{};
  };

  /// Listens in the namespace of the calling thread.
  /// @param sixth, fourth what it says of addresses of either version
  NameServer(Answer sixth, Answer fourth);
  NameServer(const NameServer&) = delete;
  NameServer& operator=(const NameServer&) = delete;
  ~NameServer();

  /// How many questions have come.
  int asked() const { return asked_; }

 private:
  void serve() const;
  std::optional<std::string> answerTo(const std::string& question) const;

  const Answer sixth_;
  const Answer fourth_;
  FileDescriptor socket_;
  mutable std::atomic<int> asked_{0};
  std::thread thread_;
};

}  // namespace orv::test
