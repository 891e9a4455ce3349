#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// A numeric address, in network order. One of the fourth version that is written as one of the sixth
/// ("::ffff:192.0.2.1") is one of the fourth.
struct HostAddress {
  std::array<unsigned char, 16> bytes{};
  /// 32 or 128.
  int bits = 0;

  /// Reads what `inet_pton` takes, without brackets. Absent for a name. Any thread.
  static std::optional<HostAddress> parse(const std::string& text);
  /// The same, and short forms of the fourth version that the system takes for numbers too, such as "127.1".
  static std::optional<HostAddress> parseLoosely(const std::string& text);

  /// Whether the first `count` bits are those of the other one, which is of the same version.
  bool sharesBits(const HostAddress& other, int count) const;
  bool isLoopback() const;

  bool operator==(const HostAddress&) const = default;
};

/// A host as hosts are compared: in lower case and without dots at its end. Any thread.
std::string comparableHost(std::string_view host);

}  // namespace orv
