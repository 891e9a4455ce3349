#pragma once

#include <orvnetwork/data/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

/// @file
/// The rules of UTF-8. A text is well-formed when each of its characters stands in its shortest form, none is half of
/// a surrogate pair, and none lies above U+10FFFF; a zero byte and control characters are characters like any other.
/// Everything here takes any bytes, needs nothing but them, and may be called on any thread.
///
///     for (std::string_view rest = text; !rest.empty();) {
///       const std::size_t length = utf8SequenceLength(rest);
///       if (length == 0) return refuse("not UTF-8");
///       take(utf8CodePoint(rest, length));
///       rest.remove_prefix(length);
///     }

namespace orv {

namespace detail {
/// What `isUtf8` asks of the rest of a text that is not plain all along. Any thread.
ORV_EXPORT bool isUtf8Rest(std::string_view text);
/// The same character by character, for processors that have no other way. Any thread.
ORV_EXPORT bool isUtf8ByCharacters(std::string_view text);
}  // namespace detail

/// Whether a byte is one of those that follow the first byte of a character. A text may be cut before any other one.
/// It is true of bytes 0x80 to 0xBF, wherever they stand: one that follows no first byte is not looked for here.
constexpr bool isUtf8Continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// How many bytes, 1 to 4, the well-formed character at the front of `text` has; 0 when there is none, be it that the
/// text is empty, that its first bytes are no character, or that the character is cut off. What follows the character
/// is not looked at.
///
///     utf8SequenceLength("文字")     // 3
///     utf8SequenceLength("\xC0\xAF") // 0: a slash in a form that is too long
inline std::size_t utf8SequenceLength(std::string_view text) {
  const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const auto follows = [text, byte](std::size_t at, unsigned low = 0x80, unsigned high = 0xBF) {
    return at < text.size() && byte(at) >= low && byte(at) <= high;
  };
  if (text.empty()) return 0;
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return follows(1) ? 2 : 0;
  if (lead >= 0xE0 && lead <= 0xEF) {
    // No overlong forms, no surrogates.
    return follows(1, lead == 0xE0 ? 0xA0 : 0x80, lead == 0xED ? 0x9F : 0xBF) && follows(2) ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    return follows(1, lead == 0xF0 ? 0x90 : 0x80, lead == 0xF4 ? 0x8F : 0xBF) && follows(2) && follows(3) ? 4
                                                                                                          : 0;
  }
  return 0;
}

/// Whether a text is well-formed from its first byte to its last. An empty one is. It looks at sixteen bytes at
/// once where the processor can do that. Any thread, also while the process ends.
///
///     isUtf8("a文👩")                        // true
///     isUtf8("\xED\xA0\x80")                 // false: half of a surrogate pair
///     isUtf8("\xF4\x90\x80\x80")             // false: above U+10FFFF
///     isUtf8(std::string_view("a\0b", 3))    // true
inline bool isUtf8(std::string_view text) {
  // Most texts are plain, and many are short.
  std::size_t at = 0;
  for (std::array<std::uint64_t, 4> four; text.size() - at >= sizeof four; at += sizeof four) {
    std::memcpy(&four, text.data() + at, sizeof four);
    if (((four[0] | four[1] | four[2] | four[3]) & 0x8080'8080'8080'8080u) != 0) {
      return detail::isUtf8Rest(text.substr(at));
    }
  }
  for (std::uint64_t eight = 0; text.size() - at >= sizeof eight; at += sizeof eight) {
    std::memcpy(&eight, text.data() + at, sizeof eight);
    if ((eight & 0x8080'8080'8080'8080u) != 0) return detail::isUtf8Rest(text.substr(at));
  }
  while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80) ++at;
  return at == text.size() || detail::isUtf8Rest(text.substr(at));
}

/// The code point of the well-formed character at the front of `text`, which has `length` bytes; see
/// `utf8SequenceLength`. What follows these bytes is not looked at.
///
///     utf8CodePoint("文字", 3)   // U+6587
///
/// @param text must begin with such a character; this does not look again
/// @param length what `utf8SequenceLength` has answered for it, 1 to 4
inline char32_t utf8CodePoint(std::string_view text, std::size_t length) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (length == 1) return lead;
  char32_t code = lead & (0xFFu >> (length + 1));
  for (std::size_t at = 1; at < length; ++at) {
    code = (code << 6) | (static_cast<unsigned char>(text[at]) & 0x3Fu);
  }
  return code;
}

/// Appends the character with this code point, which must be one that a text can hold: at most U+10FFFF and no
/// surrogate. Nobody looks again. The text grows by 1 to 4 bytes.
///
///     std::string text = "a";
///     appendUtf8(text, 0x6587);    // "a文"
///     appendUtf8(text, U'👩');      // "a文👩"
///
/// @param out text that is well-formed so far stays so
/// @param code what a JSON escape or a character reference has named, once surrogate pairs are put together
inline void appendUtf8(std::string& out, char32_t code) {
  const auto tail = [&](int shift) { out += static_cast<char>(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    tail(0);
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

/// The text with U+FFFD in the place of each byte that is part of no well-formed character.
/// A text that is well-formed comes out as it is; the result is at most three times as long. For lines that are shown
/// or logged, not for what is stored: which bytes were there is lost.
///
///     repairedUtf8("a\xFF")        // "a\uFFFD"
///     repairedUtf8("b\xE6\x96")    // "b\uFFFD\uFFFD": two bytes of a character that was cut off
inline std::string repairedUtf8(std::string_view text) {
  std::string repaired;
  repaired.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    if (length == 0) {
      appendUtf8(repaired, 0xFFFD);
    } else {
      repaired += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return repaired;
}

/// The front of a text, of at most `size` bytes, that does not end within a character: `utf8Front("a文", 3)` is "a".
/// It refers to the same bytes as `text`. For what is shown in little room.
/// @param size in bytes, not in characters
inline std::string_view utf8Front(std::string_view text, std::size_t size) {
  if (text.size() <= size) return text;
  while (size > 0 && isUtf8Continuation(text[size])) --size;
  return text.substr(0, size);
}

/// What is left of a text that was cut somewhere, without the character that the cut went through. A text that ends with
/// a whole character, or with bytes that no cut can have made, stays as it is. It refers to the same bytes as `text`.
/// At most three bytes go. For what was read in pieces of a fixed size:
///
///     withoutSplitUtf8("ab\xE6\x96")    // "ab": the third byte of "文" is missing
///     withoutSplitUtf8("ab\x80")        // the same text: no cut leaves such a byte alone
inline std::string_view withoutSplitUtf8(std::string_view text) {
  for (std::size_t back = 1; back <= 3 && back <= text.size(); ++back) {
    const std::string_view last = text.substr(text.size() - back);
    if (isUtf8Continuation(last.front())) continue;
    const bool isSplit = static_cast<unsigned char>(last.front()) >= 0xC0 && utf8SequenceLength(last) == 0;
    return isSplit ? text.substr(0, text.size() - back) : text;
  }
  return text;
}

}  // namespace orv
