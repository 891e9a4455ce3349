#pragma once

#include <cstddef>
#include <cstdint>

namespace orv {

/// What a WebSocket frame is (RFC 6455, section 5.2). The others of 0 to 15 are reserved.
enum class Opcode : std::uint8_t { Continuation = 0, Text = 1, Binary = 2, Close = 8, Ping = 9, Pong = 10 };

/// The most that a control frame (close, ping or pong) carries, in bytes.
inline constexpr std::size_t kLongestControlPayload = 125;

/// The bits and lengths of a frame's head. Byte 0: the last frame of a message, three reserved bits, the opcode.
/// Byte 1: whether the payload is masked, and a length below 126, or how many bytes of length follow.
namespace frame_head {
inline constexpr std::uint8_t kFinBit = 0x80;
inline constexpr std::uint8_t kReservedBits = 0x70;
inline constexpr std::uint8_t kOpcodeBits = 0x0f;
inline constexpr std::uint8_t kMaskBit = 0x80;
inline constexpr std::uint8_t kTwoByteLength = 126;
inline constexpr std::uint8_t kEightByteLength = 127;
/// The least that each form of length may say.
inline constexpr std::uint64_t kLeastOfTwoBytes = 126;
inline constexpr std::uint64_t kLeastOfEightBytes = 65536;
}  // namespace frame_head

}  // namespace orv
