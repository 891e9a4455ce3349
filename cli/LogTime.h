#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

/// The beginning of the lines that the log writes at a time that a person has named: "2026/11/22 14:30:00". Absent when the
/// text names none.
/// @param text a span before `now` ("45s", "10m", "2h", "3d"), a time of the day, the last one that was ("14:30",
/// "14:30:05"), or a date with or without a time ("2026-11-22", "2026-11-22 14:30"), all local
std::optional<std::string> logStamp(std::string_view text, std::time_t now);

/// Whether a text names a time in one of those ways.
bool isLogTime(std::string_view text);

}  // namespace orv::cli
