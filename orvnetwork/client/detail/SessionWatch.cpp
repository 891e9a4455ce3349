#include "orvnetwork/client/detail/SessionWatch.h"

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace orv::detail {

namespace {

/// Renewals that are asked for here are spread over this, so that many programs do not ask at once.
constexpr Seconds kRenewalSpread{2};
/// A server that takes each renewal and refuses requests all the same is asked less and less.
constexpr Seconds kWidestSpread{120};
constexpr Seconds kCalm{60};

constexpr std::string_view kTakenOver = "another device has logged this one out";

QXWebSocketMgr& theLink() {
  return QXWebSocketMgr::standard();
}

OtherDevice otherDeviceOf(const OrvUserInfoModel& user) {
  const auto told = user.otherDeviceLogin.get();
  return told ? OtherDevice{told->isLogin, told->liveStatus} : OtherDevice{};
}

std::string reasonOf(const SessionRenewal& renewal) {
  if (renewal.end == SessionRenewal::End::Unanswered) return "the server does not answer";
  if (renewal.error && !renewal.error->empty()) return *renewal.error;
  return "the server refuses the session with code " + std::to_string(renewal.code);
}

}  // namespace

void SessionWatch::observe(std::string_view name, void (SessionWatch::*heard)()) {
  tokens_.push_back(NotificationCenter::defaultCenter().observe(
      name, [this, heard](const Notification&) { (this->*heard)(); }));
}

void SessionWatch::open() {
  observe(QXNotificationDidChangeUserInfo, &SessionWatch::userChanged);
  observe(QXNotificationDidChangeClassroom, &SessionWatch::look);
  observe(QXNotificationDidOpen, &SessionWatch::linkOpened);
  tokens_.push_back(NotificationCenter::defaultCenter().observe(
      QXNotificationLogoutByOtherUser, [this](const Notification& pushed) { takenOver(pushed.userInfo); }));
  for (const auto lost : {QXNotificationDidCloseWithCode, QXNotificationDidFailWithError,
                          QXNotificationDidAutoReconnectFailed, QXNotificationReachabilityStatusChange}) {
    observe(lost, &SessionWatch::look);
  }
  // Both are there before the manager has read its file.
  tokens_.push_back(QXUserInfoMgr::allocWithZone().watchRenewals(
      [this](const SessionRenewal& renewal) { renewalEnded(renewal); }));
  tokens_.push_back(theLink().watchParkedRequests([this] { requestParked(); }));
  info_.state = SessionState::Restoring;
}

void SessionWatch::close() {
  tokens_.clear();
  subscribers_.reset();
  if (renewal_) renewal_->invalidate();
}

void SessionWatch::loaded() {
  isLoaded_ = true;
  userChanged();
}

Subscription SessionWatch::add(std::function<void(const SessionChange&)> callback) {
  return subscribers_->add(std::move(callback), SessionChange{info_, info_});
}

Pending<> SessionWatch::linkUp() {
  std::erase_if(linkWaiters_, [](const auto& waiter) { return !waiter.isWanted(); });
  return linkWaiters_.emplace_back().pending();
}

void SessionWatch::userChanged() {
  look();
  // The manager renews the session when the link is confirmed, and has done so already.
  if (info_.state == SessionState::Restoring && info_.user && theLink().isOpen()) renewWithin(kRenewalSpread);
}

void SessionWatch::linkOpened() {
  // It is another link than that on which the session was confirmed. The manager renews it now, at once, by a rule of its
  // own; one that was to come from here would be a second one.
  if (verdict_ == Verdict::Good) verdict_ = Verdict::None;
  expected_.reset();
  if (renewal_) renewal_->invalidate();
  look();
  for (auto& waiter : std::exchange(linkWaiters_, {})) waiter.answer(PendingEnd::Finished);
}

void SessionWatch::takenOver(const json::object* frame) {
  look();
  // It may be meant for somebody who was signed in until now.
  const OptionalString meant = looseString(member(looseObject(member(frame, "v")), "uID"));
  if (!info_.user || (meant && meant != identity_.uID)) return;
  verdict_ = Verdict::TakenOver;
  reason_ = kTakenOver;
  // A sign-in whose user is being written confirms nothing any more.
  if (expected_ == identity_) expected_.reset();
  look();
}

void SessionWatch::renewalEnded(const SessionRenewal& renewal) {
  const auto stored = storedUser();
  if (!stored) return;
  if (renewal.end == SessionRenewal::End::Renewed) {
    identity_ = Identity::of(*stored);
    verdict_ = Verdict::Good;
    reason_.clear();
    otherDevice_ = otherDeviceOf(*stored);
  } else if (verdict_ != Verdict::TakenOver) {
    // That another device has logged this one out says more than what follows from it.
    if (renewal.isOver) verdict_ = Verdict::Refused;
    reason_ = reasonOf(renewal);
  }
  look();
  // The manager's next tick is two minutes away.
  const bool isUnanswered = renewal.end == SessionRenewal::End::Unanswered;
  if (isUnanswered && verdict_ == Verdict::None && theLink().isOpen()) renewSoon();
}

void SessionWatch::confirm(const Identity& identity) {
  const bool isSameLink = expected_ == identity;
  look();
  expected_.reset();
  if (!isSameLink || identity_ != identity) return;
  verdict_ = Verdict::Good;
  reason_.clear();
  if (const auto stored = storedUser()) otherDevice_ = otherDeviceOf(*stored);
  look();
  // The manager's own renewals begin with the next link only.
  renewWithin(kRenewalSpread);
}

// The server does not know the session, or did not when it got the request. Where it has not been confirmed yet the
// answer to the renewal that is under way sends the request again; a refusal counts, and is nothing to be asked for.
void SessionWatch::requestParked() {
  if (verdict_ == Verdict::Good && reason_.empty()) renewSoon();
}

void SessionWatch::renewSoon() {
  if (renewal_ && renewal_->isValid()) return;
  const SteadyTime now = Platform::current().clock().steadyNow();
  const bool isCalm = !askedAt_ || now - *askedAt_ > std::max(kCalm, askedSpread_ * 2);
  askedSpread_ = isCalm ? kRenewalSpread : std::min(askedSpread_ * 2, kWidestSpread);
  askedAt_ = now;
  renewWithin(askedSpread_);
}

void SessionWatch::renewWithin(Seconds spread) {
  if (renewal_ && renewal_->isValid()) return;
  const double share =
      Platform::current().random() / static_cast<double>(std::numeric_limits<std::uint32_t>::max());
  renewal_ = Timer::schedule(spread * share, false, [watch = weak_from_this()] {
    const auto kept = watch.lock();
    if (!kept || !kept->storedUser()) return;
    QXUserInfoMgr::getInstance().websocketStatusChanged();
  });
}

std::shared_ptr<OrvUserInfoModel> SessionWatch::storedUser() const {
  return isLoaded_ ? QXUserInfoMgr::getInstance().userInfo() : nullptr;
}

SessionState SessionWatch::stateFor(bool isStored) const {
  if (!isStored) return isLoaded_ ? SessionState::SignedOut : SessionState::Restoring;
  switch (verdict_) {
    case Verdict::Good:
      return SessionState::Good;
    case Verdict::Refused:
      return SessionState::Refused;
    case Verdict::TakenOver:
      return SessionState::TakenOver;
    case Verdict::None:
      break;
  }
  return SessionState::Restoring;
}

SessionInfo SessionWatch::presentFor(const OrvUserInfoModel* stored) const {
  SessionInfo present;
  present.state = stateFor(stored != nullptr);
  if (stored == nullptr) return present;
  present.user = makeRecord<OrvUserInfoModel>(stored->jsonObject());
  present.reason = reason_;
  present.otherDevice = otherDevice_;
  return present;
}

void SessionWatch::look() {
  const auto stored = storedUser();
  if (!theLink().isOpen()) {
    expected_.reset();
    if (verdict_ == Verdict::Good) verdict_ = Verdict::None;
  }
  const Identity identity = stored ? Identity::of(*stored) : Identity{};
  if (identity != identity_) {
    identity_ = identity;
    verdict_ = stored && expected_ == identity ? Verdict::Good : Verdict::None;
    reason_.clear();
    otherDevice_ = verdict_ == Verdict::Good ? otherDeviceOf(*stored) : OtherDevice{};
  }
  SessionInfo now = presentFor(stored.get());
  if (now == info_) return;
  SessionChange change{std::exchange(info_, now), std::move(now)};
  if (subscribers_) subscribers_->tell(std::move(change));
}

}  // namespace orv::detail
