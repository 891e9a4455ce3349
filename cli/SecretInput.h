#pragma once

#include <orvnetwork/data/Result.h>

#include "cli/Host.h"
#include "cli/LineReader.h"

#include <optional>
#include <string>

namespace orv::cli {

/// The secret that a line holds, which must be there and neither too long nor empty.
Result<std::string> secretIn(std::optional<LineReader::Line> line);

/// Reads one line from standard input while the host's main queue runs. From a terminal it is asked for on standard
/// error and is not shown while it is typed; the terminal is as it was afterwards, whatever ends the reading. The line
/// comes without its end; the description of an error says why there is none, "interrupted" after a signal. Main
/// thread.
Result<std::string> readSecret(Host& host, const std::string& prompt);

}  // namespace orv::cli
