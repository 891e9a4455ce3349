#pragma once

#include <orvnetwork/data/Export.h>

#include <string>
#include <string_view>

/// Messages that are written among lines that begin with a stamp: what a message holds must not look like such a line.
namespace orv {

/// Whether a text begins as a shape says, in which a "0" stands for any digit and everything else for itself:
/// "2024/01/31 08:45" begins like "0000/00/00 ". Any thread.
ORV_EXPORT bool beginsLike(std::string_view text, std::string_view shape);

/// Appends a message as it is, but for line feeds before what begins like `shape`, the stamp of the lines around it:
/// they become `\n`, so that nobody who has a say in a message can put a line of their own there. Takes no longer
/// than appending where the message has no line feed. Any thread.
ORV_EXPORT void appendMessage(std::string& out, std::string_view message, std::string_view shape);

}  // namespace orv
