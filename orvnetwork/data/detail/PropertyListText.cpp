#include "orvnetwork/data/detail/PropertyListText.h"

#include <orvnetwork/data/PropertyListLimits.h>
#include <orvnetwork/data/detail/Decimal.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <vector>

namespace orv {

namespace {

constexpr std::array<std::string_view, 9> kElements{"plist",   "dict", "array", "key",  "string",
                                                    "integer", "real", "true",  "false"};
constexpr std::string_view kBlanks = " \t\r\n";

struct Damage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

bool holdsCharacters(std::string_view name) {
  return name == "key" || name == "string" || name == "integer" || name == "real";
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

/// The digits of an integer, decimal or hexadecimal, as plain decimal ones.
std::string plainInteger(std::string_view text) {
  std::string_view digits = trimmed(text);
  const bool negative = digits.starts_with('-');
  if (negative || digits.starts_with('+')) digits.remove_prefix(1);
  const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
  if (hexadecimal) digits.remove_prefix(2);
  std::uint64_t size = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, size, hexadecimal ? 16 : 10);
  if (error == std::errc::invalid_argument || stop != end) throw Damage("an integer is no number");
  if (error != std::errc() || (negative && size > std::uint64_t{1} << 63))
    throw Damage("an integer is too large");
  return (negative && size > 0 ? "-" : "") + std::to_string(size);
}

/// The digits of a real as the fewest that stand for the same number.
std::string plainReal(std::string_view text) {
  std::string_view digits = trimmed(text);
  if (digits.starts_with('+') && !digits.substr(1).starts_with('-')) digits.remove_prefix(1);
  double number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error == std::errc::invalid_argument || stop != end || digits.ends_with(')')) {
    throw Damage("a real is no number");
  }
  if (error == std::errc::result_out_of_range) number = realFromDecimal(digits);
  if (std::isnan(number)) return "nan";
  if (std::isinf(number)) return number > 0 ? "+infinity" : "-infinity";
  char buffer[32];
  return {buffer, std::to_chars(buffer, std::end(buffer), number).ptr};
}

/// Every reference to a character must be whole and of a kind that every parser knows.
void checkReferences(std::string_view characters) {
  constexpr std::array<std::string_view, 5> kNames{"lt", "gt", "amp", "quot", "apos"};
  for (std::size_t at = 0; (at = characters.find('&', at)) != std::string_view::npos; ++at) {
    const std::string_view after = characters.substr(at + 1);
    std::string_view name = after.substr(0, std::min(after.find(';'), after.size()));
    if (name.size() == after.size()) throw Damage("a reference to a character has no end");
    if (std::ranges::find(kNames, name) != kNames.end()) continue;
    const bool hexadecimal = name.starts_with("#x");
    name.remove_prefix(hexadecimal ? 2 : name.starts_with('#') ? 1 : 0);
    std::uint32_t code = 0;
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), end, code, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end || name.data() == after.data() || code == 0 || code > 0x10FFFF) {
      throw Damage("it refers to a character that is none");
    }
  }
}

class Reducer {
 public:
  explicit Reducer(std::string_view text) : rest_(text) {
    if (rest_.starts_with("\xEF\xBB\xBF")) rest_.remove_prefix(3);
    out_.reserve(rest_.size());
  }

  std::string run() && {
    if (rest_.find('\0') != std::string_view::npos) throw Damage("it holds a zero byte");
    while (!rest_.empty()) {
      const std::size_t tag = std::min(rest_.find('<'), rest_.size());
      if (tag > 0) {
        checkReferences(rest_.substr(0, tag));
        takeCharacters(rest_.substr(0, tag));
      }
      rest_.remove_prefix(tag);
      if (!rest_.empty()) takeMarkup();
    }
    if (!open_.empty()) throw Damage("<" + std::string(open_.back().name) + "> is not closed");
    if (out_.empty()) throw Damage("it holds no property list");
    return std::move(out_);
  }

 private:
  /// An element whose end has not come yet.
  struct Open {
    std::string_view name;
    /// Where what it holds begins in the output.
    std::size_t begin = 0;
    std::size_t children = 0;
    bool isDictionary = false;
    bool holdsCharacters = false;
  };

  void takeCharacters(std::string_view characters) {
    if (!open_.empty() && open_.back().holdsCharacters) {
      out_ += characters;
    } else if (!trimmed(characters).empty()) {
      throw Damage("text is out of place");
    }
  }

  void takeMarkup() {
    if (rest_.starts_with("<!--")) {
      takeThrough(4, "-->");
    } else if (rest_.starts_with("<![CDATA[")) {
      takeCharacters(escaped(takeThrough(9, "]]>")));
    } else if (rest_.starts_with("<?")) {
      takeThrough(2, "?>");
    } else if (rest_.starts_with("<!DOCTYPE")) {
      // What a document type declares inside is nobody's business here.
      if (takeThrough(9, ">").find_first_of("[<") != std::string_view::npos)
        throw Damage("it declares its own type");
    } else {
      takeTag();
    }
  }

  /// Takes a piece of markup whose head has so many bytes, and its end mark; returns what is between.
  std::string_view takeThrough(std::size_t head, std::string_view mark) {
    const std::size_t end = rest_.find(mark, head);
    if (end == std::string_view::npos) throw Damage("it ends within a mark");
    const std::string_view inside = rest_.substr(head, end - head);
    rest_.remove_prefix(end + mark.size());
    return inside;
  }

  void takeTag() {
    std::string_view tag = takeThrough(1, ">");
    if (tag.find('<') != std::string_view::npos) throw Damage("a tag holds another one");
    const bool closing = tag.starts_with('/');
    const bool empty = !closing && tag.ends_with('/');
    if (closing) tag.remove_prefix(1);
    if (empty) tag.remove_suffix(1);
    // Attributes mean nothing in a property list.
    const std::string_view name = tag.substr(0, tag.find_first_of(kBlanks));
    if (std::ranges::find(kElements, name) == kElements.end()) {
      throw Damage("<" + std::string(name.substr(0, 32)) + "> is no element that is taken");
    }
    if (!closing) open(name);
    if (closing || empty) close(name);
  }

  void open(std::string_view name) {
    checkPlace(name);
    // The root comes on top of what nests.
    const bool nests = name == "dict" || name == "array";
    if (nests && open_.size() > kMaxPropertyListDepth) throw Damage("it is nested too deep");
    ((out_ += '<') += name) += '>';
    open_.push_back({name, out_.size(), 0, name == "dict", holdsCharacters(name)});
  }

  void checkPlace(std::string_view name) {
    const bool isRoot = name == "plist";
    if (isRoot != open_.empty() || (isRoot && !out_.empty())) throwOutOfPlace(name);
    if (isRoot) return;
    Open& around = open_.back();
    if (!around.isDictionary && around.name != "plist" && around.name != "array") {
      throw Damage("<" + std::string(around.name) + "> holds another element");
    }
    const bool keyIsNext = around.isDictionary && around.children % 2 == 0;
    const bool isSecondRoot = around.name == "plist" && around.children > 0;
    if (keyIsNext != (name == "key") || isSecondRoot) throwOutOfPlace(name);
    ++around.children;
  }

  [[noreturn]] static void throwOutOfPlace(std::string_view name) {
    throw Damage("<" + std::string(name) + "> is out of place");
  }

  void close(std::string_view name) {
    if (open_.empty() || open_.back().name != name) {
      throw Damage("</" + std::string(name) + "> closes nothing");
    }
    const Open& element = open_.back();
    if (element.isDictionary && element.children % 2 != 0) throw Damage("a key has no value");
    if (name == "plist" && element.children == 0) throw Damage("it holds no property list");
    if (name == "integer") out_.replace(element.begin, std::string::npos, plainInteger(content(element)));
    if (name == "real") out_.replace(element.begin, std::string::npos, plainReal(content(element)));
    ((out_ += "</") += name) += '>';
    open_.pop_back();
  }

  std::string_view content(const Open& element) const { return std::string_view(out_).substr(element.begin); }

  static std::string escaped(std::string_view characters) {
    std::string out;
    for (const char c : characters) {
      switch (c) {
        case '<':
          out += "&lt;";
          break;
        case '>':
          out += "&gt;";
          break;
        case '&':
          out += "&amp;";
          break;
        default:
          out += c;
      }
    }
    return out;
  }

  std::string_view rest_;
  std::string out_;
  std::vector<Open> open_;
};

}  // namespace

OptionalString plainPropertyListText(std::string_view text, std::string& problem) {
  try {
    return Reducer(text).run();
  } catch (const Damage& damage) {
    problem = damage.what();
    return std::nullopt;
  }
}

}  // namespace orv
