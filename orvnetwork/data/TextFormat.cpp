#include "orvnetwork/data/TextFormat.h"

#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/Utf8.h>

#include <charconv>
#include <vector>

namespace orv {
namespace {

/// Writes dictionaries and arrays, keeps the first `kMaxDescriptionSize` bytes and counts the rest.
class Describer {
 public:
  void describeObject(const json::object& object) {
    if (depth_ == kMaxDepth) {
      return append("{...}");
    }
    std::vector<const json::key_value_pair*> members;
    members.reserve(object.size());
    for (const json::key_value_pair& entry : object) {
      members.push_back(&entry);
    }
    // More members than that never all fit: their order is not worth the time.
    if (members.size() <= kMostSorted) {
      std::sort(members.begin(), members.end(),
                [](const auto* left, const auto* right) { return left->key() < right->key(); });
    }
    append("{\n");
    ++depth_;
    for (const json::key_value_pair* entry : members) {
      if (isFull()) break;
      indent();
      describeLeaf({entry->key().data(), entry->key().size()});
      append(" = ");
      describeNested(entry->value());
      append(";\n");
    }
    --depth_;
    indent();
    append("}");
  }

  void describeArray(const json::array& array) {
    if (depth_ == kMaxDepth) {
      return append("(...)");
    }
    append("(\n");
    ++depth_;
    for (std::size_t at = 0; at < array.size() && !isFull(); ++at) {
      indent();
      describeNested(array[at]);
      append(at + 1 < array.size() ? ",\n" : "\n");
    }
    --depth_;
    indent();
    append(")");
  }

  std::string result() && {
    if (isFull()) out_ += "\u2026(cut)";
    return std::move(out_);
  }

 private:
  static constexpr std::size_t kMaxDepth = 64;
  static constexpr std::size_t kMostSorted = 16384;

  /// Nothing that follows would be seen.
  bool isFull() const { return isCut_; }

  void describeNested(const json::value& value) {
    if (const json::object* object = value.if_object()) {
      describeObject(*object);
    } else if (const json::array* array = value.if_array()) {
      describeArray(*array);
    } else if (value.is_null()) {
      describeLeaf("<null>");
    } else if (const auto text = looseStringView(&value)) {
      describeLeaf(*text);
    } else {
      describeLeaf(*textOfNumber(value));
    }
  }

  void describeLeaf(std::string_view text) {
    const auto isAlphanumeric = [](char c) {
      return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    };
    const auto seen = text.substr(0, kMaxDescriptionSize);
    if (!text.empty() && std::all_of(seen.begin(), seen.end(), isAlphanumeric)) {
      return append(text);
    }
    append("\"");
    for (std::size_t at = 0; at < text.size() && !isFull();) {
      const std::size_t length = utf8SequenceLength(text.substr(at));
      if (length > 1) {
        appendUtf16(utf8CodePoint(text.substr(at), length));
        at += length;
      } else {
        appendByte(text[at++]);
      }
    }
    append("\"");
  }

  void appendByte(char c) {
    switch (c) {
      case '\n':
        return append("\\n");
      case '\r':
        return append("\\r");
      case '\t':
        return append("\\t");
      case '"':
        return append("\\\"");
      case '\\':
        return append("\\\\");
      default:
        break;
    }
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F) {
      return append({&c, 1});
    }
    const char octal[] = {'\\', static_cast<char>('0' + (byte >> 6)),
                          static_cast<char>('0' + ((byte >> 3) & 7)), static_cast<char>('0' + (byte & 7))};
    append({octal, sizeof octal});
  }

  void appendUtf16(char32_t code) {
    if (code >= 0x10000) {
      appendUnit(0xD800 + ((code - 0x10000) >> 10));
      code = 0xDC00 + (code & 0x3FF);
    }
    appendUnit(code);
  }

  void appendUnit(char32_t unit) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const char escape[] = {'\\',
                           'U',
                           kDigits[unit >> 12],
                           kDigits[(unit >> 8) & 15],
                           kDigits[(unit >> 4) & 15],
                           kDigits[unit & 15]};
    append({escape, sizeof escape});
  }

  void indent() {
    for (std::size_t level = 0; level < depth_; ++level) {
      append("    ");
    }
  }

  void append(std::string_view text) {
    const std::size_t room = kMaxDescriptionSize - out_.size();
    if (text.size() > room) isCut_ = true;
    out_ += text.substr(0, room);
  }

  std::string out_;
  bool isCut_ = false;
  std::size_t depth_ = 0;
};

}  // namespace

std::string describe(const json::object& object) {
  Describer describer;
  describer.describeObject(object);
  return std::move(describer).result();
}

std::string describe(const json::array& array) {
  Describer describer;
  describer.describeArray(array);
  return std::move(describer).result();
}

std::string describe(const json::value& value) {
  if (const json::object* object = value.if_object()) {
    return describe(*object);
  }
  if (const json::array* array = value.if_array()) {
    return describe(*array);
  }
  if (OptionalString text = looseString(&value)) {
    return *std::move(text);
  }
  return textOfNumber(value).value_or("(null)");
}

std::string describe(const Error& error) {
  return error.text();
}

namespace detail {
namespace {

void appendInteger(std::string& out, const FormatSlot& slot, const FormatArgument& argument) {
  char buffer[24];
  const bool isSigned = slot.conversion != 'u' && argument.negative;
  const auto end =
      isSigned ? std::to_chars(buffer, buffer + sizeof buffer, static_cast<std::int64_t>(argument.integer))
               : std::to_chars(buffer, buffer + sizeof buffer, argument.integer);
  std::string_view digits(buffer, static_cast<std::size_t>(end.ptr - buffer));
  if (slot.width > digits.size()) {
    if (isSigned) {
      out += '-';
      digits.remove_prefix(1);
    }
    out.append(slot.width - digits.size() - (isSigned ? 1 : 0), '0');
  }
  out += digits;
}

void appendArgument(std::string& out, const FormatSlot& slot, const FormatArgument& argument) {
  if (slot.conversion != '@' && slot.conversion != 's') {
    appendInteger(out, slot, argument);
  } else if (argument.append != nullptr) {
    argument.append(out, argument.object);
  } else {
    out += argument.text;
  }
}

}  // namespace

std::string fillSlots(std::string_view format, std::span<const FormatArgument> arguments) {
  constexpr std::size_t kLongestInteger = 20;
  std::size_t expected = format.size();
  for (const FormatArgument& argument : arguments) expected += kLongestInteger + argument.text.size();
  std::string out;
  out.reserve(expected);
  std::size_t literal = 0;
  std::size_t used = 0;
  for (FormatSlot slot = nextSlot(format, 0); slot.begin < format.size(); slot = nextSlot(format, slot.end)) {
    out += format.substr(literal, slot.begin - literal);
    literal = slot.end;
    if (slot.conversion == '%') {
      out += '%';
    } else {
      appendArgument(out, slot, arguments[used++]);
    }
  }
  out += format.substr(literal);
  return out;
}

}  // namespace detail
}  // namespace orv
