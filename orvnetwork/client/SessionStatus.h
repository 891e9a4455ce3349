#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/SessionInfo.h>
#include <orvnetwork/client/SignIn.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/session/OrvUserInfoModel.h>

#include <functional>
#include <memory>
#include <string>

namespace orv {

/// Who is signed in, and whether the server still says so.
///
///     class LoginWindow {
///      public:
///       explicit LoginWindow(orv::SessionStatus& session) : session_(session) {
///         changed_ = session.onChanged([](const orv::SessionChange& change) {
///           if (change.now.state == orv::SessionState::Good) showCourses(*change.now.user);
///         });
///       }
///       void submit() {
///         signingIn_ = session_.signIn(mobile(), password()).then([](const orv::SignInResult& result) {
///           if (!result) show(result.text());
///         });
///       }
///
///      private:
///       orv::SessionStatus& session_;                      // one for the program
///       orv::Subscription changed_;
///       orv::PendingCallback signingIn_;
///     };
///
/// | state | means | left by |
/// |---|---|---|
/// | `SignedOut` | nobody is stored | `signIn` → `Good` |
/// | `Restoring` | a user is stored, the server has not confirmed the session on this link | a renewal → `Good`, `Refused` |
/// | `Good` | the server knows the session | the link is lost → `Restoring` |
/// | `Refused` | the server has ended the session, or refused it three times in a row | `signIn`, a renewal → `Good` |
/// | `TakenOver` | another device has logged this one out | `signIn`, a renewal → `Good` |
///
/// The user stays stored in `Refused` and `TakenOver`; the host asks a person, and signs in or out. The session is renewed
/// by `QXUserInfoMgr`, each time the link is up and every 120 s. Where nobody else would for minutes, this asks for a
/// renewal too, within 2 s: after a sign-in, and when the server says that it does not know the session by refusing a
/// request for want of one. That also sends the requests that were held for it. What was held for one user and was not
/// given up is sent with the session of the next one, as the link has it.
///
/// The user file is read and written on the worker pool. Nothing here waits for it. Until it has been read the state is
/// `Restoring` without a user.
///
/// Everything here belongs to the main thread, calls back there, and calls nobody back inside the call that caused it.
/// Destroying it withdraws all callbacks; sign-ins that are under way are given up, a sign-out goes on.
class ORV_EXPORT SessionStatus {
 public:
  /// Begins to watch. One for the program is enough; several see the same. Unless it has been made before, a worker makes
  /// the user manager, which reads the user file.
  SessionStatus();
  ~SessionStatus();
  SessionStatus(const SessionStatus&) = delete;
  SessionStatus& operator=(const SessionStatus&) = delete;

  SessionState state() const;
  /// All that is known now.
  const SessionInfo& info() const;
  /// The user as a record that nothing changes any more; null when nobody is stored. A copy that was taken when the
  /// library last stored, renewed or completed the user; a host that changes fields of the manager's own record in place
  /// sees them here with the next renewal.
  std::shared_ptr<const OrvUserInfoModel> user() const;

  /// Calls `callback` after each change, and once in the next turn with the present: then `before` and `now` are equal.
  /// Otherwise they never are. One that runs a loop of its own is called in it too.
  [[nodiscard]] Subscription onChanged(std::function<void(const SessionChange& change)> callback);

  /// Signs a user in and stores them. Somebody who is signed in stays so until then. Without a link it waits up to 10 s
  /// for one.
  ///
  /// Destroying or cancelling the answer gives the sign-in up: nobody is stored by it, also when the server has answered
  /// already; who was stored before stays or is put back. A later `signIn` or `signOut` gives it up as well. While a
  /// sign-out is under way it waits for its end.
  /// @param mobile the mobile number, as the server wants it
  /// @param password as a person typed it; only its digest is sent
  /// @return told when the file has the user, or why not
  [[nodiscard]] Pending<SignInResult> signIn(std::string mobile, std::string password);
  /// The same with a verification code instead of the password.
  /// @param code what the server has sent to the person
  [[nodiscard]] Pending<SignInResult> signInWithCode(std::string mobile, std::string code);

  /// Signs the user out: tells the server where there is a session, waiting 5 s at most, then stores nobody, which opens
  /// the link afresh. A server that has forgotten the session is asked to renew it first; where it will not, which shows
  /// within some 2 s, nothing more is waited for. It goes on when the answer is destroyed. When it is under way already,
  /// this one ends with it.
  /// @return told when the file says that nobody is stored, or why not
  Pending<SignOutResult> signOut();

  /// Has it look at the link now: for those who learn sooner than by notifications that it was lost.
  void linkChanged();

 private:
  class Impl;
  const std::shared_ptr<Impl> impl_;
};

}  // namespace orv
