// The form: "bplist00", the objects, a table of their offsets, and a trailer of 32 bytes that says where the
// table is and how wide its entries and the references to objects are. An object begins with a byte that
// holds its kind and its size; a size of 15 means that an integer with the true size follows. All numbers are
// big-endian.

#include "orvnetwork/data/detail/PropertyListBinary.h"

#include <orvnetwork/data/PropertyListLimits.h>
#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/data/detail/PropertyListDamage.h>

#include <bit>
#include <limits>

namespace orv {

namespace {

constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;
/// What a value costs beside its characters.
constexpr std::size_t kValueCost = 64;

using Damage = PropertyListDamage;

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

std::string utf8FromUtf16(std::string_view bytes) {
  const auto unit = [bytes](std::size_t at) {
    return at < bytes.size() ? static_cast<char32_t>(bigEndian(bytes.substr(at, 2))) : 0;
  };
  std::string out;
  out.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size(); at += 2) {
    char32_t code = unit(at);
    if (code >= 0xD800 && code <= 0xDFFF) {
      const char32_t low = unit(at + 2);
      if (code > 0xDBFF || low < 0xDC00 || low > 0xDFFF) throw Damage("half a character stands alone");
      code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
      at += 2;
    }
    appendUtf8(out, code);
  }
  return out;
}

/// The part of the bytes that an object's kind and size leave to be read.
struct Head {
  unsigned kind = 0;
  unsigned size = 0;
  std::string_view rest;
};

class Reader {
 public:
  explicit Reader(std::string_view bytes) {
    if (!bytes.starts_with(kMagic)) throw Damage("its version is not known");
    if (bytes.size() < kMagic.size() + kTrailerSize) throw Damage("it is cut off");
    const std::string_view trailer = bytes.substr(bytes.size() - kTrailerSize);
    offsetWidth_ = static_cast<unsigned char>(trailer[6]);
    referenceWidth_ = static_cast<unsigned char>(trailer[7]);
    count_ = bigEndian(trailer.substr(8, 8));
    top_ = bigEndian(trailer.substr(16, 8));
    const std::uint64_t tableAt = bigEndian(trailer.substr(24, 8));
    if (offsetWidth_ < 1 || offsetWidth_ > 8 || referenceWidth_ < 1 || referenceWidth_ > 8) {
      throw Damage("its trailer is wrong");
    }
    const std::string_view body = bytes.substr(0, bytes.size() - kTrailerSize);
    if (tableAt < kMagic.size() || tableAt > body.size()) throw Damage("its table is out of place");
    objects_ = body.substr(0, static_cast<std::size_t>(tableAt));
    table_ = body.substr(objects_.size());
    if (count_ > table_.size() / offsetWidth_) throw Damage("its table is cut off");
  }

  json::value root() { return valueOf(top_); }

 private:
  json::value valueOf(std::uint64_t reference) {
    charge(kValueCost);
    const Head head = headOf(reference);
    switch (head.kind) {
      case 0x0:
        if (head.size != 8 && head.size != 9) throw Damage("it holds a value of no kind that is taken");
        return head.size == 9;
      case 0x1:
        return integerOf(head);
      case 0x2:
        return realOf(head);
      case 0x5:
      case 0x6:
        return json::string(textOf(head));
      case 0xA:
        return arrayOf(head);
      case 0xD:
        return dictionaryOf(head);
      default:
        throw Damage("it holds a value of no kind that is taken");
    }
  }

  Head headOf(std::uint64_t reference) const {
    if (reference >= count_) throw Damage("it names an object that is not there");
    const std::uint64_t at =
        bigEndian(table_.substr(static_cast<std::size_t>(reference) * offsetWidth_, offsetWidth_));
    if (at < kMagic.size() || at >= objects_.size()) throw Damage("an object is out of place");
    const std::string_view object = objects_.substr(static_cast<std::size_t>(at));
    const auto first = static_cast<unsigned char>(object[0]);
    return {unsigned{first} >> 4, unsigned{first} & 15, object.substr(1)};
  }

  static std::string_view take(std::string_view& from, std::uint64_t size) {
    if (size > from.size()) throw Damage("an object is cut off");
    const std::string_view taken = from.substr(0, static_cast<std::size_t>(size));
    from.remove_prefix(taken.size());
    return taken;
  }

  /// The bytes of an object's items, which are `width` bytes each.
  static std::string_view itemsOf(Head head, std::size_t width) {
    std::uint64_t count = head.size;
    if (count == 15) {
      const auto mark = static_cast<unsigned char>(take(head.rest, 1)[0]);
      if (mark >> 4 != 1 || (mark & 15) > 3) throw Damage("a size is no number");
      count = bigEndian(take(head.rest, std::uint64_t{1} << (mark & 15)));
    }
    if (count > head.rest.size() / width) throw Damage("an object is cut off");
    return take(head.rest, count * width);
  }

  static json::value integerOf(Head head) {
    if (head.size > 4) throw Damage("an integer is too large");
    const std::string_view bytes = take(head.rest, std::uint64_t{1} << head.size);
    // Of sixteen bytes, the lower half.
    const std::uint64_t bits = bigEndian(bytes);
    const auto number = static_cast<std::int64_t>(bits);
    // Eight bytes are signed; fewer are not, and fit.
    if (bytes.size() < 16) return number;
    const std::uint64_t high = bigEndian(bytes.substr(0, 8));
    const bool negative = high == std::numeric_limits<std::uint64_t>::max() && number < 0;
    if (high != 0 && !negative) throw Damage("an integer is too large");
    if (negative || number >= 0) return number;
    return bits;
  }

  static json::value realOf(Head head) {
    if (head.size == 2) {
      return double{std::bit_cast<float>(static_cast<std::uint32_t>(bigEndian(take(head.rest, 4))))};
    }
    if (head.size != 3) throw Damage("a real has an unknown width");
    return std::bit_cast<double>(bigEndian(take(head.rest, 8)));
  }

  std::string textOf(const Head& head) {
    const bool wide = head.kind == 0x6;
    const std::string_view bytes = itemsOf(head, wide ? 2 : 1);
    charge(bytes.size() * 2);
    for (const char byte : wide ? std::string_view() : bytes) {
      if (static_cast<unsigned char>(byte) >= 0x80) throw Damage("a plain text is not ASCII");
    }
    std::string text = wide ? utf8FromUtf16(bytes) : std::string(bytes);
    if (text.find('\0') != std::string::npos) throw Damage("it holds a zero byte");
    return text;
  }

  json::array arrayOf(const Head& head) {
    const std::string_view items = itemsOf(head, referenceWidth_);
    enter(items.size() / referenceWidth_);
    json::array array;
    array.reserve(items.size() / referenceWidth_);
    for (std::size_t at = 0; at < items.size(); at += referenceWidth_) {
      array.push_back(valueOf(bigEndian(items.substr(at, referenceWidth_))));
    }
    --depth_;
    return array;
  }

  json::object dictionaryOf(const Head& head) {
    // All keys come first, then all values.
    const std::string_view items = itemsOf(head, std::size_t{2} * referenceWidth_);
    const std::size_t half = items.size() / 2;
    enter(half / referenceWidth_);
    json::object dictionary;
    for (std::size_t at = 0; at < half; at += referenceWidth_) {
      charge(kValueCost);
      const Head key = headOf(bigEndian(items.substr(at, referenceWidth_)));
      if (key.kind != 0x5 && key.kind != 0x6) throw Damage("a key is not text");
      dictionary.insert_or_assign(textOf(key), valueOf(bigEndian(items.substr(half + at, referenceWidth_))));
    }
    --depth_;
    return dictionary;
  }

  /// Goes into an array or a dictionary of so many items. One that holds itself is too deep for the bound.
  void enter(std::size_t items) {
    if (++depth_ > kMaxPropertyListDepth) throw Damage("it is nested too deep");
    if (items > (kMaxPropertyListSize - cost_) / kValueCost) throw Damage("it stands for too much");
  }

  /// Counts what the values take, since a few shared objects can stand for any number of them.
  void charge(std::size_t cost) {
    if (cost > kMaxPropertyListSize - cost_) throw Damage("it stands for too much");
    cost_ += cost;
  }

  std::string_view objects_;
  std::string_view table_;
  unsigned offsetWidth_ = 0;
  unsigned referenceWidth_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t top_ = 0;
  std::size_t depth_ = 0;
  std::size_t cost_ = 0;
};

}  // namespace

json::value readBinaryPropertyList(std::string_view bytes) {
  return Reader(bytes).root();
}

}  // namespace orv
