#pragma once

#include <string>

namespace orv {

/// Whether the system calls a link a cellular one: the file `sysfsRoot`/NAME/uevent has a line DEVTYPE=wwan.
/// A link without such a file is not cellular.
bool isCellularLink(const std::string& sysfsRoot, const std::string& name);

}  // namespace orv
