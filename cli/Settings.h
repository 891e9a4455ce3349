#pragma once

#include <orvnetwork/data/Result.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::cli {

/// Values of options that were said once for all: their names, with dashes, and the values, of which the last one of a
/// name counts.
using Settings = std::vector<std::pair<std::string, std::string>>;

/// The text of a configuration file: `name = value` in each line; blank lines, and those that begin with "#", count for
/// nothing. The error tells the number of the line, and nothing of the value.
Result<Settings> readSettings(std::string_view text);

/// Where the configuration file lies: "orv/config" in $XDG_CONFIG_HOME, or in ~/.config. "" when there is no home.
std::string settingsFile();

/// What the configuration file says, and behind it what the environment does. No file is no error; one that others can
/// write, that is another user's, or that cannot be read is one.
Result<Settings> loadSettings();

}  // namespace orv::cli
