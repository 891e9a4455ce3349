#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/data/detail/Characters.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace orv {

/// A reader of plain JSON that makes nothing: it goes through a text and says where things stand. It knows less than
/// `parseJson`, which makes values, and is stricter: it takes no key with an escape, no surrogate by number, no exponent,
/// no number that is long, no comma too many and no deep nesting. Whatever it does not take is left to that one, so that
/// there is one set of rules. Whether the text is UTF-8 is asked before.
///
/// Who derives from it says what is read by its own functions, which read a value each and say whether it was plain.
class PlainJson {
 public:
  /// How deep arrays and dictionaries may be nested.
  static constexpr int kDeepest = 32;
  /// A number has no more digits in front of its point, nor behind it: so it is an integer of 64 bits, if it is one.
  static constexpr std::size_t kMostDigits = 16;

 protected:
  explicit PlainJson(std::string_view text) : text_(text) {}

  /// A dictionary, by `readMember`, which gets each key and reads what follows the colon.
  template <typename ReadMember>
  bool readMembers(ReadMember readMember) {
    if (!takes('{')) return false;
    skipBlanks();
    if (takes('}')) return true;
    for (;;) {
      const auto key = readText();
      if (!key || hasEscape_) return false;
      skipBlanks();
      if (!takes(':')) return false;
      skipBlanks();
      if (!readMember(*key)) return false;
      skipBlanks();
      if (takes('}')) return true;
      if (!takes(',')) return false;
      skipBlanks();
    }
  }

  /// An array, by `readItem`, which reads one item.
  template <typename ReadItem>
  bool readItems(ReadItem readItem) {
    if (!takes('[')) return false;
    skipBlanks();
    if (takes(']')) return true;
    for (;;) {
      if (!readItem()) return false;
      skipBlanks();
      if (takes(']')) return true;
      if (!takes(',')) return false;
      skipBlanks();
    }
  }

  /// A number. `isReal` tells whether it has a point.
  bool readNumber(bool& isReal) {
    takes('-');
    const auto whole = readDigits();
    if (!whole || (whole->front() == '0' && whole->size() > 1)) return false;
    isReal = takes('.');
    return !isReal || readDigits();
  }

  /// One digit or more, up to as many as are always good.
  std::optional<std::string_view> readDigits() {
    const std::size_t begin = at_;
    while (isDigit(peek())) ++at_;
    const std::string_view digits = text_.substr(begin, at_ - begin);
    if (digits.empty() || digits.size() > kMostDigits) return std::nullopt;
    return digits;
  }

  /// What stands between quotes, with its escapes.
  std::optional<std::string_view> readText() {
    if (!takes('"')) return std::nullopt;
    const std::size_t begin = at_;
    hasEscape_ = false;
    for (;;) {
      skipCharacters();
      if (peek() == '"') return text_.substr(begin, at_++ - begin);
      if (!skipEscape()) return std::nullopt;
    }
  }
  /// Whether the text that was read last has an escape in it.
  bool hasEscape() const { return hasEscape_; }

  void skipBlanks() {
    for (char c = peek(); c == ' ' || c == '\n' || c == '\r' || c == '\t'; c = peek()) ++at_;
  }

  bool takes(char what) {
    if (peek() != what) return false;
    ++at_;
    return true;
  }
  bool takes(std::string_view what) {
    if (text_.compare(at_, what.size(), what) != 0) return false;
    at_ += what.size();
    return true;
  }

  /// The next byte; 0, which is nowhere good, at the end.
  char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  std::size_t at() const { return at_; }
  bool isAtEnd() const { return at_ == text_.size(); }
  std::string_view text() const { return text_; }

 private:
  bool skipEscape() {
    if (!takes('\\')) return false;
    hasEscape_ = true;
    if (takes('u')) return skipCodeUnit();
    if (std::string_view("\"\\/bfnrt").find(peek()) == std::string_view::npos) return false;
    ++at_;
    return true;
  }

  /// Four digits of base 16 that stand for a character by themselves: not for one half of a pair.
  bool skipCodeUnit() {
    std::uint32_t unit = 0;
    for (int digit = 0; digit < 4; ++digit, ++at_) {
      const char c = peek();
      const bool isLetter = (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
      if (!isLetter && !isDigit(c)) return false;
      unit = unit << 4 | static_cast<std::uint32_t>(isLetter ? (c | 0x20) - 'a' + 10 : c - '0');
    }
    return unit < 0xD800 || unit > 0xDFFF;
  }

  /// Goes on to the next quote, backslash or control character, or to the end: sixteen or eight bytes at a time.
  void skipCharacters() {
    static_assert(std::endian::native == std::endian::little, "the first byte of a text is the lowest one");
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi8('"'), backslash = _mm_set1_epi8('\\'),
                  lastControl = _mm_set1_epi8(0x1F);
    for (; text_.size() - at_ >= sizeof(__m128i); at_ += sizeof(__m128i)) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text_.data() + at_));
      const __m128i controls = _mm_cmpeq_epi8(_mm_max_epu8(bytes, lastControl), lastControl);
      const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash));
      const auto found = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(ends, controls)));
      if (found == 0) continue;
      at_ += static_cast<std::size_t>(std::countr_zero(found));
      return;
    }
#endif
    constexpr std::uint64_t kOnes = 0x0101'0101'0101'0101u;
    constexpr std::uint64_t kTops = 0x80 * kOnes;
    // A top bit for each byte that is 0, and perhaps for some above such a one.
    const auto zeros = [](std::uint64_t eight) { return (eight - kOnes) & ~eight & kTops; };
    for (std::uint64_t eight = 0; text_.size() - at_ >= sizeof eight; at_ += sizeof eight) {
      std::memcpy(&eight, text_.data() + at_, sizeof eight);
      const std::uint64_t found = ((eight - 0x20 * kOnes) & ~eight & kTops) | zeros(eight ^ '"' * kOnes) |
                                  zeros(eight ^ '\\' * kOnes);
      if (found == 0) continue;
      at_ += static_cast<std::size_t>(std::countr_zero(found)) / 8;
      return;
    }
    while (at_ < text_.size() && static_cast<unsigned char>(text_[at_]) >= 0x20 && text_[at_] != '"' &&
           text_[at_] != '\\') {
      ++at_;
    }
  }

  const std::string_view text_;
  std::size_t at_ = 0;
  bool hasEscape_ = false;
};

}  // namespace orv
