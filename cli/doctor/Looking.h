#pragma once

#include "cli/doctor/PlaceVerdicts.h"

#include <string>

// What doctor looks at on this machine. Nothing is changed, and nothing is made.

namespace orv::cli::doctor {

/// The routes that lead out.
NetworkFacts lookAtRoutes();

/// The home of the library, which need not exist.
/// @param documents the documents folder in it
HomeFacts lookAtHome(const std::string& documents);

/// The folder of the rolling log.
LogFacts lookAtLog(const std::string& folder);

/// Who is stored in the user's file, with the token.
struct StoredUser {
  SignInFacts::Stored stored = SignInFacts::Stored::Nobody;
  std::string userID{};
  std::string token{};
  /// Why the file cannot be read.
  std::string problem{};
};
StoredUser lookAtUser(const std::string& documents);

}  // namespace orv::cli::doctor
