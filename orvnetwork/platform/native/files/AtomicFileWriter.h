#pragma once

#include <orvnetwork/platform/FileSystem.h>

#include <string>
#include <string_view>
#include <system_error>

namespace orv {

/// Replaces a file by way of a temporary file beside it; see `FileSystem::writeAtomically`. On failure the
/// temporary file is gone and the old file is as it was. A process that is killed in the middle may leave a
/// file whose name begins with ".orv-" and ends in ".tmp".
bool writeFileAtomically(const std::string& path, std::string_view bytes, Durability durability,
                         unsigned mode, std::error_code& error);

}  // namespace orv
