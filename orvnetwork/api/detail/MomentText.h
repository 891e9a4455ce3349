#pragma once

#include <orvnetwork/support/QXDate.h>

#include <cstdint>
#include <string>

namespace orv {

/// A moment as "2024-01-31 08:45" in the time zone in use, whatever the locale.
std::string minuteText(std::uint64_t secondsSince1970);

/// A moment as "2024-01-31 08:45:02" likewise.
std::string secondText(const QXDate& moment);

}  // namespace orv
