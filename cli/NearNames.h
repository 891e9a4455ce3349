#pragma once

#include <orvnetwork/api/OperationRegistry.h>

#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

/// Whether a text holds another one, upper and lower case counting as the same.
bool holds(std::string_view text, std::string_view part);

/// The number of characters to insert, remove or replace to make one text of the other.
std::size_t editDistance(std::string_view a, std::string_view b);

/// At most three operations that a wrong name may have meant, the likeliest first.
std::vector<std::string> nearNames(std::string_view wrong, const OperationRegistry& registry);

}  // namespace orv::cli
