#include "orvnetwork/platform/native/zones/ZoneFile.h"

#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <string>
#include <system_error>

namespace orv {

namespace {

std::int64_t nanosecondsOf(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

FileState stateOf(const struct stat& status) {
  return {.device = status.st_dev,
          .number = status.st_ino,
          .size = status.st_size,
          .contentTime = nanosecondsOf(status.st_mtim),
          .changeTime = nanosecondsOf(status.st_ctim)};
}

std::string systemsWords() {
  return std::generic_category().message(errno);
}

/// The bytes of a file of that size, and one more if there are more; absent, with `errno`, when reading failed.
std::optional<std::string> readAll(const FileDescriptor& file, off_t fileSize) {
  // One byte more than a zone file may have is enough to see that it has too many.
  std::string bytes(std::min(static_cast<std::size_t>(fileSize), kMaxZoneFileSize) + 1, '\0');
  std::size_t size = 0;
  while (size < bytes.size()) {
    const ssize_t count =
        retryOnSignal([&] { return ::read(file.get(), bytes.data() + size, bytes.size() - size); });
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  bytes.resize(size);
  return bytes;
}

}  // namespace

std::optional<FileState> fileStateAt(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return stateOf(status);
}

ZoneFile readZoneFileAt(const std::string& path) {
  // A pipe without a writer would keep a plain open waiting.
  const FileDescriptor file = FileDescriptor::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (!file) {
    const std::string problem = systemsWords();
    return {.state = fileStateAt(path), .problem = problem};
  }
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return {.state = {}, .problem = systemsWords()};
  ZoneFile result{.state = stateOf(status)};
  if (!S_ISREG(status.st_mode)) {
    result.problem = "not a plain file";
    return result;
  }
  const auto bytes = readAll(file, status.st_size);
  if (!bytes) {
    result.problem = systemsWords();
    return result;
  }
  ZoneRulesResult read = ZoneRules::ofZoneFile(*bytes);
  result.rules = std::move(read.rules);
  result.countsLeapSeconds = read.countsLeapSeconds;
  result.problem = std::move(read.error.description);
  return result;
}

}  // namespace orv
