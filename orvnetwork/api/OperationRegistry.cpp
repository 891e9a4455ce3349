#include "orvnetwork/api/OperationRegistry.h"

#include <orvnetwork/api/detail/OperationTable.h>

#include <algorithm>

namespace orv {

OperationRegistry::OperationRegistry() : operations_(allOperations()) {}

const OperationRegistry& OperationRegistry::standard() {
  static const auto* const registry = new OperationRegistry;
  return *registry;
}

const Operation* OperationRegistry::find(std::string_view name) const {
  const auto found = std::ranges::find(operations_, name, &Operation::name);
  return found == operations_.end() ? nullptr : &*found;
}

}  // namespace orv
