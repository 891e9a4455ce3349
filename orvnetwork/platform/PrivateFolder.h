#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/platform/FileSystem.h>

#include <string>
#include <system_error>

namespace orv {

/// Permissions of a folder that is the user's own business.
inline constexpr unsigned kPrivateFolderMode = 0700;

/// Makes the folder at `path`, an absolute path below `root`, and those between the two that are missing, all of them
/// closed to other users. The root, such as the user's documents, is the user's own affair: if it is missing it is
/// made with ordinary permissions, and so are the folders above it. A path that is not below the root is made by
/// itself.
///
/// Folders that exist keep the permissions that they have. True when the folder is there afterwards; else `error`
/// tells why not. Nothing is logged to the console. Any thread.
ORV_EXPORT bool makePrivateFolder(FileSystem& files, const std::string& root, const std::string& path,
                                  std::error_code& error);

}  // namespace orv
