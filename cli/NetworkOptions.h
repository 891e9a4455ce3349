#pragma once

#include <orvnetwork/platform/NetworkSettings.h>

#include "cli/CommandLine.h"

namespace orv::cli {

/// How the link gets to its server by the options of the program.
NetworkSettings networkSettings(const Options& options);

}  // namespace orv::cli
