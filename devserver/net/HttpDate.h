#pragma once

#include <chrono>
#include <string>

namespace orv::devserver {

/// A moment as the header "Date" has it: "Sun, 06 Nov 1994 08:49:37 GMT". No locale counts.
std::string httpDate(std::chrono::system_clock::time_point moment);

}  // namespace orv::devserver
