#pragma once

#include <orvnetwork/data/Result.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace orv::cli {

/// Whether a line begins as those of the log do, with a date: "2024/01/31 ". Others go on with a message that has
/// several, and what hides its secrets may stand before them.
bool isLineOfLog(std::string_view line);

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

/// A text of the log with its secrets hidden, in each line of the log by itself: where the end of a value cannot be told,
/// that hides the rest of its line, and none of those that follow.
std::string hideSecretsInLog(std::string_view text);

}  // namespace orv::cli
