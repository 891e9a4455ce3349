#include "orvnetwork/platform/native/websocket/codec/FrameWriter.h"

#include <array>
#include <bit>
#include <cstring>

namespace orv {

namespace {

/// The mask as its four bytes lie in memory, whatever the order of bytes in a number is here.
std::uint32_t asInMemory(std::uint32_t key) {
  const std::array<std::uint8_t, 4> bytes = {
      static_cast<std::uint8_t>(key), static_cast<std::uint8_t>(key >> 8),
      static_cast<std::uint8_t>(key >> 16), static_cast<std::uint8_t>(key >> 24)};
  return std::bit_cast<std::uint32_t>(bytes);
}

char* writeLength(char* to, std::uint64_t length, int bytes) {
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) *to++ = static_cast<char>(length >> shift & 0xff);
  return to;
}

constexpr std::size_t lengthBytesOf(std::size_t size) {
  if (size < frame_head::kLeastOfTwoBytes) return 0;
  return size < frame_head::kLeastOfEightBytes ? 2 : 8;
}

}  // namespace

void copyMasked(char* to, const char* from, std::size_t size, std::uint32_t key) {
  const std::uint32_t mask = asInMemory(key);
  const std::uint64_t wideMask = std::uint64_t{mask} << 32 | mask;
  // Four words a step go to memory as fast as vector instructions do, without asking the compiler for them.
  std::array<std::uint64_t, 4> words;
  for (; size >= sizeof words; size -= sizeof words, from += sizeof words, to += sizeof words) {
    std::memcpy(words.data(), from, sizeof words);
    for (std::uint64_t& word : words) word ^= wideMask;
    std::memcpy(to, words.data(), sizeof words);
  }
  std::uint32_t word;
  for (; size >= sizeof word; size -= sizeof word, from += sizeof word, to += sizeof word) {
    std::memcpy(&word, from, sizeof word);
    word ^= mask;
    std::memcpy(to, &word, sizeof word);
  }
  for (std::size_t i = 0; i < size; ++i) {
    to[i] = static_cast<char>(from[i] ^ static_cast<char>(key >> (8 * i) & 0xff));
  }
}

void appendFrame(ByteBuffer& to, Opcode opcode, std::string_view payload, std::uint32_t key) {
  const std::size_t size = payload.size();
  const std::size_t lengthBytes = lengthBytesOf(size);
  char* at = to.extend(2 + lengthBytes + sizeof key + size);
  *at++ = static_cast<char>(frame_head::kFinBit | static_cast<std::uint8_t>(opcode));
  if (lengthBytes == 0) {
    *at++ = static_cast<char>(frame_head::kMaskBit | size);
  } else {
    const std::uint8_t form = lengthBytes == 2 ? frame_head::kTwoByteLength : frame_head::kEightByteLength;
    *at++ = static_cast<char>(frame_head::kMaskBit | form);
    at = writeLength(at, size, static_cast<int>(lengthBytes));
  }
  const std::uint32_t mask = asInMemory(key);
  std::memcpy(at, &mask, sizeof mask);
  copyMasked(at + sizeof mask, payload.data(), size, key);
}

}  // namespace orv
