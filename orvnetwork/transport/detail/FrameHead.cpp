// A reader of plain JSON that makes nothing. It knows less than the one that makes values and is stricter: it takes no
// escape by number, no exponent, no number that is long, no comma too many, no deep nesting and no member of interest
// that comes twice. Whatever it does not take is left to that one, so that there is one set of rules.

#include "orvnetwork/transport/detail/FrameHead.h"

#include <orvnetwork/data/Utf8.h>

#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

namespace orv {

namespace {

constexpr std::size_t kMostDigits = 15;
constexpr int kDeepest = 32;
/// Up to here each integer is a double, which identifiers are read as.
constexpr std::int64_t kLargestIdentifier = std::int64_t{1} << 53;

constexpr bool isDecimal(char c) {
  return c >= '0' && c <= '9';
}

/// An integer without a sign or a zero in front; -1 for anything else.
std::int64_t plainInteger(std::string_view digits) {
  if (digits.empty() || (digits.front() == '0' && digits.size() > 1) || !isDecimal(digits.front())) return -1;
  std::int64_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  return error == std::errc() && stop == end ? number : -1;
}

class HeadReader {
 public:
  explicit HeadReader(std::string_view text) : text_(text) {}

  /// False where the text is not plain.
  bool read(FrameHead& head) {
    bool hasCommand = false, hasIdentifier = false, hasValues = false;
    skipBlanks();
    const bool isPlain = readMembers([&](std::string_view key) {
      if (key == "C") return isFirst(hasCommand) && readCommand(head);
      if (key == "s") return isFirst(hasIdentifier) && readIdentifier(head);
      if (key == "v") return isFirst(hasValues) && readValues();
      return skipValue(1);
    });
    skipBlanks();
    return isPlain && at_ == text_.size();
  }

 private:
  static bool isFirst(bool& seen) { return !std::exchange(seen, true); }

  bool readCommand(FrameHead& head) {
    const std::size_t begin = at_ + 1;
    const auto command = readText();
    if (!command || command->find('\\') != std::string_view::npos) return false;
    head.commandAt = static_cast<std::uint16_t>(begin);
    head.commandSize = static_cast<std::uint16_t>(command->size());
    return true;
  }

  bool readIdentifier(FrameHead& head) {
    const auto digits = peek() == '"' ? readText() : readDigits();
    head.timestamp = digits ? plainInteger(*digits) : -1;
    return head.timestamp >= 0 && head.timestamp <= kLargestIdentifier;
  }

  /// "v", whose "ret" has to be 0.
  bool readValues() {
    if (peek() == 'n') return takes("null");
    bool hasCode = false;
    return readMembers([&](std::string_view key) {
      return key == "ret" ? isFirst(hasCode) && readDigits() == "0" : skipValue(2);
    });
  }

  /// A dictionary, by `readMember`, which gets each key and reads what follows the colon.
  template <typename ReadMember>
  bool readMembers(ReadMember readMember) {
    if (!takes('{')) return false;
    skipBlanks();
    if (takes('}')) return true;
    for (;;) {
      const auto key = readText();
      if (!key || key->find('\\') != std::string_view::npos) return false;
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

  bool skipElements(int depth) {
    ++at_;
    skipBlanks();
    if (takes(']')) return true;
    for (;;) {
      if (!skipValue(depth + 1)) return false;
      skipBlanks();
      if (takes(']')) return true;
      if (!takes(',')) return false;
      skipBlanks();
    }
  }

  bool skipValue(int depth) {
    if (depth > kDeepest) return false;
    switch (peek()) {
      case '"':
        return readText().has_value();
      case '{':
        return readMembers([&](std::string_view) { return skipValue(depth + 1); });
      case '[':
        return skipElements(depth);
      case 't':
        return takes("true");
      case 'f':
        return takes("false");
      case 'n':
        return takes("null");
      default:
        return skipNumber();
    }
  }

  bool skipNumber() {
    takes('-');
    const auto whole = readDigits();
    if (!whole || (whole->front() == '0' && whole->size() > 1)) return false;
    return !takes('.') || readDigits();
  }

  /// One digit or more, up to as many as are always good.
  std::optional<std::string_view> readDigits() {
    const std::size_t begin = at_;
    while (isDecimal(peek())) ++at_;
    const std::string_view digits = text_.substr(begin, at_ - begin);
    if (digits.empty() || digits.size() > kMostDigits + 1) return std::nullopt;
    return digits;
  }

  /// What stands between quotes, with its escapes.
  std::optional<std::string_view> readText() {
    if (!takes('"')) return std::nullopt;
    const std::size_t begin = at_;
    for (;;) {
      skipCharacters();
      if (peek() == '"') return text_.substr(begin, at_++ - begin);
      if (peek() != '\\') return std::nullopt;
      ++at_;
      if (std::string_view("\"\\/bfnrt").find(peek()) == std::string_view::npos) return std::nullopt;
      ++at_;
    }
  }

  /// Goes on to the next quote, backslash or control character, or to the end: eight bytes at a time.
  void skipCharacters() {
    constexpr std::uint64_t kOnes = 0x0101'0101'0101'0101u;
    constexpr std::uint64_t kTops = 0x80 * kOnes;
    static_assert(std::endian::native == std::endian::little, "the first byte of a text is the lowest one");
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

  const std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

std::optional<FrameHead> FrameHead::read(std::string_view message, SteadyTime arrivedAt) {
  FrameHead head;
  head.arrivedAt = arrivedAt;
  if (message.size() > kLongestText || !isUtf8(message) || !HeadReader(message).read(head)) {
    return std::nullopt;
  }
  return head;
}

}  // namespace orv
