#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

/// @file
/// Readings of what a peer sent, or did not send, as the kind that is wanted. A null pointer is an absent
/// member; absent members, JSON null and kinds that have no such reading give 0, false or absence. So a reply can be
/// read without a look at each step, whatever the server made of it:
///
///     const json::object* v = looseObject(member(reply, "v"));
///     const std::int32_t code = looseInt32(member(v, "ret"));       // 0 without "v" or "ret"
///     const OptionalString text = looseString(member(v, "err"));    // absent without them
///
/// | value | `looseInt64` | `looseInt32` | `looseDouble` | `looseBool` |
/// |---|---|---|---|---|
/// | 5000000000 | 5000000000 | 705032704 | 5e9 | true |
/// | 3.7, -3.7 | 3, -3 | 3, -3 | 3.7, -3.7 | true |
/// | true | 1 | 1 | 1 | true |
/// | "12abc" | 12 | 12 | 12 | true |
/// | " 1e3" | 1 | 1 | 1000 | true |
/// | "5000000000" | 5000000000 | 2147483647 | 5e9 | true |
/// | "yes" | 0 | 0 | 0 | true |
/// | "no", "", "0x0" | 0 | 0 | 0 | false |
/// | null, [], {}, absent | 0 | 0 | 0 | false |
///
/// The fields of records have rules of their own; see `RecordNumber.h`. Nothing here depends on the locale, throws or
/// keeps what it is given, and everything may be called on any thread.

namespace orv {

/// The member of a dictionary, owned by it; null when there is none.
ORV_EXPORT const json::value* member(const json::object& object, std::string_view key);
/// The same of a dictionary that may be absent itself: null when it is.
ORV_EXPORT const json::value* member(const json::object* object, std::string_view key);

/// Integers: a number's low 32 or 64 bits, reals truncated toward zero (and held to 64 bits first); true is
/// 1; of text the leading decimal integer, held to the range of the type.
ORV_EXPORT std::int32_t looseInt32(const json::value* value);
/// The same with 64 bits.
ORV_EXPORT std::int64_t looseInt64(const json::value* value);

/// A number; true is 1; of text the leading decimal number with fraction and exponent, infinite if too large.
ORV_EXPORT double looseDouble(const json::value* value);

/// Whether a number is not 0; for text see `boolFromText`.
ORV_EXPORT bool looseBool(const json::value* value);

/// Text as it is; every other kind is absent.
ORV_EXPORT OptionalString looseString(const json::value* value);
/// The same without a copy; valid as long as the value.
ORV_EXPORT std::optional<std::string_view> looseStringView(const json::value* value);

/// A dictionary, owned by the value; null for every other kind.
ORV_EXPORT const json::object* looseObject(const json::value* value);
/// An array, owned by the value; null for every other kind.
ORV_EXPORT const json::array* looseArray(const json::value* value);

/// The leading decimal integer of a text, after blanks and one sign, held to the range of the type; else 0.
ORV_EXPORT std::int32_t int32FromText(std::string_view text);
/// The same with 64 bits.
ORV_EXPORT std::int64_t int64FromText(std::string_view text);

/// The leading decimal number of a text, after blanks and one sign; else 0. Hexadecimal, "nan" and "inf" are
/// not numbers here.
ORV_EXPORT double doubleFromText(std::string_view text);

/// True for a text that begins, after blanks, with one of "tTyY" or with a number (sign and zeros skipped)
/// whose first digit is not 0.
ORV_EXPORT bool boolFromText(std::string_view text);

/// The integer part of a number, held to the range of 64 bits; 0 for NaN.
ORV_EXPORT std::int64_t truncateToInt64(double number);

/// The text form of a number: integers in decimal, reals with up to 16 significant digits and without
/// trailing zeros (68.32 is 68.31999999999999, 1e16 is 1e+16).
ORV_EXPORT std::string textOfNumber(double number);
/// A 32-bit real, with up to 7 significant digits.
ORV_EXPORT std::string textOfNumber(float number);
/// A signed integer, in decimal.
ORV_EXPORT std::string textOfNumber(std::int64_t number);
/// An unsigned integer, in decimal.
ORV_EXPORT std::string textOfNumber(std::uint64_t number);
/// The same of a JSON number of any kind; booleans are "1" and "0"; absent for other kinds.
ORV_EXPORT OptionalString textOfNumber(const json::value& value);

}  // namespace orv
