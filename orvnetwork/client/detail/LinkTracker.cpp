#include "orvnetwork/client/detail/LinkTracker.h"

#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/detail/LinkRevivals.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/LinkFailure.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>
#include <orvnetwork/transport/RetrySchedule.h>

#include <chrono>
#include <string>
#include <utility>

namespace orv {

namespace {

SteadyTime steadyNow() {
  return Platform::current().clock().steadyNow();
}

std::optional<SteadyTime> earlier(std::optional<SteadyTime> one, std::optional<SteadyTime> other) {
  if (!one || !other) return one ? one : other;
  return *one < *other ? one : other;
}

}  // namespace

LinkTracker::LinkTracker(bool supervised)
    : supervisor_(supervised, {.read = [this] { return read(); },
                               .noted = [this] { update(); },
                               .attempt = [this] { attempt(LinkStarter::Supervisor); },
                               .ask = [] { QXWebSocketMgr::standard().send("PING"); }}) {
  const LinkReading reading = read();
  attempts_ = attemptsBefore_ = reading.attempts;
  failures_ = reading.failures;
  present_.since = steadyNow();
  QXWebSocketMgr::standard().watch([this] { update(); });
  networkReports_ = NotificationCenter::defaultCenter().observe(
      QXNotificationReachabilityStatusChange, [this](const Notification&) { supervisor_.networkReported(); },
      &QXWebSocketMgr::standard());
  update();
}

LinkTracker::~LinkTracker() {
  QXWebSocketMgr::standard().watch({});
  QXWebSocketMgr::standard().watchMessages(false);
  if (canary_) canary_->invalidate();
}

LinkReading LinkTracker::read(bool wasWanted) {
  LinkReading reading = QXWebSocketMgr::standard().reading();
  if (!wasWanted) reading.isWanted = true;
  return reading;
}

bool LinkTracker::isUp() const {
  return present_.isUp() && QXWebSocketMgr::standard().isOpen();
}

Subscription LinkTracker::add(std::function<void(const LinkChange&)> changed) {
  return subscribers_.add(std::move(changed), LinkChange{present_, present_});
}

void LinkTracker::update() {
  wasWanted_ = wasWanted_ || QXWebSocketMgr::standard().reading().isWanted;
  const LinkReading reading = read();
  if (reading.attempts != attempts_ && canary_) {
    std::exchange(canary_, nullptr)->invalidate();
    canaryAt_.reset();
  }
  supervisor_.follow(reading);
  // Where the link was silent whatever comes says that it is not any more.
  QXWebSocketMgr::standard().watchMessages(supervisor_.trouble().has_value());
  LinkSnapshot next = snapshotOf(reading);
  if (present_.isUp() && !next.isUp()) attemptsBefore_ = attempts_;
  const bool isSameLink = wasConfirmed_ && reading.attempts == attempts_;
  wasConfirmed_ = reading.isUp();
  attempts_ = reading.attempts;
  failures_ = reading.failures;
  if (next == present_) return;
  // Before those who wait for the link: what they ask for is not what was swallowed.
  if (next.isUp() && !present_.isUp() && isSameLink) detail::linkRevivals().tell({});
  if (next.isUp()) answerThoseWhoWait();
  LinkChange change{std::exchange(present_, next), std::move(next)};
  subscribers_.tell(std::move(change));
}

LinkSnapshot LinkTracker::snapshotOf(const LinkReading& reading) const {
  LinkSnapshot link = present_;
  link.state = stateOf(reading);
  link.until = nextAttempt(reading);
  link.willRetry = willRetry(reading, link);
  const bool isNewAttempt = reading.attempts != attempts_;
  if (isNewAttempt) link.starter = starting_;
  if (link.isUp() || !present_.isUp()) {
    link.attempt = reading.attempts - attemptsBefore_;
  } else {
    link.attempt = reading.attempts - attempts_;
  }
  takeFailure(reading, link);
  if (link.state != present_.state || isNewAttempt) link.since = steadyNow();
  return link;
}

LinkState LinkTracker::stateOf(const LinkReading& reading) const {
  if (reading.isUp() && !supervisor_.trouble()) return LinkState::Up;
  if (reading.socket == WebSocketState::Open) return LinkState::Confirming;
  if (reading.socket == WebSocketState::Connecting) return LinkState::Connecting;
  if (reading.isOffline()) return LinkState::Offline;
  return reading.isWanted || nextAttempt(reading) ? LinkState::Waiting : LinkState::Stopped;
}

std::optional<SteadyTime> LinkTracker::nextAttempt(const LinkReading& reading) const {
  return earlier(earlier(reading.retryAt, supervisor_.nextAttempt()), canaryAt_);
}

bool LinkTracker::willRetry(const LinkReading& reading, const LinkSnapshot& link) const {
  if (link.state == LinkState::Stopped) return false;
  if (supervisor_.acts() || link.until || link.state == LinkState::Offline) return true;
  if (link.state == LinkState::Confirming) return !supervisor_.trouble();
  // Before the first report of the network a failure is followed by nothing, but the report is to come.
  return link.state != LinkState::Waiting || !reading.network;
}

void LinkTracker::takeFailure(const LinkReading& reading, LinkSnapshot& link) const {
  if (link.isUp()) return link.failure.reset();
  const bool isNew = reading.failures != failures_ && reading.failure;
  if (isNew) link.failure = reading.failure;
  if (supervisor_.trouble()) link.failure = supervisor_.trouble();
  if (link.state == LinkState::Offline) {
    link.failure = LinkFailure{LinkTrouble::NoNetwork, "there is no network", {}};
  }
  const bool isLoss = present_.isUp() && link.state != LinkState::Stopped;
  if (isLoss && !link.failure) link.failure = LinkFailure{LinkTrouble::Lost, "the link was opened anew", {}};
}

void LinkTracker::attempt(LinkStarter starter) {
  QXFileLog::standard().log("link: attempt of the %@", std::string(nameOf(starter)));
  starting_ = starter;
  QXWebSocketMgr::standard().reconnect();
  starting_ = LinkStarter::Link;
}

Pending<> LinkTracker::whenUp() {
  std::erase_if(waiting_, [](const PendingSource<>& source) { return !source.isWanted(); });
  PendingSource<> source;
  Pending<> pending = source.pending();
  if (isUp()) {
    source.answer(PendingEnd::Finished);
  } else {
    waiting_.push_back(std::move(source));
  }
  return pending;
}

void LinkTracker::answerThoseWhoWait() {
  for (PendingSource<>& source : std::exchange(waiting_, {})) source.answer(PendingEnd::Finished);
}

void LinkTracker::tryNow() {
  if (present_.isUp()) return;
  const LinkReading reading = read();
  const auto passed = reading.attemptedAt ? steadyNow() - *reading.attemptedAt : SteadyTime::duration::max();
  if (passed >= Seconds(kReconnectPause)) return attempt(LinkStarter::Person);
  if (!reading.hasLivingSocket() && !canary_) waitToTry(Seconds(kReconnectPause) - passed);
}

void LinkTracker::waitToTry(Seconds span) {
  // A little longer, since a moment too early is in vain.
  const Seconds wait = span + Seconds(0.001);
  canaryAt_ = steadyNow() + std::chrono::round<SteadyTime::duration>(wait);
  canary_ = Timer::schedule(wait, false, [this] {
    canary_.reset();
    canaryAt_.reset();
    if (!read().hasLivingSocket()) attempt(LinkStarter::Person);
    update();
  });
  update();
}

}  // namespace orv
