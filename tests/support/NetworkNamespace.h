#pragma once

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <functional>
#include <string>

namespace orv::test {

/// A network of its own for a test: links, addresses and routes that nothing outside of it sees. It starts with
/// a loopback link that is down and nothing else, and is gone when this object and all threads in it are.
/// Needs the privilege to administer networks (root).
class NetworkNamespace {
 public:
  /// Whether this process may make one.
  static bool isPermitted();

  /// Throws `std::runtime_error` with the reason when that is not possible.
  NetworkNamespace();

  /// Runs `body` on a thread in the namespace and waits for its end; threads that it starts and sockets that it
  /// opens are in the namespace too. Assertions work in `body`. What it throws comes out.
  void run(const std::function<void()>& body) const;

  /// Runs commands of the program `ip` in the namespace, one a line and without the word "ip". Throws
  /// `std::runtime_error` when one of them fails.
  void ip(const std::string& commands) const;

  /// Makes two links that are joined by a wire: `name` here and `otherName` in `other`. Both are down.
  /// They make no addresses by themselves, so that nothing changes later unless the test does it.
  void connect(const std::string& name, const NetworkNamespace& other, const std::string& otherName) const;

  /// Waits until a link is up and has found the other end of its wire up too. Throws `std::runtime_error` when
  /// that does not come about.
  void waitUntilRunning(const std::string& name) const;

 private:
  FileDescriptor namespace_;
};

}  // namespace orv::test
