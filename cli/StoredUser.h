#pragma once

#include <orvnetwork/session/OrvUserInfoModel.h>

#include "cli/Host.h"
#include "cli/Request.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

/// What became of a request in the name of the stored user.
struct UserRequest {
  enum class Outcome {
    Answered,        ///< the server has replied
    SessionRefused,  ///< the server does not know the user's session any more
    NoReply          ///< no reply in time, or interrupted
  };
  Outcome outcome = Outcome::NoReply;
  /// Meaningless when the session was refused.
  Answer answer;
  bool success = false;
  json::object reply;
};

/// Sends a request once the library has the link's session renewed, which it does by itself as soon as the link is
/// up. The user's manager must have been made before the link was opened. Main thread.
UserRequest requestAsUser(Host& host, const Operation& operation, const std::vector<Object>& arguments);

/// Whether the user file holds this user, with the token that signs in: what a run that follows will find.
bool isInFile(const OrvUserInfoModel& user);
/// Whether the user file holds nobody, and no token.
bool isFileEmpty();
/// Where the user file lies, or should, for a message.
std::string userFile();

inline constexpr std::string_view kNobodyMessage = "nobody is logged in; see `orv login --help`";
inline constexpr std::string_view kSessionOverMessage =
    "the server does not know the session of this user any more: log in again";

}  // namespace orv::cli
