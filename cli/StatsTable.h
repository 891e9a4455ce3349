#pragma once

#include <orvnetwork/transport/LinkStatistics.h>

#include <string>

namespace orv::cli {

/// The statistics of a link for a person, in lines: a figure each, of this link and since the start.
std::string statsTable(const LinkStatistics& statistics);

}  // namespace orv::cli
