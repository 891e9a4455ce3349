#include "orvnetwork/platform/detail/Sha1.h"

#include <bit>
#include <cstddef>
#include <string>

namespace orv {

namespace {

constexpr std::size_t kBlockBytes = 64;
constexpr std::size_t kLengthBytes = 8;

using Sha1State = std::array<std::uint32_t, 5>;

std::uint32_t bigEndianWord(const char* bytes) {
  std::uint32_t word = 0;
  for (int at = 0; at < 4; ++at) word = word << 8 | static_cast<std::uint8_t>(bytes[at]);
  return word;
}

/// What mixes three words in a round, and what is added.
std::uint32_t mixed(std::size_t round, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  if (round < 20) return ((b & c) | (~b & d)) + 0x5A827999U;
  if (round < 40) return (b ^ c ^ d) + 0x6ED9EBA1U;
  if (round < 60) return ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDCU;
  return (b ^ c ^ d) + 0xCA62C1D6U;
}

void takeBlock(Sha1State& state, const char* block) {
  std::array<std::uint32_t, 80> words{};
  for (std::size_t at = 0; at < 16; ++at) words[at] = bigEndianWord(block + 4 * at);
  for (std::size_t at = 16; at < words.size(); ++at) {
    words[at] = std::rotl(words[at - 3] ^ words[at - 8] ^ words[at - 14] ^ words[at - 16], 1);
  }
  auto [a, b, c, d, e] = state;
  for (std::size_t round = 0; round < words.size(); ++round) {
    const std::uint32_t next = std::rotl(a, 5) + mixed(round, b, c, d) + e + words[round];
    e = d;
    d = c;
    c = std::rotl(b, 30);
    b = a;
    a = next;
  }
  state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d, state[4] + e};
}

/// The bytes, a one bit, zeros up to a whole number of blocks, and the length in bits at the end.
std::string padded(std::string_view bytes) {
  std::string text(bytes);
  text += static_cast<char>(0x80);
  const std::size_t blocks = (text.size() + kLengthBytes + kBlockBytes - 1) / kBlockBytes;
  text.resize(blocks * kBlockBytes);
  std::uint64_t bits = std::uint64_t{8} * bytes.size();
  for (auto last = text.rbegin(); bits != 0; ++last, bits >>= 8) *last = static_cast<char>(bits & 0xFF);
  return text;
}

}  // namespace

std::array<std::uint8_t, 20> sha1(std::string_view bytes) {
  Sha1State state{0x67452301U, 0xEFCDAB89U, 0x98BADCFEU, 0x10325476U, 0xC3D2E1F0U};
  const std::string text = padded(bytes);
  for (std::size_t at = 0; at < text.size(); at += kBlockBytes) takeBlock(state, text.data() + at);
  std::array<std::uint8_t, 20> digest{};
  for (std::size_t at = 0; at < digest.size(); ++at) {
    digest[at] = static_cast<std::uint8_t>(state[at / 4] >> (24 - 8 * (at % 4)));
  }
  return digest;
}

}  // namespace orv
