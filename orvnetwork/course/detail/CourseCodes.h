#pragma once

#include <cstdint>

namespace orv {

/// The `liveType` of a recorded course.
inline constexpr std::uint64_t kRecordedCourse = 2;
/// The `publishStatus` of a local course as it was created, and of one that was handed to the server for publishing.
inline constexpr std::uint64_t kNewLocalCourse = 99;
inline constexpr std::uint64_t kHandedOverForPublishing = 1;

}  // namespace orv
