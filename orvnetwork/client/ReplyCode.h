#pragma once

#include <orvnetwork/data/Export.h>

#include <cstdint>
#include <string_view>

namespace orv {

/// What the server answers with: "v"."ret" of a reply. The codes that the system itself acts on have names here; all
/// others are the server's own, and an enumeration of this type holds them as the numbers that they are:
///
///     if (reply.code() == orv::ReplyCode::SessionNeeded) show("please sign in");
///     if (reply.code() == orv::ReplyCode{404}) show("there is no such course");
enum class ReplyCode : std::int32_t {
  /// The request was carried out. An answer without a code counts as one with this.
  Success = 0,
  /// @name There is no session
  /// The link holds a request that is answered with one of these and sends it again when there is a session, so a host
  /// sees them only where the session itself is asked for ("User.Post.Session"), or when its deadline has passed.
  /// @{
  SessionMissing = 1000,
  SessionNeeded = 1001,
  SessionLost = 10031,
  /// @}
  /// @name The session is over
  /// What ends the refreshing of the session at once; other failures end it when they come three times in a row.
  /// @{
  SessionEnded = 2,
  SessionInvalid = -999999,
  /// @}
};

/// Domain of errors that are a refusal by the server: their code is the number of the `ReplyCode`, their description the
/// server's own text.
inline constexpr std::string_view kReplyErrorDomain = "OrvReply";

/// Its name, for example "SessionNeeded"; empty for a code that is the server's own. Any thread.
ORV_EXPORT std::string_view nameOf(ReplyCode code) noexcept;
/// Whether it says that there is no session. Any thread.
ORV_EXPORT bool needsSession(ReplyCode code) noexcept;
/// Whether it says that the session is over for good. Any thread.
ORV_EXPORT bool endsSession(ReplyCode code) noexcept;

}  // namespace orv
