#pragma once

#include <string>
#include <string_view>

namespace orv {

/// A text as the name of one folder or file: "/" and zero bytes are percent-escaped, and so are "." and "..", so that
/// no text names anything outside the folder that it is put in.
std::string folderName(std::string_view text);

}  // namespace orv
