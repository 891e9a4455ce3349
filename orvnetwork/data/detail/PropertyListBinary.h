#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Reads the binary form of a property list, which other tools write; see `readPropertyList` for what is
/// taken. Absent for anything else; then `problem` says why. Objects may be shared, but what they stand for
/// all together has a bound. Any thread.
ORV_EXPORT std::optional<json::value> readBinaryPropertyList(std::string_view bytes, std::string& problem);

}  // namespace orv
