#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <cstddef>

namespace orv {

/// Whether two JSON values are equal by content. It is the equality that records go by, and differs from the `==` of
/// Boost.JSON, to which an integer and a real are never equal.
///
/// Numbers and booleans are compared by value whatever their kinds: 1, 1.0 and true are equal. Nothing is
/// rounded: 2^53 + 1 is not equal to 2^53 as a double. NaN equals NaN. Text is equal byte for byte and never
/// equal to a number; null equals null only. Dictionaries are equal when they have the same keys with equal
/// values, in any order; arrays when they have equal items in the same order. Any thread.
ORV_EXPORT bool sameJson(const json::value& left, const json::value& right);
/// The same for two dictionaries.
ORV_EXPORT bool sameJson(const json::object& left, const json::object& right);
/// The same for two arrays.
ORV_EXPORT bool sameJson(const json::array& left, const json::array& right);

/// A hash that values share which are equal by `sameJson`: 1, 1.0 and true have one hash, and the order of a
/// dictionary's members makes no difference. It is the same in every run of one build of the library and may be
/// another in the next build, so it does not belong into a file. Any thread.
ORV_EXPORT std::size_t hashOfJson(const json::value& value);
/// The same for a dictionary.
ORV_EXPORT std::size_t hashOfJson(const json::object& dictionary);
/// The same for an array.
ORV_EXPORT std::size_t hashOfJson(const json::array& array);

}  // namespace orv
