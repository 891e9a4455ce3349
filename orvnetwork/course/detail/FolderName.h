#pragma once

#include <string>
#include <string_view>

namespace orv {

/// A text as the name of one folder or file: "/" and control characters are percent-escaped, and so are "." and "..",
/// so that no text names anything outside the folder that it is put in, and no name does anything to a terminal.
std::string folderName(std::string_view text);

}  // namespace orv
