#pragma once

#include <orvnetwork/data/Export.h>

#include <string_view>

namespace orv {

/// Whether UTF-8 text `left` comes before `right` by the order of their UTF-16 code units: case-sensitive and
/// literal. It is the order of the bytes except that characters beyond U+FFFF come before U+E000 to U+FFFF.
ORV_EXPORT bool precedesByUtf16Units(std::string_view left, std::string_view right);

}  // namespace orv
