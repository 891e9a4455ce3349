#include "orvnetwork/data/JsonIndex.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/data/detail/Decimal.h>
#include <orvnetwork/data/detail/PlainJson.h>

#include <charconv>
#include <utility>

namespace orv {

/// Goes through a text and writes the entries down.
class JsonIndexReader : PlainJson {
 public:
  /// Writes behind what is there.
  JsonIndexReader(std::string_view text, std::vector<JsonIndex::Entry>& entries)
      : PlainJson(text), entries_(entries) {}

  /// False where the text is not plain.
  bool read() {
    skipBlanks();
    if (peek() != '{' && peek() != '[') return false;
    if (!readValue(1)) return false;
    skipBlanks();
    return isAtEnd();
  }

 private:
  using Kind = JsonIndex::Kind;

  bool readValue(int depth) {
    switch (peek()) {
      case '"':
        return addText(readText());
      case '{':
        return addContainer(Kind::Dictionary, depth, [&] {
          return readMembers([&](std::string_view key) { return addText(key) && readValue(depth + 1); });
        });
      case '[':
        return addContainer(Kind::Array, depth,
                            [&] { return readItems([&] { return readValue(depth + 1); }); });
      case 't':
        return addWord(Kind::True, "true");
      case 'f':
        return addWord(Kind::False, "false");
      case 'n':
        return addWord(Kind::Null, "null");
      default:
        return addNumber();
    }
  }

  template <typename Read>
  bool addContainer(Kind kind, int depth, Read read) {
    if (depth > kDeepest) return false;
    const std::size_t self = entries_.size();
    const std::size_t begin = at();
    add(kind, begin, 0);
    if (!read()) return false;
    entries_[self].size = static_cast<std::uint32_t>(at() - begin);
    entries_[self].end = static_cast<std::uint32_t>(entries_.size());
    return true;
  }

  bool addText(std::optional<std::string_view> found) {
    if (!found) return false;
    add(hasEscape() ? Kind::EscapedText : Kind::Text, static_cast<std::size_t>(found->data() - text().data()),
        found->size());
    return true;
  }

  bool addWord(Kind kind, std::string_view word) {
    add(kind, at(), word.size());
    return takes(word);
  }

  bool addNumber() {
    const std::size_t begin = at();
    bool isReal = false;
    if (!readNumber(isReal)) return false;
    add(isReal ? Kind::Real : Kind::Integer, begin, at() - begin);
    return true;
  }

  void add(Kind kind, std::size_t at, std::size_t size) {
    const auto behind = static_cast<std::uint32_t>(entries_.size() + 1);
    entries_.push_back({static_cast<std::uint32_t>(at), static_cast<std::uint32_t>(size), behind, kind});
  }

  std::vector<JsonIndex::Entry>& entries_;
};

std::shared_ptr<const JsonIndex> JsonIndex::read(std::string_view text) {
  auto index = std::make_shared<JsonIndex>();
  return index->readAnew(text) ? index : nullptr;
}

bool JsonIndex::readAnew(std::string_view text) {
  entries_.clear();
  if (text.size() > kLongestText || !isUtf8(text)) return false;
  // A value in some twelve bytes, as in the server's dictionaries; those of texts that are denser need more room.
  entries_.reserve(text.size() / 12 + 8);
  if (JsonIndexReader(text, entries_).read()) return true;
  entries_.clear();
  return false;
}

JsonView JsonIndex::root(std::string_view text) const {
  return {this, text.data(), 0};
}

namespace {

char32_t codeUnit(std::string_view digits) {
  std::uint32_t unit = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), unit, 16);
  return unit;
}

/// The text that is written with escapes; all of them are known to be good.
void unescape(std::string_view source, std::string& text) {
  constexpr std::string_view kLetters = "bfnrt", kMeant = "\b\f\n\r\t";
  constexpr std::size_t kDigits = 4;
  text.clear();
  for (std::size_t escape = source.find('\\'); escape != std::string_view::npos; escape = source.find('\\')) {
    text += source.substr(0, escape);
    const char what = source[escape + 1];
    source.remove_prefix(escape + 2);
    if (what == 'u') {
      appendUtf8(text, codeUnit(source.substr(0, kDigits)));
      source.remove_prefix(kDigits);
    } else {
      const std::size_t letter = kLetters.find(what);
      text += letter == std::string_view::npos ? what : kMeant[letter];
    }
  }
  text += source;
}

std::int64_t integerOf(std::string_view digits) {
  std::int64_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

json::value arrayOf(const JsonView& view) {
  std::size_t count = 0;
  view.eachItem([&](const JsonView&) { ++count; });
  json::array items;
  items.reserve(count);
  view.eachItem([&](const JsonView& item) { items.push_back(item.value()); });
  return items;
}

json::value dictionaryOf(const JsonView& view) {
  std::size_t count = 0;
  view.eachMember([&](std::string_view, const JsonView&) { ++count; });
  json::object members;
  members.reserve(count);
  bool isOnce = true;
  view.eachMember([&](std::string_view key, const JsonView& member) {
    isOnce = members.emplace(key, member.value()).second && isOnce;
  });
  // Which of several members counts, and where it stands, is known there.
  return isOnce ? json::value(std::move(members)) : parseJson(view.source()).value();
}

}  // namespace

std::string_view JsonView::text(std::string& place) const {
  if (entry().kind == JsonIndex::Kind::Text) return source();
  unescape(source(), place);
  return place;
}

json::value JsonView::value() const {
  using Kind = JsonIndex::Kind;
  switch (entry().kind) {
    case Kind::Null:
      return nullptr;
    case Kind::True:
      return true;
    case Kind::False:
      return false;
    case Kind::Integer:
      return integerOf(source());
    case Kind::Real:
      return realFromDecimal(source());
    case Kind::Text:
    case Kind::EscapedText: {
      std::string place;
      return json::value(text(place));
    }
    case Kind::Array:
      return arrayOf(*this);
    case Kind::Dictionary:
      return dictionaryOf(*this);
  }
  return nullptr;
}

std::optional<JsonView> JsonView::member(std::string_view key) const {
  std::optional<JsonView> found;
  if (!isDictionary()) return found;
  eachMember([&](std::string_view name, const JsonView& value) {
    if (name == key) found.emplace(value);
  });
  return found;
}

}  // namespace orv
