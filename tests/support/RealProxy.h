#pragma once

#include <orvnetwork/platform/ProxySettings.h>

#include <cstdint>
#include <memory>
#include <string>

namespace orv::test {

class ChildProgram;

/// The proxies of the distribution (packages tinyproxy-bin, microsocks and dante-server).
enum class ProxyProgram { Tinyproxy, Microsocks, Dante };

/// One of them at work, with files of its own in the HOME of the test. To be made in a `NetworkNamespace` whose loopback
/// link is up, on the thread that stays there, by root.
class RealProxy {
 public:
  /// A server at this name is known to the proxy alone: it is at this address.
  static constexpr const char* kServerName = "class.example.org";
  static constexpr const char* kServerAddress = "192.0.2.1";
  /// A port of any server to which the rules of dante let nobody.
  static constexpr std::uint16_t kForbiddenPort = 9;

  /// Starts it and waits until it listens. With `wantsUser` it takes `kProxyUser` with `kProxyPassword` alone. Throws
  /// `std::runtime_error` when it cannot be run.
  RealProxy(ProxyProgram program, bool wantsUser);
  RealProxy(const RealProxy&) = delete;
  RealProxy& operator=(const RealProxy&) = delete;
  /// Ends it.
  ~RealProxy();

  /// Where it is, for nobody.
  const Proxy& address() const { return address_; }

 private:
  std::string commandFor(ProxyProgram program, bool wantsUser) const;
  void writeFiles(bool wantsUser) const;
  void waitUntilItListens() const;

  std::string folder_;
  Proxy address_;
  std::unique_ptr<ChildProgram> program_;
};

}  // namespace orv::test
