#pragma once

#include <orvnetwork/platform/FileSystem.h>

#include <string>
#include <string_view>

namespace orv {

/// Puts the text of a property list into a file, which is the old one or the new one at every moment. False when the disk
/// refuses, which the console is told. A file that holds the text already is left alone, unless it is to be durable.
/// Any thread.
bool writePropertyListText(const std::string& path, std::string_view text, Durability durability,
                           unsigned mode);

}  // namespace orv
