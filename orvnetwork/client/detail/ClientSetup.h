#pragma once

#include <orvnetwork/client/ClientError.h>
#include <orvnetwork/client/ClientOptions.h>
#include <orvnetwork/data/Error.h>

#include <optional>
#include <string>

namespace orv {

/// What is wrong with the options by themselves; nothing is touched. Absent when they may do.
std::optional<Error> errorInOptions(const ClientOptions& options);

/// Moves the library into the home of the options, which is made when it is missing. Absent when it works there now; else
/// why not, and it stays where it was.
std::optional<Error> moveIn(const ClientOptions& options);

/// An error in the client's domain.
Error clientError(ClientError code, std::string description);

}  // namespace orv
