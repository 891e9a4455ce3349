#pragma once

#include <cstddef>
#include <cstdint>

namespace orv {

/// How far local time is ahead of UTC.
/// It is what `ZoneRules::at` answers: 28800 in Shanghai, -14400 in New York on a day in summer. It need not be whole
/// hours or whole minutes, and is never more than 26 hours either way where it comes from `ZoneRules`.
struct ZoneOffset {
  std::int32_t seconds = 0;  ///< local time less UTC; negative west of Greenwich
  bool isDaylight = false;   ///< whether the rules call it summer time

  bool operator==(const ZoneOffset&) const = default;
};

/// From a moment on, in seconds since 1970-01-01 00:00 UTC, until the next change, local time is so far ahead.
/// A list of them stands in the order of time; it does not say what counts before the first one.
struct ZoneChange {
  std::int64_t moment = 0;
  ZoneOffset offset;
};

/// How many bytes a zone file may have; those in use have some thousands.
/// A larger one is an error, and is not read to its end.
inline constexpr std::size_t kMaxZoneFileSize = std::size_t{1} << 20;

}  // namespace orv
