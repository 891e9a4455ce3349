#pragma once

#include <orvnetwork/data/Export.h>

#include <string_view>

namespace orv {

/// Whether UTF-8 text `left` comes before `right` by the order of their UTF-16 code units: case-sensitive and
/// literal. It is the order of the bytes except that characters beyond U+FFFF come before U+E000 to U+FFFF.
///
/// Property lists keep their keys in this order, and listings of folders their names. It is a strict weak order, so
/// it may sort and be the order of a container; texts of which neither comes first are the same. Bytes that are not
/// UTF-8 have a place in it too. Any thread.
ORV_EXPORT bool precedesByUtf16Units(std::string_view left, std::string_view right);

}  // namespace orv
