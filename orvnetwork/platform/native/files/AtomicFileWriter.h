#pragma once

#include <orvnetwork/platform/FileSystem.h>

#include <string>
#include <string_view>
#include <system_error>

namespace orv {

/// Replaces a file by way of a temporary file beside it; see `FileSystem::writeAtomically`. On failure the
/// temporary file is gone and the old file is as it was. A process that is killed in the middle may leave a
/// file with a name of `TemporaryName.h` and the ending ".tmp". While a process is at it, it holds a lock on it.
bool writeFileAtomically(const std::string& path, std::string_view bytes, Durability durability,
                         unsigned mode, std::error_code& error);

/// Removes such a file, unless the process that writes it still lives.
void removeIfAbandoned(const std::string& path);

}  // namespace orv
