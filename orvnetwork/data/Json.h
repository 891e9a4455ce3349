#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Result.h>
#include <orvnetwork/data/Types.h>

#include <span>
#include <string_view>
#include <variant>

/// @file
/// JSON texts: what the server sends and is sent. Reading and writing hold to one set of rules, which the functions of
/// Boost.JSON do not share in all points, so a host that wants the same frames as the library uses these.
///
///     Result<json::value> parsed = parseJson(text);
///     if (!parsed) return refuse(parsed.error().description);
///     json::object& frame = parsed->as_object();  // an array is well-formed too: look before
///
/// Nothing here depends on the locale of the process.

namespace orv {

/// Domain of every error of the JSON reader and writers.
inline constexpr std::string_view kJsonErrorDomain = "OrvJson";
/// Their code; the description tells them apart.
inline constexpr std::int64_t kJsonErrorCode = 3840;

/// How deep arrays and dictionaries may be nested in a text that is read. A text is written to one level less.
inline constexpr std::size_t kMaxJsonDepth = 512;

/// Reads a JSON text in UTF-8 (a byte order mark may lead it; UTF-16 and UTF-32 are not read).
///
/// The top level must be an array or a dictionary, with nothing but blanks around it. One comma after the
/// last member is accepted; of members with the same key the last one counts. Errors are: nesting deeper than
/// `kMaxJsonDepth`, a number too large for a double, a raw control character or a lone surrogate in a string,
/// bytes that are not UTF-8, comments. The description of an error names the byte where reading stopped.
///
/// Integers come as signed, else unsigned 64-bit numbers if they fit, and as correctly rounded doubles if they
/// do not or if they have a fraction or an exponent. Members keep their order.
///
/// The values lie in the default memory resource of Boost.JSON, each by itself: they and their copies can be kept,
/// changed and dropped on any thread. They take from twice the memory of their text to twelve times (arrays of short
/// numbers), and while they are built twice that. Any thread.
ORV_EXPORT Result<json::value> parseJson(std::string_view text);

/// The values of a text, and what they take of memory, in bytes.
struct MeasuredJson {
  /// The array or dictionary.
  json::value value;
  /// What it takes, in bytes, to within some per cent where the C library is the usual one.
  std::size_t bytes = 0;
};

/// Reads a text as `parseJson` does, with a bound: it is an error, too, when the values would take more than `most`
/// bytes of memory, what is needed to build them included. For texts of others, who can write a few bytes for each
/// value. Reading stops where the bound is reached. Any thread.
/// @param text the JSON text, UTF-8
/// @param most the bound in bytes; the text itself does not count
ORV_EXPORT Result<MeasuredJson> parseJsonWithin(std::string_view text, std::size_t most);

/// Writes an array or a dictionary, its members in their order, indented by two blanks a level, with a blank
/// on both sides of each colon and no line feed at the end. "/" is escaped, non-ASCII text is not. Real
/// numbers get the fewest digits that read back as the same number; 10.0 becomes 10.
///
/// Errors: any other top level, a NaN or an infinite number, text that is not UTF-8, nesting of
/// `kMaxJsonDepth` levels or more. Any thread.
ORV_EXPORT Result<std::string> writeJsonPretty(const json::value& value);
/// The same without making a value of the dictionary first.
ORV_EXPORT Result<std::string> writeJsonPretty(const json::object& object);
/// The same without making a value of the array first.
ORV_EXPORT Result<std::string> writeJsonPretty(const json::array& array);

/// A member of a dictionary that is written without having been made.
struct JsonMember {
  /// Its key, in UTF-8. Nobody looks whether another member has the same.
  std::string_view key;
  /// A text in UTF-8, a number, or a dictionary, which must be there. Nothing is copied: all of it has to live until
  /// the members have been written.
  std::variant<std::string_view, std::int64_t, const json::object*> value;
};
/// The same as for a dictionary of these members, in their order:
///
///     const JsonMember members[] = {{"c", "User.Get.Info"}, {"s", 7}, {"v", &values}};
///     const Result<std::string> frame = writeJsonPretty(members);
ORV_EXPORT Result<std::string> writeJsonPretty(std::span<const JsonMember> members);

/// Writes any value on one line without blanks, "/" as it is; numbers, order and other errors as in
/// `writeJsonPretty`. Any thread.
ORV_EXPORT Result<std::string> writeJsonCompact(const json::value& value);
/// The same without making a value of the dictionary first.
ORV_EXPORT Result<std::string> writeJsonCompact(const json::object& object);

}  // namespace orv
