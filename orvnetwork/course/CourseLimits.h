#pragma once

#include <cstdint>

namespace orv {

/// How many recorded and local courses, and how many live ones, are kept in memory after a check.
inline constexpr std::int64_t MaxCourseCountInMem = 60;
/// How often the loading of a page is tried.
inline constexpr std::int64_t MaxRetryCount = 3;

}  // namespace orv
