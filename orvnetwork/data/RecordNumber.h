#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// The number that a JSON value stands for when it fills a number or flag field of a record: numbers as they are,
/// flags as 0 and 1, texts by the rules of records, which are not those of `LooseRead.h`. Null, dictionaries,
/// arrays and texts such as "null" stand for none, which fills a field with 0.
class ORV_EXPORT RecordNumber {
 public:
  explicit RecordNumber(const json::value& value);

  /// Reals lose their fraction and are held to the range.
  std::int64_t asInt64() const;
  /// A negative number wraps around.
  std::uint64_t asUint64() const;
  /// The low 32 bits.
  std::int32_t asInt32() const { return static_cast<std::int32_t>(asInt64()); }
  /// 0 when the number is not finite.
  double asDouble() const;
  float asFloat() const;
  bool asBool() const;

  template <typename T>
  T as() const {
    if constexpr (std::same_as<T, bool>)
      return asBool();
    else if constexpr (std::same_as<T, float>)
      return asFloat();
    else if constexpr (std::same_as<T, double>)
      return asDouble();
    else if constexpr (std::same_as<T, std::int32_t>)
      return asInt32();
    else if constexpr (std::same_as<T, std::uint64_t>)
      return asUint64();
    else {
      static_assert(std::same_as<T, std::int64_t>, "no rule fills a field of this type");
      return asInt64();
    }
  }

 private:
  enum class Kind : unsigned char { None, Signed, Unsigned, Real };

  void readText(const json::string& text);

  Kind kind_ = Kind::None;
  std::int64_t integer_ = 0;  // the bits of an unsigned one
  double real_ = 0;
};

}  // namespace orv
