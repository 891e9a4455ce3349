#pragma once

#include <cstdint>

namespace orv {

/// 32 bits from the kernel's random source. Any thread.
std::uint32_t systemRandom();

}  // namespace orv
