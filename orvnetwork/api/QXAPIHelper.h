#pragma once

#include <orvnetwork/platform/Export.h>
#include <orvnetwork/transport/QXRequestItem.h>

namespace orv {

/// The catalogue of the server's commands, one operation a command.
///
/// All operations are alike. The leading arguments are the command's inputs; one that is absent leaves its
/// member out of the request. The last two are the caller's callbacks, and either may be empty:
///  - `completeBlock` hears the reply on the main thread, with the whole frame: the payload is "v"."data", the
///    error text "v"."err", the code "v"."ret";
///  - `timeoutBlock` is called on the main thread when no reply came within 10 s, or at once on the calling
///    thread when the link is not open.
///
/// A request that the server refuses for want of a session calls neither until a session is there and it has
/// been sent again. Operations return nothing, keep no state, and may be called on any thread.
class ORV_EXPORT QXAPIHelper {
 public:
  QXAPIHelper() = delete;

  /// Any command, with values that the caller built; nothing is added to them.
  /// @param command the dotted command name
  /// @param values the values dictionary; absent: the frame has no "v"
  static void requestWithCommand_values_completeBlock_timeoutBlock(const OptionalString& command,
                                                                   std::optional<json::object> values,
                                                                   CompleteBlock completeBlock,
                                                                   TimeoutBlock timeoutBlock);

  /// @name Account and session
  /// @{

  /// "User.Post.Login" with a password, which leaves the process as its MD5 digest only.
  /// @param mobile the user's phone number
  /// @param password the password in the clear
  static void loginWithMobile_password_completeBlock_timeoutBlock(const OptionalString& mobile,
                                                                  const std::string& password,
                                                                  CompleteBlock completeBlock,
                                                                  TimeoutBlock timeoutBlock);

  /// "User.Post.Login" with a verification code.
  /// @param mobile the user's phone number
  /// @param code the code that was sent to it
  static void loginWithMobile_code_completeBlock_timeoutBlock(const OptionalString& mobile,
                                                              const OptionalString& code,
                                                              CompleteBlock completeBlock,
                                                              TimeoutBlock timeoutBlock);

  /// "User.Post.Session": takes a stored session up again. Its success sends held requests anew.
  /// @param session the user identifier, which goes out under "uID"
  /// @param token the token of the last log-in
  static void loginWithSession_token_completeBlock_timeoutBlock(const OptionalString& session,
                                                                const OptionalString& token,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock);

  /// "User.Post.Logout" on this device.
  static void logoutWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// @}
};

}  // namespace orv
