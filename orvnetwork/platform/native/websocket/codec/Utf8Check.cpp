#include "orvnetwork/platform/native/websocket/codec/Utf8Check.h"

#include <orvnetwork/data/Utf8.h>

#include <algorithm>
#include <array>

namespace orv {

namespace {

constexpr std::size_t kLongestCharacter = 4;

/// How many bytes a character has that begins with this one; 0 for one that continues a character.
std::size_t lengthFrom(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xc0) return 0;
  if (first < 0xe0) return 2;
  return first < 0xf0 ? 3 : 4;
}

/// How many bytes at the end are a character that lacks some. Only the first of them is looked at closely.
std::size_t sizeOfUnfinished(std::string_view text) {
  const std::size_t most = std::min(text.size(), kLongestCharacter - 1);
  for (std::size_t size = 1; size <= most; ++size) {
    const std::size_t length = lengthFrom(static_cast<unsigned char>(text[text.size() - size]));
    if (length > 0) return length > size ? size : 0;
  }
  return 0;
}

/// Whether a character can begin so. If one can, it can go on with nothing but the lowest bytes that continue one, or
/// with nothing but the highest: the first byte rules out a part of the second's range at one end only.
bool mayBegin(std::string_view part) {
  if (part.empty()) return true;
  const std::size_t length = lengthFrom(static_cast<unsigned char>(part.front()));
  return std::ranges::any_of(std::array{'\x80', '\xbf'}, [part, length](char filler) {
    std::array<char, kLongestCharacter> character;
    character.fill(filler);
    std::ranges::copy(part, character.begin());
    return isUtf8({character.data(), length});
  });
}

}  // namespace

bool Utf8Check::goOn(std::string_view text) {
  const std::string_view fresh = text.substr(checked_);
  const std::size_t unfinished = sizeOfUnfinished(fresh);
  const std::size_t whole = fresh.size() - unfinished;
  if (!isUtf8(fresh.substr(0, whole)) || !mayBegin(fresh.substr(whole))) return false;
  checked_ += whole;
  return true;
}

}  // namespace orv
