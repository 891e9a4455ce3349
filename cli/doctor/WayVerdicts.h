#pragma once

#include "cli/doctor/Finding.h"
#include "cli/doctor/WayFacts.h"

#include <vector>

namespace orv::cli::doctor {

/// The findings of the way to the server, in the order of its steps: proxy (where there is something to say of one), name,
/// connect, tls, upgrade, ping. What lies behind a step that has failed is skipped.
std::vector<Finding> judgeWay(const WayFacts& facts);

/// The same where no route leads out of this machine: what could not be reached for that is no failure of its own.
std::vector<Finding> withoutRoute(std::vector<Finding> way);

/// The parts of it.
Finding judgeProxy(const WayFacts& facts);
Finding judgeName(const WayFacts& facts);
Finding judgeConnect(const WayFacts& facts);
Finding judgeTls(const WayFacts& facts);
Finding judgeUpgrade(const WayFacts& facts);
Finding judgePing(const WayFacts& facts);

/// The server's clock against this machine's.
Finding judgeClock(const WayFacts& facts);

}  // namespace orv::cli::doctor
