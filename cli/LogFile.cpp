#include "cli/LogFile.h"

#include <orvnetwork/data/Secrets.h>

#include "cli/CliError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

namespace orv::cli {

namespace {

/// The first line feed that a line of the log follows.
std::size_t endOfLine(std::string_view text) {
  std::size_t at = text.find('\n');
  while (at != std::string_view::npos && !isLineOfLog(text.substr(at + 1))) at = text.find('\n', at + 1);
  return at;
}

/// What of a text that was cut at its front begins with a line of the log; nothing where none does.
std::string_view fromFirstLine(std::string_view text) {
  const std::size_t at = endOfLine(text);
  return at == std::string_view::npos ? std::string_view() : text.substr(at + 1);
}

/// Reads up to `size` bytes from `offset` on.
bool readAt(int descriptor, std::uint64_t offset, std::size_t size, std::string& bytes) {
  bytes.resize(size);
  std::size_t used = 0;
  while (used < size) {
    const ssize_t got =
        ::pread(descriptor, bytes.data() + used, size - used, static_cast<off_t>(offset + used));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    used += static_cast<std::size_t>(got);
  }
  bytes.resize(used);
  return true;
}

Result<LogTail> readTail(int descriptor, std::size_t bound) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return cliError(std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return cliError("it is no file");
  const auto size = static_cast<std::uint64_t>(status.st_size);
  LogTail tail;
  tail.skipped = size > bound ? size - bound : 0;
  if (!readAt(descriptor, tail.skipped, static_cast<std::size_t>(size - tail.skipped), tail.text)) {
    return cliError(std::strerror(errno));
  }
  if (tail.skipped == 0) return tail;
  const std::string_view whole = fromFirstLine(tail.text);
  if (whole.empty()) return cliError("its last line is longer than what is shown");
  tail.skipped += tail.text.size() - whole.size();
  tail.text.erase(0, tail.text.size() - whole.size());
  return tail;
}

}  // namespace

bool isLineOfLog(std::string_view line) {
  constexpr std::string_view kShape = "0000/00/00 ";
  return line.size() >= kShape.size() &&
         std::equal(kShape.begin(), kShape.end(), line.begin(),
                    [](char shape, char c) { return shape == '0' ? c >= '0' && c <= '9' : c == shape; });
}

Result<LogTail> readLogTail(const std::filesystem::path& path, std::size_t bound) {
  // What is no file must not keep the program waiting either.
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return cliError(std::strerror(errno));
  Result<LogTail> tail = readTail(descriptor, bound);
  ::close(descriptor);
  return tail;
}

std::string hideSecretsInLog(std::string_view text) {
  std::string shown;
  while (true) {
    const std::size_t end = endOfLine(text);
    shown += hideSecrets(text.substr(0, end));
    if (end == std::string_view::npos) return shown;
    shown += '\n';
    text.remove_prefix(end + 1);
  }
}

}  // namespace orv::cli
