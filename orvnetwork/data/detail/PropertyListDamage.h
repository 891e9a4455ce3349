#pragma once

#include <stdexcept>

namespace orv {

/// Why bytes are no property list that is taken: what the readers throw, and `readPropertyList` catches.
struct PropertyListDamage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace orv
