#pragma once

#include <tests/support/NetworkNamespace.h>

#include <functional>
#include <string>

namespace orv::test {

/// A network of this machine and nobody else: some addresses in it are silent, to some there is no way, and nothing leads
/// out of it. This machine is 192.0.2.1 and 2001:db8::1 there. Needs root.
class QuietNetwork {
 public:
  // Nobody answers there, and nobody says so.
  static constexpr const char* kSilentSixth = "2001:db8::9";
  static constexpr const char* kOtherSilentSixth = "2001:db8::8";
  static constexpr const char* kSilentFourth = "192.0.2.9";
  // There is no way to these, which is said at once.
  static constexpr const char* kNoWaySixth = "2001:db8:f::9";
  static constexpr const char* kNoWayFourth = "198.51.100.9";

  QuietNetwork();

  /// Runs `body` on a thread in it, as `NetworkNamespace::run` does.
  void run(const std::function<void()>& body) const { here_.run(body); }
  /// From now on the rest of the world is said to be behind the silent address.
  void leadOut() const;
  /// From now on the rules of this machine forbid the way to these addresses, such as "203.0.113.0/24".
  void forbid(const std::string& addresses) const;

 private:
  NetworkNamespace here_;
  NetworkNamespace nowhere_;
};

/// Names of "server.example", for `useOwnNames`.
std::string serverAt(const char* address, const char* otherAddress);

}  // namespace orv::test
