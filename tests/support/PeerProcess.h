#pragma once

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace orv::test {

/// A peer program of tests/peers that runs for as long as this object lives. One thread at a time.
class PeerProcess {
 public:
  /// Starts `script` (a file of tests/peers) with `node`. Throws `std::runtime_error` with what to do when node is not
  /// installed; that a package of the script is not is told when its first line is read.
  explicit PeerProcess(const std::string& script, const std::vector<std::string>& arguments = {});
  PeerProcess(const PeerProcess&) = delete;
  PeerProcess& operator=(const PeerProcess&) = delete;
  /// Kills the program and waits for its end.
  ~PeerProcess();

  /// The next line that the program writes, without its line feed. Throws `std::runtime_error` when the program
  /// ends or writes none within half a minute.
  std::string readLine();

  /// Reads the line "listening PORT" and returns the port.
  unsigned short readPort();

 private:
  void start(std::vector<std::string> command);
  void readMore(std::chrono::steady_clock::time_point deadline);

  pid_t process_ = -1;
  /// Its end tells the program that nobody needs it any more, also when this process is killed.
  FileDescriptor input_;
  FileDescriptor output_;
  std::string unread_;
};

}  // namespace orv::test
