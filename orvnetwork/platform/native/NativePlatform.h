#pragma once

#include <orvnetwork/platform/Platform.h>

#include <memory>

namespace orv {

/// The platform of the operating system. Its services are made on first use.
std::unique_ptr<Platform> makeNativePlatform();

}  // namespace orv
