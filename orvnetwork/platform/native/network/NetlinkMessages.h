#pragma once

// The framing of rtnetlink: a datagram holds messages, a message a fixed head and attributes, each with its own
// length and padded to four bytes. Nothing here trusts a length: what points outside of its datagram ends the walk.
// What the answer to a request for routes means is read in RouteDump.cpp.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>

namespace orv {

/// Copies a fixed structure from the start of `bytes`; absent when there are too few of them.
template <typename Structure>
std::optional<Structure> readStructure(std::span<const std::byte> bytes) {
  static_assert(std::is_trivially_copyable_v<Structure>);
  if (bytes.size() < sizeof(Structure)) return std::nullopt;
  Structure structure;
  std::memcpy(&structure, bytes.data(), sizeof(Structure));
  return structure;
}

/// One netlink message, without its header. The payload points into the datagram.
struct NetlinkMessage {
  std::uint16_t type = 0;
  std::uint16_t flags = 0;
  std::uint32_t sequence = 0;
  std::span<const std::byte> payload;
};

/// Walks over the messages of one datagram and never reads outside of it.
class NetlinkMessages {
 public:
  explicit NetlinkMessages(std::span<const std::byte> datagram) : rest_(datagram) {}

  /// The next message; absent at the end and at the first header whose length cannot be right.
  std::optional<NetlinkMessage> next();

  /// Whether the walk ended before the end of the datagram.
  bool isDamaged() const { return damaged_; }

 private:
  std::span<const std::byte> rest_;
  bool damaged_ = false;
};

/// One attribute of a message. The value points into the message.
struct NetlinkAttribute {
  std::uint16_t type = 0;
  std::span<const std::byte> value;

  /// The value as a 32-bit number; absent when it is shorter.
  std::optional<std::uint32_t> number() const { return readStructure<std::uint32_t>(value); }
};

/// Walks over the attributes that follow the fixed part of a message and never reads outside of them.
class NetlinkAttributes {
 public:
  explicit NetlinkAttributes(std::span<const std::byte> attributes) : rest_(attributes) {}

  /// The next attribute; absent at the end and at the first header whose length cannot be right.
  std::optional<NetlinkAttribute> next();

  /// Whether the walk ended before the end of the attributes.
  bool isDamaged() const { return damaged_; }

 private:
  std::span<const std::byte> rest_;
  bool damaged_ = false;
};

/// What stands after the fixed part of a message's payload, where its attributes begin.
std::span<const std::byte> afterFixedPart(std::span<const std::byte> payload, std::size_t fixedSize);

/// Whether a datagram of announcements tells that something about links or routes changed. False when all
/// of it is about radio events such as a finished scan, which come as messages about a link.
bool announcesChange(std::span<const std::byte> datagram);

}  // namespace orv
