#pragma once

#include <cstddef>
#include <cstdint>

namespace orv {

/// How far local time is ahead of UTC.
struct ZoneOffset {
  std::int32_t seconds = 0;  ///< local time less UTC; negative west of Greenwich
  bool isDaylight = false;   ///< whether the rules call it summer time

  bool operator==(const ZoneOffset&) const = default;
};

/// From a moment on, in seconds since 1970-01-01 00:00 UTC, until the next change, local time is so far ahead.
struct ZoneChange {
  std::int64_t moment = 0;
  ZoneOffset offset;
};

/// How many bytes a zone file may have; those in use have some thousands.
inline constexpr std::size_t kMaxZoneFileSize = std::size_t{1} << 20;

}  // namespace orv
