#pragma once

#include <string>
#include <vector>

namespace orv {

/// What becomes of a list that two have changed since it was `base`: `ours` in memory and `theirs` in the file. The
/// additions and the deletions of both hold. The order is theirs, behind what only we have added.
std::vector<std::string> mergedKeys(const std::vector<std::string>& base,
                                    const std::vector<std::string>& ours,
                                    const std::vector<std::string>& theirs);

}  // namespace orv
