#pragma once

#include <orvnetwork/data/TerminalText.h>

#include <string>
#include <string_view>

namespace orv::cli {

using orv::printable;

/// An address as it may be shown: what stands before its "@" and the values of secret parameters are hidden.
std::string shownAddress(std::string_view url);

}  // namespace orv::cli
