#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Reads the user's documents folder out of the text of a user-dirs file: the value of the last well-formed
/// `XDG_DOCUMENTS_DIR="…"` line. A value begins with "/" or with "$HOME/", which stands for `home`; any other
/// value, and lines without quotes, are skipped. A backslash takes the next character as it is.
/// \return the folder without a slash at its end; absent when no line names one.
ORV_EXPORT OptionalString documentsFolderInUserDirs(std::string_view text, std::string_view home);

}  // namespace orv
