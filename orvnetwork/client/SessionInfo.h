#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/session/OrvUserInfoModel.h>

#include <memory>
#include <string>
#include <string_view>

namespace orv {

/// How things stand between the user and the server. It is not the state of the link: a user who is stored is never
/// signed out for want of a link.
enum class SessionState {
  SignedOut,  ///< nobody is stored: a person has to sign in
  Restoring,  ///< somebody is stored, and the server has not confirmed the session on this link; or it is not known yet
  Good,       ///< the server knows the session
  Refused,    ///< the server does not take the session any more: a person has to sign in again
  TakenOver,  ///< another device has logged this one out: a person has to sign in again
};

/// Its name, for example "Restoring". Any thread.
ORV_EXPORT std::string_view nameOf(SessionState state) noexcept;

/// What the server has told of the user's other devices, with the last renewal of the session.
struct OtherDevice {
  bool isLoggedIn = false;  ///< the account is logged in there too
  bool isLive = false;      ///< a course of the account is on the air there
  bool operator==(const OtherDevice&) const = default;
};

/// The session at a moment: a plain value.
struct ORV_EXPORT SessionInfo {
  SessionState state = SessionState::SignedOut;
  /// The user as they were at that moment: a copy that nothing changes any more. Null when nobody is stored. It may be
  /// read on any thread.
  std::shared_ptr<const OrvUserInfoModel> user;
  /// Why it is so, a part of a sentence without a full stop: the server's words, or what the last renewal failed with.
  /// Kept until a renewal succeeds; empty where there is nothing to say.
  std::string reason;
  OtherDevice otherDevice;

  /// All of it in one line for a log, without the token: `Refused, user 7: the session is over`.
  std::string sentence() const;
  /// Equal when everything is, the fields of the users included.
  bool operator==(const SessionInfo& other) const;
};

/// A change of the session.
struct SessionChange {
  SessionInfo before;
  SessionInfo now;
};

}  // namespace orv
