#include "orvnetwork/data/JsonIndex.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/data/detail/Decimal.h>
#include <orvnetwork/data/detail/PlainJson.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace orv {

/// Goes through a text and writes the entries down. It takes no key with an escape, no comma too many and no deep nesting.
class JsonIndexReader {
 public:
  /// The entries are written anew.
  JsonIndexReader(std::string_view text, JsonIndex& index) : json_(text), index_(index) {
    // A value in some twelve bytes, as in the server's dictionaries; those of texts that are denser need more room.
    index_.makeRoom(text.size() / 12 + 8);
  }

  /// False where the text is not plain.
  bool read() {
    const Place first = json_.skipBlanks(json_.begin());
    if (!json_.isAt(first, '{') && !json_.isAt(first, '[')) return false;
    const Place end = readValue(first, 1);
    return end != nullptr && json_.skipBlanks(end) == json_.end();
  }

 private:
  using Kind = JsonIndex::Kind;
  using Place = PlainJson::Place;

  /// Each begins where a value stands, and says where it ends; null where it is not plain.
  Place readValue(Place at, int depth) {
    if (at == json_.end()) return nullptr;
    switch (*at) {
      case '"':
        return readText(at);
      case '{':
        return readDictionary(at, depth);
      case '[':
        return readArray(at, depth);
      case 't':
        return readWord(at, Kind::True, "true");
      case 'f':
        return readWord(at, Kind::False, "false");
      case 'n':
        return readWord(at, Kind::Null, "null");
      default:
        return readNumber(at);
    }
  }

  Place readDictionary(const Place begin, int depth) {
    if (depth > PlainJson::kDeepest) return nullptr;
    const std::uint32_t self = add(Kind::Dictionary, begin, begin);
    Place at = json_.skipBlanks(begin + 1);
    if (json_.isAt(at, '}')) return close(self, begin, at + 1);
    while (json_.isAt(at, '"')) {
      at = readKey(at);
      if (at == nullptr) return nullptr;
      at = json_.skipBlanks(at);
      if (!json_.isAt(at, ':')) return nullptr;
      at = readValue(json_.skipBlanks(at + 1), depth + 1);
      if (at == nullptr) return nullptr;
      at = json_.skipBlanks(at);
      if (json_.isAt(at, '}')) return close(self, begin, at + 1);
      if (!json_.isAt(at, ',')) return nullptr;
      at = json_.skipBlanks(at + 1);
    }
    return nullptr;
  }

  Place readArray(const Place begin, int depth) {
    if (depth > PlainJson::kDeepest) return nullptr;
    const std::uint32_t self = add(Kind::Array, begin, begin);
    Place at = json_.skipBlanks(begin + 1);
    if (json_.isAt(at, ']')) return close(self, begin, at + 1);
    for (;;) {
      at = readValue(at, depth + 1);
      if (at == nullptr) return nullptr;
      at = json_.skipBlanks(at);
      if (json_.isAt(at, ']')) return close(self, begin, at + 1);
      if (!json_.isAt(at, ',')) return nullptr;
      at = json_.skipBlanks(at + 1);
    }
  }

  Place readKey(Place quote) {
    bool hasEscape = false;
    const Place end = json_.skipText(quote + 1, hasEscape);
    if (end == nullptr || hasEscape) return nullptr;
    add(Kind::Text, quote + 1, end);
    return end + 1;
  }

  Place readText(Place quote) {
    bool hasEscape = false;
    const Place end = json_.skipText(quote + 1, hasEscape);
    if (end == nullptr) return nullptr;
    add(hasEscape ? Kind::EscapedText : Kind::Text, quote + 1, end);
    return end + 1;
  }

  Place readWord(Place at, Kind kind, std::string_view word) {
    const Place end = json_.skipWord(at, word);
    if (end != nullptr) add(kind, at, end);
    return end;
  }

  Place readNumber(Place at) {
    Place end = json_.skipInteger(at);
    if (end == nullptr) return nullptr;
    Kind kind = Kind::Integer;
    if (json_.isAt(end, '.')) {
      kind = Kind::Real;
      end = json_.skipDigits(end + 1);
    }
    if (end != nullptr) add(kind, at, end);
    return end;
  }

  std::uint32_t add(Kind kind, Place begin, Place end) {
    const std::uint32_t self = count_++;
    if (self == index_.room_) index_.makeRoom(2 * std::size_t{self});
    index_.entries_[self] = {.at = static_cast<std::uint32_t>(begin - json_.begin()),
                             .size = static_cast<std::uint32_t>(end - begin),
                             .end = count_,
                             .kind = kind};
    return self;
  }

  /// Now that it is known where the array or dictionary ends.
  Place close(std::uint32_t self, Place begin, Place end) {
    index_.entries_[self].size = static_cast<std::uint32_t>(end - begin);
    index_.entries_[self].end = count_;
    return end;
  }

  const PlainJson json_;
  JsonIndex& index_;
  std::uint32_t count_ = 0;
};

void JsonIndex::makeRoom(std::size_t entries) {
  if (entries <= room_) return;
  auto larger = std::make_unique_for_overwrite<Entry[]>(entries);
  std::copy_n(entries_.get(), room_, larger.get());
  entries_ = std::move(larger);
  room_ = entries;
}

std::shared_ptr<const JsonIndex> JsonIndex::read(std::string_view text) {
  auto index = std::make_shared<JsonIndex>();
  return index->readAnew(text) ? index : nullptr;
}

bool JsonIndex::readAnew(std::string_view text) {
  return text.size() <= kLongestText && isUtf8(text) && JsonIndexReader(text, *this).read();
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

std::string JsonView::text() const {
  if (entry().kind == JsonIndex::Kind::Text) return std::string(source());
  std::string text;
  unescape(source(), text);
  return text;
}

std::int64_t JsonView::integer() const {
  std::string_view digits = source();
  const bool isNegative = digits.front() == '-';
  if (isNegative) digits.remove_prefix(1);
  // All of them are digits, and so few that they fit.
  std::int64_t number = 0;
  for (const char digit : digits) number = number * 10 + (digit - '0');
  return isNegative ? -number : number;
}

double JsonView::real() const {
  return realFromDecimal(source());
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
      return integer();
    case Kind::Real:
      return real();
    case Kind::Text:
    case Kind::EscapedText:
      return json::value(text());
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
