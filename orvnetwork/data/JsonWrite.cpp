#include "orvnetwork/data/Json.h"

#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/data/detail/Decimal.h>

#include <array>
#include <charconv>
#include <cmath>

namespace orv {
namespace {

enum class Layout { Pretty, Compact };

/// What a byte of a string needs: 0 nothing, 1 a look at its UTF-8 sequence, else the letter after a
/// backslash.
constexpr char kPlain = 0;
constexpr char kSequence = 1;

constexpr std::array<char, 256> makeEscapes(bool escapeSlash) {
  std::array<char, 256> escapes{};
  for (std::size_t c = 0; c < 0x20; ++c) {
    escapes[c] = 'u';
  }
  for (std::size_t c = 0x80; c < 0x100; ++c) {
    escapes[c] = kSequence;
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

Error failure(const char* problem) {
  return {std::string(kJsonErrorDomain), kJsonErrorCode, problem};
}

template <Layout layout>
class Writer {
 public:
  explicit Writer(std::size_t expectedSize) { out_.reserve(expectedSize); }

  bool write(const json::value& value) {
    switch (value.kind()) {
      case json::kind::null:
        out_ += "null";
        return true;
      case json::kind::bool_:
        out_ += value.get_bool() ? "true" : "false";
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
      if (!writeString({member.key().data(), member.key().size()})) {
        return false;
      }
      out_ += layout == Layout::Pretty ? " : " : ":";
      return write(member.value());
    };
    return writeContainer('{', '}', object, writeMember);
  }

  Result<std::string> result(bool success) && {
    if (success) {
      return std::move(out_);
    }
    return failure(problem_);
  }

 private:
  template <typename Container, typename WriteItem>
  bool writeContainer(char opening, char closing, const Container& items, const WriteItem& writeItem) {
    if (++depth_ >= kMaxJsonDepth) {
      return fail("arrays and dictionaries are nested too deep");
    }
    out_ += opening;
    bool first = true;
    for (const auto& item : items) {
      if (!first) {
        out_ += ',';
      }
      first = false;
      startLine();
      if (!writeItem(item)) {
        return false;
      }
    }
    --depth_;
    if (layout == Layout::Pretty && first) {
      out_ += '\n';
    }
    startLine();
    out_ += closing;
    return true;
  }

  void startLine() {
    if constexpr (layout == Layout::Pretty) {
      out_ += '\n';
      out_.append(2 * depth_, ' ');
    }
  }

  template <typename Integer>
  bool writeInteger(Integer number) {
    char buffer[24];
    out_.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
    return true;
  }

  bool writeReal(double number) {
    if (!std::isfinite(number)) {
      return fail("a number is not finite");
    }
    appendShortestReal(out_, number);
    return true;
  }

  bool writeString(std::string_view text) {
    static constexpr std::array<char, 256> kEscapes = makeEscapes(layout == Layout::Pretty);
    out_ += '"';
    std::size_t written = 0;
    for (std::size_t at = 0; at < text.size();) {
      const char escape = kEscapes[static_cast<unsigned char>(text[at])];
      if (escape == kPlain) {
        ++at;
      } else if (escape == kSequence) {
        const std::size_t length = utf8SequenceLength(text.substr(at));
        if (length == 0) {
          return fail("a text is not UTF-8");
        }
        at += length;
      } else {
        out_.append(text, written, at - written);
        writeEscape(escape, text[at]);
        written = ++at;
      }
    }
    out_.append(text, written);
    out_ += '"';
    return true;
  }

  void writeEscape(char escape, char c) {
    out_ += '\\';
    out_ += escape;
    if (escape == 'u') {
      constexpr std::string_view kDigits = "0123456789abcdef";
      out_ += "00";
      out_ += kDigits[static_cast<unsigned char>(c) >> 4];
      out_ += kDigits[static_cast<unsigned char>(c) & 15];
    }
  }

  bool fail(const char* problem) {
    problem_ = problem;
    return false;
  }

  std::string out_;
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

Result<std::string> writeJsonCompact(const json::value& value) {
  return writeAs<Layout::Compact>(value);
}
Result<std::string> writeJsonCompact(const json::object& object) {
  return writeAs<Layout::Compact>(object);
}

}  // namespace orv
