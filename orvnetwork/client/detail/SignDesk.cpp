#include "orvnetwork/client/detail/SignDesk.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/detail/RevocableRequest.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/session/SessionRenewal.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace orv::detail {

namespace {

/// Without a link a sign-in waits so many times so long for one, and each time it asks for an attempt: a person is waiting,
/// and the link takes no notice of an attempt that is asked for within 1.5 s of the last.
constexpr int kLinkTurns = 5;
constexpr Seconds kLinkTurn{2};
constexpr Seconds kLogOutWait{5};

std::shared_ptr<OrvUserInfoModel> storedUser() {
  return QXUserInfoMgr::isConstructed() ? QXUserInfoMgr::getInstance().userInfo() : nullptr;
}

Pending<Reply> askToLogOut() {
  return ask<&QXAPIHelper::logoutWithCompleteBlock_timeoutBlock>();
}

/// Asks its token to stop when the link holds a log-out for a session that the server does not renew: the log-out would be
/// waited for in vain. Where it does renew it the log-out is sent again.
class RefusalWatch {
 public:
  /// @param hasFailed whether the last renewal has failed
  explicit RefusalWatch(bool hasFailed) : hasFailed_(hasFailed) {
    tokens_.push_back(QXWebSocketMgr::standard().watchParkedRequests([this] { look(); }));
    tokens_.push_back(QXUserInfoMgr::getInstance().watchRenewals([this](const SessionRenewal& renewal) {
      hasFailed_ = renewal.end != SessionRenewal::End::Renewed;
      look();
    }));
  }
  RefusalWatch(const RefusalWatch&) = delete;
  RefusalWatch& operator=(const RefusalWatch&) = delete;
  ~RefusalWatch() = default;

  std::stop_token token() const { return stop_.get_token(); }
  bool hasStopped() const { return stop_.stop_requested(); }

 private:
  void look() {
    if (hasFailed_ && QXWebSocketMgr::standard().parkedRequestCount() > 0) stop_.request_stop();
  }

  bool hasFailed_;
  std::stop_source stop_;
  std::vector<ObserverToken> tokens_;
};

/// The sign-out that is under way, and who waits for it: one for the process, since it goes on when its desk is gone, and
/// there is one user. Main thread.
struct Leaving {
  bool isUnderWay = false;
  std::vector<PendingSource<SignOutResult>> waiters;

  static Leaving& standard() {
    static auto& leaving = *new Leaving;
    return leaving;
  }
};

/// The user whom the answer to a log-in brings; null when it brings none.
std::shared_ptr<OrvUserInfoModel> userIn(const Reply& reply) {
  auto user = makeRecord<OrvUserInfoModel>(reply.data());
  return user && user->uID.get() && user->token.get() ? user : nullptr;
}

SignInResult notAccepted(const Reply& reply) {
  const bool isRefused = reply.outcome() == ReplyOutcome::Refused;
  std::string text(reply.text());
  if (text.empty()) text = isRefused ? "the server refuses" : "the server does not answer";
  return SignInResult(isRefused ? SignInOutcome::Refused : SignInOutcome::NoAnswer, std::move(text),
                      reply.code());
}

}  // namespace

/// A user who is being stored; gives that up when it goes before it was told to keep them.
class SignDesk::Unfinished {
 public:
  Unfinished(Self desk, std::uint64_t number, UserStore::StoringPointer storing)
      : desk_(std::move(desk)), number_(number), storing_(std::move(storing)) {}
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  ~Unfinished() {
    if (!storing_) return;
    desk_->store_.giveUp(storing_);
    desk_->returnSession(number_);
  }
  void finish() { storing_.reset(); }

 private:
  const Self desk_;
  const std::uint64_t number_;
  UserStore::StoringPointer storing_;
};

// Looks after the answer also when nobody waits for it any more.
Pending<Reply> SignDesk::send(const LogIn& logIn) {
  const auto source = std::make_shared<PendingSource<Reply>>();
  auto pending = source->pending();
  ended_ = {};
  ending_.takeBack();
  last_ = LastLogIn::UnderWay;
  logIn()
      .then([desk = shared_from_this(), source, number = ++logIns_](const Reply& reply) {
        desk->logInEnded(number, reply, source->isWanted());
        if (source->isWanted()) source->answerNow(reply);
      })
      .detach();
  return pending;
}

void SignDesk::logInEnded(std::uint64_t number, const Reply& reply, bool isWanted) {
  if (number == logIns_) last_ = reply.succeeded() ? LastLogIn::Accepted : LastLogIn::Failed;
  if (reply.succeeded()) {
    if (!isWanted) return returnSession(number);
    if (number == logIns_) isReturnDue_ = false;
    return;
  }
  // One that was not answered may have been carried out all the same.
  const bool mayHaveSession = reply.outcome() == ReplyOutcome::TimedOut && storedUser();
  if (mayHaveSession || (number == logIns_ && isReturnDue_)) returnSession(number);
}

/// The server has opened a session on this link for somebody who is not going to be stored: gives it back to the user who
/// is, or ends it.
void SignDesk::returnSession(std::uint64_t number) {
  if (number != logIns_ && last_ != LastLogIn::Failed) {
    if (last_ == LastLogIn::UnderWay) isReturnDue_ = true;
    return;
  }
  isReturnDue_ = false;
  if (storedUser()) {
    QXUserInfoMgr::getInstance().websocketStatusChanged();
  } else if (QXWebSocketMgr::standard().isOpen()) {
    ended_ = ending_.send(askToLogOut).deadline(kLogOutWait).then([desk = shared_from_this()](const Reply&) {
      desk->ending_.takeBack();
    });
  }
}

void SignDesk::giveUpSignIns() {
  std::exchange(signIns_, std::stop_source()).request_stop();
}

Pending<SignInResult> SignDesk::signIn(LogIn logIn) {
  giveUpSignIns();
  return signInUntil(shared_from_this(), std::move(logIn), signIns_.get_token());
}

// Apart, so that the host may set a stop token of its own.
Pending<SignInResult> SignDesk::signInUntil(Self desk, LogIn logIn, std::stop_token stop) {
  auto signing = signInNow(std::move(desk), std::move(logIn), stop);
  signing.stopOn(stop);
  const SignInResult result = co_await signing;
  co_return result;
}

Pending<SignInResult> SignDesk::signInNow(Self desk, LogIn logIn, std::stop_token stop) {
  if (Leaving::standard().isUnderWay) {
    auto leaving = joinSignOut();
    [[maybe_unused]] const SignOutResult left = co_await leaving;
  }
  auto& link = QXWebSocketMgr::standard();
  for (int turn = 0; turn < kLinkTurns && !link.isOpen(); ++turn) {
    // An attempt that is under way is left alone.
    if (link.isClosed()) link.reconnect();
    auto up = desk->watch_->linkUp();
    up.deadline(kLinkTurn);
    [[maybe_unused]] const PendingEnd waited = co_await up;
  }
  // What stops it is told a turn later.
  if (stop.stop_requested()) co_return SignInResult::withoutAnswer(PendingEnd::Cancelled);
  auto asked = desk->send(logIn);
  const std::uint64_t number = desk->logIns_;
  const Reply reply = co_await asked;
  if (!reply.succeeded()) co_return notAccepted(reply).from(reply);
  auto keeping = keep(desk, number, reply, stop);
  const SignInResult result = co_await keeping;
  co_return result.from(reply);
}

Pending<SignInResult> SignDesk::keep(Self desk, std::uint64_t number, Reply reply, std::stop_token stop) {
  const auto user = userIn(reply);
  if (!user) {
    desk->returnSession(number);
    co_return SignInResult(SignInOutcome::NoUser, "the answer to the log-in holds no user");
  }
  const auto identity = SessionWatch::Identity::of(*user);
  const auto storing = std::make_shared<UserStore::Storing>(user);
  Unfinished unfinished(desk, number, storing);
  if (stop.stop_requested()) co_return SignInResult::withoutAnswer(PendingEnd::Cancelled);
  desk->watch_->expect(identity);
  auto stored = desk->store_.store(storing);
  const std::optional<bool> isKept = co_await stored;
  if (stop.stop_requested()) co_return SignInResult::withoutAnswer(PendingEnd::Cancelled);
  unfinished.finish();
  desk->watch_->confirm(identity);
  if (isKept.value_or(false)) co_return SignInResult(SignInOutcome::SignedIn);
  co_return SignInResult(SignInOutcome::NotWritten, "the user could not be written to " + UserStore::file());
}

Pending<SignOutResult> SignDesk::joinSignOut() {
  return Leaving::standard().waiters.emplace_back().pending();
}

Pending<SignOutResult> SignDesk::signOut() {
  giveUpSignIns();
  auto joined = joinSignOut();
  if (!std::exchange(Leaving::standard().isUnderWay, true)) signOutNow(shared_from_this()).detach();
  return joined;
}

Pending<> SignDesk::signOutNow(Self desk) {
  std::string text = "there is no session on this link";
  bool isTold = false;
  std::optional<Reply> answer;
  if (desk->watch_->info().state == SessionState::Good) {
    const RefusalWatch watch(!desk->watch_->info().reason.empty());
    RevocableRequest request;
    auto asked = request.send(askToLogOut);
    asked.deadline(kLogOutWait);
    asked.stopOn(watch.token());
    const Reply reply = co_await asked;
    isTold = reply.succeeded();
    text = isTold               ? std::string()
           : watch.hasStopped() ? "the server does not know the session any more"
                                : reply.sentence();
    answer = reply;
  }
  auto cleared = desk->store_.clear();
  const std::optional<bool> isEmpty = co_await cleared;
  Leaving::standard().isUnderWay = false;
  const bool isRemoved = isEmpty.value_or(false);
  if (!isRemoved) text = "the user could not be removed from " + UserStore::file();
  desk->watch_->look();
  for (auto& waiter : std::exchange(Leaving::standard().waiters, {})) {
    const auto outcome = isRemoved ? SignOutOutcome::SignedOut : SignOutOutcome::NotRemoved;
    waiter.answer(SignOutResult(outcome, isTold, text).from(answer));
  }
}

}  // namespace orv::detail
