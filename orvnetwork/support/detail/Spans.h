#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// Spans that dates are counted in.
inline constexpr Seconds kMinute{60};
inline constexpr Seconds kHour{3600};
inline constexpr Seconds kDay{86'400};

}  // namespace orv
