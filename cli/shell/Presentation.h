#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orv::cli {

/// How a line of JSON is shown to a person: on one line where it fits into so many columns, else indented, with as many
/// members on a line as fit. Notifications have their name in front. Other lines stay as they are.
std::string present(std::string_view line, std::size_t columns, bool coloured);

}  // namespace orv::cli
