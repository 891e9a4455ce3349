#pragma once

#include <orvnetwork/data/Result.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace orv::cli {

/// The end of a log file.
struct LogTail {
  /// Whole lines.
  std::string text;
  /// How many bytes of the file stand before it.
  std::uint64_t skipped = 0;
};

/// Reads at most `bound` bytes from the end of a log file, from the beginning of a line of the log on. An error for
/// what is no file, cannot be read, or has no line that begins there.
Result<LogTail> readLogTail(const std::filesystem::path& path, std::size_t bound);

}  // namespace orv::cli
