#pragma once

#include <orvnetwork/data/Error.h>

#include "cli/ExitCode.h"

#include <string>
#include <utility>

namespace orv::cli {

/// What is wrong with what the program was given, as a sentence for a person. The domain is "orv", the code the exit
/// code that it leads to.
inline Error cliError(std::string sentence) {
  return {"orv", static_cast<int>(ExitCode::WrongUse), std::move(sentence)};
}

}  // namespace orv::cli
