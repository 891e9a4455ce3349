#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

class JsonView;

/// The number that a JSON value stands for when it fills a number or flag field of a record: numbers as they are,
/// flags as 0 and 1, texts by the rules of records, which are not those of `LooseRead.h`. Null, dictionaries,
/// arrays and texts such as "null" stand for none, which fills a field with 0.
///
/// | text | stands for |
/// |---|---|
/// | `true`, `True`, `TRUE`, `yes`, `Yes`, `YES` | 1 |
/// | `false`, `no` and the like | 0 |
/// | `nil`, `null`, `(null)`, `<null>` and the like | none |
/// | any other with a point in it: `1.5`, `.5`, `1.5e3`, `2.5 hours` | the real number in front: 1.5, 0.5, 1500, 2.5; none when it is not finite |
/// | any other: `12`, `+7`, `12abc`, `1e3`, `abc` | the integer in front, held to 64 bits: 12, 7, 12, 1, 0 |
///
/// The words count in these spellings only, and a zero byte ends a text. The locale of the process has no say.
///
///     RecordNumber("12abc").as<std::int64_t>()   // 12
///     RecordNumber(3.7).asInt32()                // 3
///     RecordNumber(-1).asUint64()                // 18446744073709551615
///     RecordNumber(nullptr).asBool()             // false
///
/// A plain value, made from any value without keeping it. Any thread.
class ORV_EXPORT RecordNumber {
 public:
  /// Reads a value; what is no number stands for none.
  explicit RecordNumber(const json::value& value);
  /// Reads a value that stands in a text and has not been made: the same number.
  explicit RecordNumber(const JsonView& value);

  /// Reals lose their fraction and are held to the range; an unsigned number above it wraps around. None is 0 here and
  /// below.
  std::int64_t asInt64() const;
  /// A negative number wraps around. A real of 2^64 or more is held to 2^63 - 1.
  std::uint64_t asUint64() const;
  /// The low 32 bits of `asInt64`.
  std::int32_t asInt32() const { return static_cast<std::int32_t>(asInt64()); }
  /// 0 when the number is not finite.
  double asDouble() const;
  /// The same; a number that is too large for 32 bits is 0 too.
  float asFloat() const;
  /// Whether the number is not 0. A fraction counts: 0.5 is true.
  bool asBool() const;

  /// The number as a field of type `T` takes it: by the function above that has this type.
  template <typename T>
  T as() const {
    if constexpr (std::same_as<T, bool>) {
      return asBool();
    } else if constexpr (std::same_as<T, float>) {
      return asFloat();
    } else if constexpr (std::same_as<T, double>) {
      return asDouble();
    } else if constexpr (std::same_as<T, std::int32_t>) {
      return asInt32();
    } else if constexpr (std::same_as<T, std::uint64_t>) {
      return asUint64();
    } else {
      static_assert(std::same_as<T, std::int64_t>, "no rule fills a field of this type");
      return asInt64();
    }
  }

 private:
  enum class Kind : unsigned char { None, Signed, Unsigned, Real };

  void readText(std::string_view text);

  Kind kind_ = Kind::None;
  std::int64_t integer_ = 0;  // the bits of an unsigned one
  double real_ = 0;
};

}  // namespace orv
