#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/data/detail/Characters.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace orv {

/// The small steps through plain JSON: each begins at a place in a text and says where it ends; null where what stands
/// there is not plain. It knows less than `parseJson`, which makes values, and is stricter: it takes no surrogate by
/// number, no exponent, no number that is long. Whatever it does not take is left to that one, so that there is one set of
/// rules. Whether the text is UTF-8 is asked before.
///
/// Places are handed from step to step, in registers: one that is kept in an object costs a way to memory and back with
/// every character.
class PlainJson {
 public:
  using Place = const char*;

  /// How deep arrays and dictionaries may be nested.
  static constexpr int kDeepest = 32;
  /// A number has no more digits in front of its point, nor behind it: so it is an integer of 64 bits, if it is one.
  static constexpr std::ptrdiff_t kMostDigits = 16;

  explicit PlainJson(std::string_view text) : begin_(text.data()), end_(text.data() + text.size()) {}

  Place begin() const { return begin_; }
  Place end() const { return end_; }

  /// Whether this character stands there.
  bool isAt(Place at, char what) const { return at != end_ && *at == what; }

  Place skipBlanks(Place at) const {
    while (at != end_ && *at <= ' ' && (*at == ' ' || *at == '\n' || *at == '\r' || *at == '\t')) ++at;
    return at;
  }

  /// From behind a quote to the next one, which ends the text. Sets `hasEscape` where there is one, and nothing else.
  Place skipText(Place at, bool& hasEscape) const {
    for (;;) {
      at = skipCharacters(at);
      if (at == end_) return nullptr;
      if (*at == '"') return at;
      if (*at != '\\') return nullptr;
      hasEscape = true;
      at = skipEscape(at + 1);
      if (at == nullptr) return nullptr;
    }
  }

  /// An integer, and all of a real that stands in front of its point.
  Place skipInteger(Place at) const {
    if (isAt(at, '-')) ++at;
    const Place digits = at;
    at = skipDigits(at);
    return at != nullptr && *digits == '0' && at - digits > 1 ? nullptr : at;
  }

  /// One digit or more, up to as many as are always good.
  Place skipDigits(Place at) const {
    const Place first = at;
    while (at != end_ && isDigit(*at)) ++at;
    return at == first || at - first > kMostDigits ? nullptr : at;
  }

  Place skipWord(Place at, std::string_view word) const {
    const auto left = static_cast<std::size_t>(end_ - at);
    return left >= word.size() && std::string_view(at, word.size()) == word ? at + word.size() : nullptr;
  }

 private:
  /// What stands behind a backslash.
  Place skipEscape(Place at) const {
    if (at == end_) return nullptr;
    if (*at == 'u') return skipCodeUnit(at + 1);
    return std::string_view("\"\\/bfnrt").find(*at) == std::string_view::npos ? nullptr : at + 1;
  }

  /// Four digits of base 16 that stand for a character by themselves: not for one half of a pair.
  Place skipCodeUnit(Place at) const {
    constexpr std::ptrdiff_t kDigits = 4;
    if (end_ - at < kDigits) return nullptr;
    std::uint32_t unit = 0;
    for (const Place behind = at + kDigits; at != behind; ++at) {
      const char c = *at;
      const bool isLetter = (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
      if (!isLetter && !isDigit(c)) return nullptr;
      unit = unit << 4 | static_cast<std::uint32_t>(isLetter ? (c | 0x20) - 'a' + 10 : c - '0');
    }
    return unit < 0xD800 || unit > 0xDFFF ? at : nullptr;
  }

  /// Goes on to the next quote, backslash or control character, or to the end: sixteen or eight bytes at a time.
  Place skipCharacters(Place at) const {
    static_assert(std::endian::native == std::endian::little, "the first byte of a text is the lowest one");
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi8('"'), backslash = _mm_set1_epi8('\\'),
                  lastControl = _mm_set1_epi8(0x1F);
    for (; left(at) >= sizeof(__m128i); at += sizeof(__m128i)) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
      const __m128i controls = _mm_cmpeq_epi8(_mm_max_epu8(bytes, lastControl), lastControl);
      const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash));
      const auto found = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(ends, controls)));
      if (found != 0) return at + std::countr_zero(found);
    }
#endif
    constexpr std::uint64_t kOnes = 0x0101'0101'0101'0101u;
    constexpr std::uint64_t kTops = 0x80 * kOnes;
    // A top bit for each byte that is 0, and perhaps for some above such a one.
    const auto zeros = [](std::uint64_t eight) { return (eight - kOnes) & ~eight & kTops; };
    for (std::uint64_t eight = 0; left(at) >= sizeof eight; at += sizeof eight) {
      std::memcpy(&eight, at, sizeof eight);
      const std::uint64_t found = ((eight - 0x20 * kOnes) & ~eight & kTops) | zeros(eight ^ '"' * kOnes) |
                                  zeros(eight ^ '\\' * kOnes);
      if (found != 0) return at + std::countr_zero(found) / 8;
    }
    while (at != end_ && static_cast<unsigned char>(*at) >= 0x20 && *at != '"' && *at != '\\') ++at;
    return at;
  }

  std::size_t left(Place at) const {
    return static_cast<std::size_t>(end_ - at);
  }

  const Place begin_;
  const Place end_;
};

}  // namespace orv
