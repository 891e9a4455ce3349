#pragma once

#include <cstddef>
#include <cstdint>

// What the numbers in a course's fields mean, as far as the library looks at them. They travel and lie in files.
namespace orv {

/// What `liveType` says.
namespace live_type {
inline constexpr std::int64_t kLive = 1;
inline constexpr std::int64_t kRecorded = 2;
inline constexpr std::int64_t kLiveWithVideo = 3;

constexpr bool isLive(std::uint64_t liveType) {
  return liveType == kLive || liveType == kLiveWithVideo;
}
}  // namespace live_type

/// What `status` says.
namespace course_status {
inline constexpr std::int64_t kComing = 1;
inline constexpr std::int64_t kOnAir = 2;
inline constexpr std::int64_t kOver = 3;
inline constexpr std::int64_t kWithdrawn = 4;
inline constexpr std::int64_t kRecorded = 5;
}  // namespace course_status

/// Live courses have a status from 0 up to here, and a list for each.
inline constexpr std::size_t kLiveStatuses = 6;

/// What `publishStatus` says.
namespace publish_status {
inline constexpr std::int64_t kPublished = 1;   ///< of a local course: handed to the server for publishing
inline constexpr std::int64_t kConverting = 3;  ///< published, its video is still being made
inline constexpr std::int64_t kNewLocal = 99;   ///< of a local course: as it was created
}  // namespace publish_status

}  // namespace orv
