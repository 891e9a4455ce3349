#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// The client installation's identifier, for the member "guid".
Object deviceGuid();

/// Version and build of the application joined by a point, for the member "version": those of the main bundle,
/// else those that the link was given.
std::string applicationVersion();

}  // namespace orv
