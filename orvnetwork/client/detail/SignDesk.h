#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/SignIn.h>
#include <orvnetwork/client/detail/SessionWatch.h>
#include <orvnetwork/client/detail/UserStore.h>

#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

namespace orv::detail {

/// Signs users in and out, one at a time: a sign-in gives up those before it, a sign-out too, and a sign-in waits for a
/// sign-out.
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
  static Pending<SignInResult> keep(Self desk, Reply reply, std::stop_token stop);
  static Pending<> signOutNow(Self desk);
  Pending<SignOutResult> joinSignOut();

  const std::shared_ptr<SessionWatch> watch_;
  UserStore store_;
  std::stop_source signIns_;
  bool isSigningOut_ = false;
  std::vector<PendingSource<SignOutResult>> leaving_;
};

}  // namespace orv::detail
