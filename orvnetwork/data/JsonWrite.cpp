#include "orvnetwork/data/Json.h"

#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/data/detail/Decimal.h>
#include <orvnetwork/data/detail/TextBuffer.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <variant>

namespace orv {
namespace {

enum class Layout { Pretty, Compact };

/// What a byte of a string needs: nothing, or the letter after a backslash.
constexpr char kPlain = 0;

constexpr std::array<char, 256> makeEscapes(bool escapeSlash) {
  std::array<char, 256> escapes{};
  for (std::size_t c = 0; c < 0x20; ++c) {
    escapes[c] = 'u';
  }
  escapes['\b'] = 'b';
  escapes['\f'] = 'f';
  escapes['\n'] = 'n';
  escapes['\r'] = 'r';
  escapes['\t'] = 't';
  escapes['"'] = '"';
  escapes['\\'] = '\\';
  escapes['/'] = escapeSlash ? '/' : kPlain;
  return escapes;
}

template <Layout layout>
constexpr std::array<char, 256> kEscapes = makeEscapes(layout == Layout::Pretty);

// Eight bytes at a time. A sum or difference may carry into a byte above one that is found, never into one below it, and
// the lowest is the one that is looked for.
constexpr std::uint64_t kEachByte = 0x0101'0101'0101'0101u;
constexpr std::uint64_t kHighBits = 0x80 * kEachByte;
static_assert(std::endian::native == std::endian::little, "the first byte of a text is the lowest one");

/// A high bit for each byte that is 0, and perhaps for some above such a one.
constexpr std::uint64_t zeroBytes(std::uint64_t eight) {
  return (eight - kEachByte) & ~eight & kHighBits;
}

/// The same for bytes that need an escape.
template <Layout layout>
constexpr std::uint64_t escapedBytes(std::uint64_t eight) {
  std::uint64_t found = ((eight - 0x20 * kEachByte) & ~eight & kHighBits) |
                        zeroBytes(eight ^ '"' * kEachByte) | zeroBytes(eight ^ '\\' * kEachByte);
  if constexpr (layout == Layout::Pretty) found |= zeroBytes(eight ^ '/' * kEachByte);
  return found;
}

/// Looks for the bytes of a text that need an escape, and notes on the way whether it is more than ASCII.
template <Layout layout>
class EscapeFinder {
 public:
  explicit EscapeFinder(std::string_view text) : text_(text) {}

  /// Where the first such byte at or after `at` stands; the text's size when there is none.
  std::size_t find(std::size_t at) {
    std::uint64_t eight = 0;
    for (; text_.size() - at >= sizeof eight; at += sizeof eight) {
      eight = load<std::uint64_t>(text_.data() + at);
      seen_ |= eight;
      const std::uint64_t found = escapedBytes<layout>(eight);
      if (found != 0) return at + firstOf(found);
    }
    if (at == text_.size()) return at;
    eight = lastBytes(text_.size() - at);
    seen_ |= eight;
    const std::uint64_t found = escapedBytes<layout>(eight);
    // What the last bytes leave free is 0 and looks like one that needs an escape.
    return found == 0 ? text_.size() : std::min(text_.size(), at + firstOf(found));
  }

  bool isAscii() const { return (seen_ & kHighBits) == 0; }

 private:
  static std::size_t firstOf(std::uint64_t found) {
    return static_cast<std::size_t>(std::countr_zero(found)) / 8;
  }

  /// The last 1 to 7 bytes, the first of them lowest. They are read by loads that overlap: gathering them byte by byte
  /// takes longer than all else here.
  std::uint64_t lastBytes(std::size_t count) const {
    const char* const end = text_.data() + text_.size();
    if (text_.size() >= 8) return load<std::uint64_t>(end - 8) >> (8 * (8 - count));
    if (count >= 4) {
      return load<std::uint32_t>(end - count) | std::uint64_t{load<std::uint32_t>(end - 4)}
                                                    << (8 * (count - 4));
    }
    const auto byte = [&](std::size_t at) {
      return std::uint64_t{static_cast<unsigned char>(end[static_cast<std::ptrdiff_t>(at - count)])}
             << (8 * at);
    };
    return byte(0) | byte(count / 2) | byte(count - 1);
  }

  template <typename Word>
  static Word load(const char* from) {
    Word word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
  }

  const std::string_view text_;
  std::uint64_t seen_ = 0;
};

Error failure(const char* problem) {
  return {std::string(kJsonErrorDomain), kJsonErrorCode, problem};
}

template <Layout layout>
class Writer {
 public:
  explicit Writer(std::size_t expectedSize) : out_(expectedSize) {}

  bool write(const json::value& value) {
    switch (value.kind()) {
      case json::kind::null:
        out_.append("null");
        return true;
      case json::kind::bool_:
        out_.append(value.get_bool() ? "true" : "false");
        return true;
      case json::kind::int64:
        return writeInteger(value.get_int64());
      case json::kind::uint64:
        return writeInteger(value.get_uint64());
      case json::kind::double_:
        return writeReal(value.get_double());
      case json::kind::string:
        return writeString({value.get_string().data(), value.get_string().size()});
      case json::kind::array:
        return write(value.get_array());
      case json::kind::object:
        return write(value.get_object());
    }
    return false;
  }

  bool write(const json::array& array) {
    const auto writeElement = [this](const json::value& element) { return write(element); };
    return writeContainer('[', ']', array, writeElement);
  }

  bool write(const json::object& object) {
    const auto writeMember = [this](const json::key_value_pair& member) {
      return writeKey({member.key().data(), member.key().size()}) && write(member.value());
    };
    return writeContainer('{', '}', object, writeMember);
  }

  bool write(std::span<const JsonMember> members) {
    const auto writeMember = [this](const JsonMember& member) {
      return writeKey(member.key) &&
             std::visit([this](const auto& value) { return writePart(value); }, member.value);
    };
    return writeContainer('{', '}', members, writeMember);
  }

  Result<std::string> result(bool success) && {
    if (success) {
      return std::move(out_).take();
    }
    return failure(problem_);
  }

 private:
  template <typename Container, typename WriteItem>
  bool writeContainer(char opening, char closing, const Container& items, const WriteItem& writeItem) {
    if (++depth_ >= kMaxJsonDepth) {
      return fail("arrays and dictionaries are nested too deep");
    }
    out_.append(opening);
    bool first = true;
    for (const auto& item : items) {
      if (!first) {
        out_.append(',');
      }
      first = false;
      startLine();
      if (!writeItem(item)) {
        return false;
      }
    }
    --depth_;
    if (layout == Layout::Pretty && first) {
      out_.append('\n');
    }
    startLine();
    out_.append(closing);
    return true;
  }

  void startLine() {
    if constexpr (layout == Layout::Pretty) {
      out_.append('\n');
      out_.append(2 * depth_, ' ');
    }
  }

  bool writeKey(std::string_view key) {
    if (!writeString(key)) return false;
    out_.append(layout == Layout::Pretty ? " : " : ":");
    return true;
  }

  bool writePart(std::string_view text) { return writeString(text); }
  bool writePart(std::int64_t number) { return writeInteger(number); }
  bool writePart(const json::object* object) { return write(*object); }

  template <typename Integer>
  bool writeInteger(Integer number) {
    constexpr std::size_t kLongest = 24;
    char* const place = out_.room(kLongest);
    out_.used(std::to_chars(place, place + kLongest, number).ptr);
    return true;
  }

  bool writeReal(double number) {
    if (!std::isfinite(number)) {
      return fail("a number is not finite");
    }
    out_.used(writeShortestReal(out_.room(kLongestReal), number));
    return true;
  }

  bool writeString(std::string_view text) {
    EscapeFinder<layout> finder(text);
    out_.append('"');
    for (std::size_t written = 0;;) {
      const std::size_t at = finder.find(written);
      out_.append(text.substr(written, at - written));
      if (at == text.size()) break;
      writeEscape(text[at]);
      written = at + 1;
    }
    out_.append('"');
    return finder.isAscii() || isUtf8(text) || fail("a text is not UTF-8");
  }

  void writeEscape(char c) {
    const char letter = kEscapes<layout>[static_cast<unsigned char>(c)];
    const char start[] = {'\\', letter};
    out_.append({start, sizeof start});
    if (letter == 'u') {
      constexpr std::string_view kDigits = "0123456789abcdef";
      const char code[] = {'0', '0', kDigits[static_cast<unsigned char>(c) >> 4],
                           kDigits[static_cast<unsigned char>(c) & 15]};
      out_.append({code, sizeof code});
    }
  }

  bool fail(const char* problem) {
    problem_ = problem;
    return false;
  }

  TextBuffer out_;
  std::size_t depth_ = 0;
  const char* problem_ = "";
};

template <Layout layout, typename Value>
Result<std::string> writeAs(const Value& value) try {
  Writer<layout> writer(512);
  const bool success = writer.write(value);
  return std::move(writer).result(success);
} catch (const std::exception& exception) {
  return failure(exception.what());
}

}  // namespace

Result<std::string> writeJsonPretty(const json::value& value) {
  if (!value.is_object() && !value.is_array()) {
    return failure("the top level is neither an array nor a dictionary");
  }
  return writeAs<Layout::Pretty>(value);
}
Result<std::string> writeJsonPretty(const json::object& object) {
  return writeAs<Layout::Pretty>(object);
}
Result<std::string> writeJsonPretty(const json::array& array) {
  return writeAs<Layout::Pretty>(array);
}
Result<std::string> writeJsonPretty(std::span<const JsonMember> members) {
  return writeAs<Layout::Pretty>(members);
}

Result<std::string> writeJsonCompact(const json::value& value) {
  return writeAs<Layout::Compact>(value);
}
Result<std::string> writeJsonCompact(const json::object& object) {
  return writeAs<Layout::Compact>(object);
}

}  // namespace orv
