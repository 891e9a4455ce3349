#pragma once

#include <cstdint>

namespace orv {

/// How many recorded and local courses, and how many live ones, are kept in memory after a check. There are more of the
/// first two when local courses are exempt (those that are no longer as they were created), and when the entry that was
/// used longest ago stands for a record that is not in memory any more, as after `deleteCloudCourse`: such an entry stays
/// and ends the eviction.
/// What is dropped leaves the memory only: the file stays and is read again when the course is wanted.
inline constexpr std::int64_t MaxCourseCountInMem = 60;
/// How often the loading of a page is tried.
/// The first try is among them. After the last one the page is given up, and the check of what is wanted goes on.
inline constexpr std::int64_t MaxRetryCount = 3;

}  // namespace orv
