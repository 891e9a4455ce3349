#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/SignIn.h>
#include <orvnetwork/client/detail/RevocableRequest.h>
#include <orvnetwork/client/detail/SessionWatch.h>
#include <orvnetwork/client/detail/UserStore.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>

namespace orv::detail {

/// Signs users in and out, one at a time: a sign-in gives up those before it, a sign-out too, and a sign-in waits for a
/// sign-out, also for one that a desk has left behind that is gone.
///
/// A log-in that was sent is carried out, also where nobody wants it any more: then the server's session is somebody's who
/// is not going to be stored, and is given back. With one exception: a later log-in that was sent has the session, and
/// what is done about an earlier one would end it. Only when the later one fails is the session given back after all.
class SignDesk : public std::enable_shared_from_this<SignDesk> {
 public:
  /// Sends a log-in.
  using LogIn = std::function<Pending<Reply>()>;

  explicit SignDesk(std::shared_ptr<SessionWatch> watch) : watch_(std::move(watch)) {}

  UserStore& store() { return store_; }
  Pending<SignInResult> signIn(LogIn logIn);
  Pending<SignOutResult> signOut();
  void giveUpSignIns();

 private:
  using Self = std::shared_ptr<SignDesk>;
  class Unfinished;

  static Pending<SignInResult> signInUntil(Self desk, LogIn logIn, std::stop_token stop);
  static Pending<SignInResult> signInNow(Self desk, LogIn logIn, std::stop_token stop);
  static Pending<SignInResult> keep(Self desk, std::uint64_t number, Reply reply, std::stop_token stop);
  static Pending<> signOutNow(Self desk);
  /// What became of the log-in that was sent last.
  enum class LastLogIn { UnderWay, Accepted, Failed };

  Pending<Reply> send(const LogIn& logIn);
  void logInEnded(std::uint64_t number, const Reply& reply, bool isWanted);
  void returnSession(std::uint64_t number);
  static Pending<SignOutResult> joinSignOut();

  const std::shared_ptr<SessionWatch> watch_;
  UserStore store_;
  std::stop_source signIns_;
  std::uint64_t logIns_ = 0;  ///< how many were sent; the number of the last one
  LastLogIn last_ = LastLogIn::Failed;
  /// Whether an earlier one has the session, which is to be given back if the last one fails.
  bool isReturnDue_ = false;
  /// The log-out by which a session is ended that nobody wants. A log-in takes it back.
  RevocableRequest ending_;
  PendingCallback ended_;
};

}  // namespace orv::detail
