#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orv {

class JsonView;

/// Where the values of a JSON text stand: what there is of it for who wants some of the values and no tree of all. It takes
/// a sixth of the time that a tree takes, and one block of memory.
///
///     const auto index = JsonIndex::read(text);
///     if (index == nullptr) return takeValues(parseJson(text));   // out of the ordinary, or no JSON
///     index->root(text).eachItem([&](const JsonView& course) {
///       auto record = std::make_shared<Lesson>();
///       record->fields().merge(*record, course);
///       lessons.push_back(std::move(record));
///     });
///
/// Only plain texts have an index: keys without escapes, numbers without exponents and of up to 16 digits on either side of
/// the point, no surrogates by number, 32 levels at most; of any other text the values have to be made. Those that are made
/// from an index are the same as `parseJson` makes. A dictionary that is walked has all members of one key, of which the
/// last one counts. Any thread, while nobody changes it.
class ORV_EXPORT JsonIndex {
 public:
  /// A longer text has none, so that a place in it takes 32 bits and the index is not large.
  static constexpr std::size_t kLongestText = std::size_t{1} << 20;

  /// The index of a text in UTF-8; null where the text is out of the ordinary, or neither an array nor a dictionary.
  static std::shared_ptr<const JsonIndex> read(std::string_view text);
  /// Makes this the index of another text, in the memory that it has: for who reads one small text after another. No view
  /// may be in use.
  /// @return whether the text has an index; without one there is no `root`
  bool readAnew(std::string_view text);

  /// The array or dictionary, in the same text, which has to live as long as the view, and stay where it is.
  JsonView root(std::string_view text) const;

  /// What the index takes of memory, in bytes.
  std::size_t memory() const { return sizeof(JsonIndex) + room_ * sizeof(Entry); }

 private:
  friend class JsonView;
  friend class JsonIndexReader;

  enum class Kind : std::uint8_t { Null, True, False, Integer, Real, Text, EscapedText, Array, Dictionary };

  /// A value, or a key: they stand one behind the other, in the order of the text, each key in front of its value.
  struct Entry {
    std::uint32_t at;    // of texts, behind the quote
    std::uint32_t size;  // of the text that it is, without quotes
    std::uint32_t end;   // the number of the first entry that is no part of it
    Kind kind;
  };

  void makeRoom(std::size_t entries);

  // No `std::vector`: it would look whether there is room, and how much, in a function of its own for each value.
  std::unique_ptr<Entry[]> entries_;
  std::size_t room_ = 0;
};

/// A value in a text that has an index. Refers to both. Copied like a pointer.
class ORV_EXPORT JsonView {
 public:
  bool isNull() const { return entry().kind == JsonIndex::Kind::Null; }
  bool isFlag() const { return isTrue() || entry().kind == JsonIndex::Kind::False; }
  bool isTrue() const { return entry().kind == JsonIndex::Kind::True; }
  bool isText() const {
    return entry().kind == JsonIndex::Kind::Text || entry().kind == JsonIndex::Kind::EscapedText;
  }
  /// Whether it is a number without a point, or one with it.
  bool isInteger() const { return entry().kind == JsonIndex::Kind::Integer; }
  bool isReal() const { return entry().kind == JsonIndex::Kind::Real; }
  bool isArray() const { return entry().kind == JsonIndex::Kind::Array; }
  bool isDictionary() const { return entry().kind == JsonIndex::Kind::Dictionary; }

  /// Whether it is a text without an escape: `source` is what it says.
  bool isPlainText() const { return entry().kind == JsonIndex::Kind::Text; }

  /// The value as it is written: of a text what stands between the quotes, escapes and all.
  std::string_view source() const { return {text_ + entry().at, entry().size}; }

  /// The value's number in the index, which is less to keep than a view, and not 0 but for the root.
  std::uint32_t place() const { return at_; }
  /// The value of this number in the same text.
  JsonView at(std::uint32_t place) const { return {index_, text_, place}; }

  /// What a text says. `place` is for one that has an escape in it, and has to live as long as what is returned.
  std::string_view text(std::string& place) const;
  /// The same, by itself.
  std::string text() const;
  /// The number that it is, of which `isInteger` or `isReal` is known.
  std::int64_t integer() const;
  double real() const;
  /// The value, made. Of numbers, flags and null nothing lies on the heap.
  json::value value() const;

  /// Calls `member` with the key and the value of each member of a dictionary, in their order; those of one key all.
  template <typename Member>
  void eachMember(Member member) const {
    for (std::uint32_t key = at_ + 1; key < entry().end;) {
      const JsonView value(index_, text_, key + 1);
      member(JsonView(index_, text_, key).source(), value);
      key = value.entry().end;
    }
  }
  /// Calls `item` with each item of an array.
  template <typename Item>
  void eachItem(Item item) const {
    for (std::uint32_t at = at_ + 1; at < entry().end;) {
      const JsonView value(index_, text_, at);
      item(value);
      at = value.entry().end;
    }
  }
  /// The member of a dictionary, the last one of this key; absent when there is none, or this is no dictionary.
  std::optional<JsonView> member(std::string_view key) const;

 private:
  friend class JsonIndex;

  JsonView(const JsonIndex* index, const char* text, std::uint32_t at)
      : index_(index), text_(text), at_(at) {}
  const JsonIndex::Entry& entry() const { return index_->entries_[at_]; }

  const JsonIndex* index_;
  const char* text_;
  std::uint32_t at_;
};

}  // namespace orv
