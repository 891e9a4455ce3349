#pragma once

#include <orvnetwork/data/Types.h>

#include <string>
#include <vector>

namespace orv {

/// The keys that an array of a property list holds; what is no text names no course. None for null.
std::vector<std::string> keysOf(const json::array* stored);

/// Keys as a property list holds them.
json::array asArray(const std::vector<std::string>& keys);

/// What becomes of a list that two have changed since it was `base`: `ours` in memory and `theirs` in the file. The
/// additions and the deletions of both hold. The order is theirs, behind what only we have added.
std::vector<std::string> mergedKeys(const std::vector<std::string>& base,
                                    const std::vector<std::string>& ours,
                                    const std::vector<std::string>& theirs);

}  // namespace orv
