#pragma once

#include <orvnetwork/transport/LinkStatistics.h>

#include "cli/Table.h"

namespace orv::cli {

/// The statistics of a link for a person: a row for each figure, of this link and since the start.
Table statsTable(const LinkStatistics& statistics);

}  // namespace orv::cli
