#pragma once

#include <orvnetwork/data/Export.h>

#include <compare>
#include <string_view>

namespace orv {

/// Compares two texts, runs of digits by their value: where both texts stand at an ASCII digit, the whole runs
/// are compared as numbers, however long, and zeros in front do not count. Everything else is compared
/// literally, by code point: upper and lower case differ, a sign, a blank or a comma is a character like any
/// other, and so is a digit that is not ASCII.
///
/// "a1" and "a01" are equal, and so are "1.0" and "1.00"; "1.10" comes after "1.9", "1,000" before "1000". The order
/// suits version numbers and names with counters in them:
///
///     std::ranges::sort(names, [](const auto& left, const auto& right) {
///       return compareNumerically(left, right) < 0;
///     });
///
/// Texts that are equal here need not be the same, so a container that tells its keys apart by this order takes "a1"
/// and "a01" for one. Any thread.
ORV_EXPORT std::strong_ordering compareNumerically(std::string_view left, std::string_view right);

}  // namespace orv
