#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// The text of an XML property list reduced to what a parser of little caution can take: tags of
/// dictionaries, arrays, keys, text, numbers and booleans, each where it may stand and nested as
/// `kMaxPropertyListDepth` allows, and character data. Blanks between elements, declarations, comments and
/// attributes are gone, marked character data stands escaped, and numbers have plain decimal digits that fit.
/// Absent for any other text; then `problem` says why. Any thread.
ORV_EXPORT OptionalString plainPropertyListText(std::string_view text, std::string& problem);

}  // namespace orv
