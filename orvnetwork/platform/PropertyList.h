#pragma once

#include <orvnetwork/platform/Error.h>
#include <orvnetwork/platform/Export.h>
#include <orvnetwork/platform/Types.h>

namespace orv {

/// Domain of every error of the property-list reader.
inline constexpr std::string_view kPropertyListErrorDomain = "OrvPropertyList";

/// How deep arrays and dictionaries may be nested in a property list.
inline constexpr std::size_t kMaxPropertyListDepth = 64;

/// What `readPropertyList` answers: a value, or why there is none.
struct PropertyListResult {
  std::optional<json::value> value;
  /// Meaningful only without a value.
  Error error;
};

/// Reads an XML property list in UTF-8. Integers are signed 64-bit numbers; one above 2^63 - 1 comes with its
/// bits, as a negative number.
///
/// A list counts as damaged when it is in the binary form, holds dates, data or any element that is not a
/// property list's, is nested deeper than `kMaxPropertyListDepth`, or holds a zero byte. Any thread.
ORV_EXPORT PropertyListResult readPropertyList(std::string_view text);

}  // namespace orv
