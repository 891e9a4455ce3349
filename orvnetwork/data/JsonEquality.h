#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <cstddef>

namespace orv {

/// Whether two JSON values are equal by content.
///
/// Numbers and booleans are compared by value whatever their kinds: 1, 1.0 and true are equal. Nothing is
/// rounded: 2^53 + 1 is not equal to 2^53 as a double. NaN equals NaN. Text is equal byte for byte and never
/// equal to a number; null equals null only. Dictionaries are equal when they have the same keys with equal
/// values, in any order; arrays when they have equal items in the same order. Any thread.
ORV_EXPORT bool sameJson(const json::value& left, const json::value& right);
ORV_EXPORT bool sameJson(const json::object& left, const json::object& right);
ORV_EXPORT bool sameJson(const json::array& left, const json::array& right);

/// A hash that equal values share. Any thread.
ORV_EXPORT std::size_t hashOfJson(const json::value& value);
ORV_EXPORT std::size_t hashOfJson(const json::object& dictionary);
ORV_EXPORT std::size_t hashOfJson(const json::array& array);

}  // namespace orv
