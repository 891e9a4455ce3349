#pragma once

#include <orvnetwork/data/Export.h>

#include <string>
#include <string_view>

namespace orv {

/// Joins a path and a component with one slash between them. Runs of slashes in either become one, and a
/// slash at the end goes, so an empty component or "/" leaves the path alone. "~", "." and ".." are names
/// like any other. An empty path gives the component by itself.
///
///     appendPathComponent("/home/user/", "a//b")  // "/home/user/a/b"
///     appendPathComponent("/", "a")               // "/a"
///     appendPathComponent("folder", "")           // "folder"
///
/// It works on the text alone and never looks at the disk; whether a component that comes from elsewhere may name
/// what it names is for the caller to see. Any thread.
ORV_EXPORT std::string appendPathComponent(std::string_view path, std::string_view component);

}  // namespace orv
