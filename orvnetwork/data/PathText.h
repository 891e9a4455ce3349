#pragma once

#include <orvnetwork/data/Export.h>

#include <string>
#include <string_view>

namespace orv {

/// Joins a path and a component with one slash between them. Runs of slashes in either become one, and a
/// slash at the end goes, so an empty component or "/" leaves the path alone. "~", "." and ".." are names
/// like any other. An empty path gives the component by itself. Any thread.
ORV_EXPORT std::string appendPathComponent(std::string_view path, std::string_view component);

}  // namespace orv
