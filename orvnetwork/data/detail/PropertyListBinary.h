#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// Reads the binary form of a property list, which other tools write; see `readPropertyList` for what is
/// taken. Throws `PropertyListDamage` for anything else. Objects may be shared, but what they
/// stand for all together has a bound. Any thread.
json::value readBinaryPropertyList(std::string_view bytes);

}  // namespace orv
