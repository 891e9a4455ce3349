#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// Reads the XML form of a property list; see `readPropertyList` for what is taken. Throws `PropertyListDamage`
/// for anything else. Any thread.
json::value readXmlPropertyList(std::string_view text);

}  // namespace orv
