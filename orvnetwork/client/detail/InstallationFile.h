#pragma once

#include <orvnetwork/data/Types.h>

#include <string>

namespace orv {

/// The identifier that a file keeps, which is made with a random one when it is missing. Programs that do so at the same
/// time agree on one. What lies there and is none is set aside as NAME.damaged. Where the file can be neither read nor made
/// the console is told, and a random identifier for this run is the answer. Works on the caller's thread, and waits 2 s at
/// most for another program. A worker then removes what killed programs have left beside the file.
/// @param path absolute; absent: the usual place in the documents folder
std::string installationIn(const OptionalString& path);

/// A random identifier in the usual form of 8-4-4-4-12 hexadecimal digits.
std::string randomIdentifier();

}  // namespace orv
