#pragma once

#include <stdexcept>

namespace orv::cli {

/// The program cannot work with the options that were given.
struct WrongOptions : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace orv::cli
