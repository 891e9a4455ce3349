#pragma once

#include <orvnetwork/platform/native/websocket/codec/ByteBuffer.h>
#include <orvnetwork/platform/native/websocket/codec/Opcode.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orv {

/// Adds a client's frame to what is to be sent: its head, and the payload masked while it is copied. A message is one
/// frame. The bytes of `key`, lowest first, are the mask; each frame needs a fresh one that nobody can foretell.
void appendFrame(ByteBuffer& to, Opcode opcode, std::string_view payload, std::uint32_t key);

/// Copies `size` bytes, each combined with the byte of the mask whose turn it is.
void copyMasked(char* to, const char* from, std::size_t size, std::uint32_t key);

}  // namespace orv
