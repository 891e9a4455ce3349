#pragma once

#include "cli/Host.h"

#include <optional>
#include <string>

namespace orv::cli {

/// What came of asking for a secret.
struct SecretInput {
  /// One line, without its end; absent when there is none.
  std::optional<std::string> text;
  /// Why there is none; "interrupted" after a signal.
  std::string problem;
};

/// Reads one line from standard input while the host's main queue runs. From a terminal it is asked for on standard
/// error and is not shown while it is typed; the terminal is as it was afterwards, whatever ends the reading. Main
/// thread.
SecretInput readSecret(Host& host, const std::string& prompt);

}  // namespace orv::cli
