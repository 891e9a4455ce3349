#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orv::cli {

/// What all candidates of a completion begin with, never half a character. There must be one.
std::string commonBeginning(const std::vector<std::string>& words);

/// The words in columns on a terminal of so many columns, as many as make sense.
std::string inColumns(const std::vector<std::string>& words, std::size_t columns);

}  // namespace orv::cli
