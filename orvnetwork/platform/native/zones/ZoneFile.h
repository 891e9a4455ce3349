#pragma once

#include <orvnetwork/data/ZoneRules.h>

#include <sys/types.h>

#include <optional>
#include <string>

namespace orv {

/// Which file lies at a path, and in which state: another one means that its content may be another.
struct FileState {
  dev_t device = 0;
  ino_t number = 0;
  off_t size = 0;
  std::int64_t contentTime = 0;  ///< in nanoseconds, as the next one
  std::int64_t changeTime = 0;

  bool operator==(const FileState&) const = default;
};

/// Absent when nothing lies there. One system call.
std::optional<FileState> fileStateAt(const std::string& path);

/// A zone file as read.
struct ZoneFile {
  /// Absent: there is no file.
  std::optional<FileState> state = {};
  std::optional<ZoneRules> rules = {};
  bool countsLeapSeconds = false;
  /// Why there are no rules.
  std::string problem = {};
};

/// Reads the zone file at a path. Never waits for what is no plain file.
ZoneFile readZoneFileAt(const std::string& path);

}  // namespace orv
