#pragma once

#include <orvnetwork/api/Operation.h>

#include <vector>

namespace orv {

/// Every operation of `QXAPIHelper`, family by family.
std::vector<Operation> allOperations();

}  // namespace orv
