#include "orvnetwork/client/detail/LinkSupervisor.h"

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/transport/RetrySchedule.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace orv {

namespace {

constexpr Seconds kPatienceWithConnecting{65};
constexpr Seconds kPatienceWithConfirming{10};
constexpr Seconds kPatienceWithSilence{45};
/// The last part of each patience. It begins when the main thread has seen the first part end, and its second half when
/// that has seen the first half end: a "PING" that a busy main thread has sent late gets its answer in it.
constexpr Seconds kLastLook{10};
constexpr Seconds kStandstill{5};
/// One request may time out because the server has nothing to say to it.
constexpr std::uint64_t kTimeoutsInARow = 2;
constexpr Seconds kFirstSpread{10};
constexpr Seconds kLastSpread{60};
/// How long a link is up that counts as one that works.
constexpr Seconds kLastingLink{10};

/// A random part of a span.
Seconds partOf(Seconds span) {
  constexpr double kRange = 4294967296.0;
  return span * (Platform::current().random() / kRange);
}

}  // namespace

LinkSupervisor::LinkSupervisor(bool acts, Actions actions) : acts_(acts), actions_(std::move(actions)) {}

LinkSupervisor::~LinkSupervisor() {
  rest();
}

SteadyTime LinkSupervisor::now() {
  return Platform::current().clock().steadyNow();
}

Seconds LinkSupervisor::spread(std::uint64_t attempts) {
  Seconds widest = kFirstSpread;
  for (; attempts > 0 && widest < kLastSpread; --attempts) widest *= 2;
  return std::min(widest, kLastSpread);
}

LinkSupervisor::Kind LinkSupervisor::kindOf(const LinkReading& reading) {
  if (!reading.isWanted) return Kind::Fine;
  if (reading.isUp()) return Kind::Up;
  // The schedule goes on.
  if (reading.retryAt) return Kind::Fine;
  if (reading.socket == WebSocketState::Open) return Kind::Confirming;
  if (reading.socket == WebSocketState::Connecting) return Kind::Connecting;
  return reading.isOffline() ? Kind::Fine : Kind::Stalled;
}

Seconds LinkSupervisor::patienceWith(Kind kind) {
  switch (kind) {
    case Kind::Connecting:
      return kPatienceWithConnecting;
    case Kind::Confirming:
      return kPatienceWithConfirming;
    case Kind::Up:
      return kPatienceWithSilence;
    default:
      return Seconds::zero();
  }
}

std::optional<LinkFailure> LinkSupervisor::troubleOf(Kind kind) {
  switch (kind) {
    case Kind::Connecting:
      return LinkFailure{LinkTrouble::NoAnswer, "the server does not answer", {}};
    case Kind::Confirming:
      return LinkFailure{LinkTrouble::Unconfirmed, "the server does not confirm the link", {}};
    case Kind::Up:
      return LinkFailure{LinkTrouble::NoAnswer, "the server does not answer any more", {}};
    default:
      return std::nullopt;  // what brought it about is known
  }
}

bool LinkSupervisor::isAsSeen(const LinkReading& reading) const {
  const bool isSilent = reading.messages == messages_;
  return sight_ == Sight{kindOf(reading), reading.attempts} && (sight_.kind != Kind::Up || isSilent);
}

void LinkSupervisor::follow(const LinkReading& reading) {
  if (!isAsSeen(reading)) takeIn(reading);
  timeouts_ = reading.timeouts;
  if (timeouts_ - timeoutsBefore_ >= kTimeoutsInARow) doubt();
}

void LinkSupervisor::networkReported() {
  const LinkReading reading = actions_.read();
  follow(reading);
  // One whose network is gone is about to be closed.
  if (!reading.isOffline()) doubt();
}

/// Asks a link that is up whether it still works, and waits for the answer for no longer than for any other.
void LinkSupervisor::doubt() {
  if (!acts_ || sight_.kind != Kind::Up || trouble_ || isAsked_) return;
  isAsked_ = true;
  actions_.ask();
  if (isLastLook_) return;
  timer_->invalidate();
  lookLast();
}

void LinkSupervisor::takeIn(const LinkReading& reading) {
  const Sight seen{kindOf(reading), reading.attempts};
  const bool isNew = seen != sight_;
  if (sight_.kind == Kind::Up && isNew) forgetAttemptsOfALastingLink();
  if (seen.kind == Kind::Up && isNew) upSince_ = now();
  sight_ = seen;
  messages_ = reading.messages;
  // A time-out that is told together with a message begins a row of its own.
  timeoutsBefore_ = isNew ? reading.timeouts : timeouts_;
  isAsked_ = false;
  rest();
  if (seen.kind == Kind::Stalled) {
    planAttempt();
  } else if (seen.kind != Kind::Fine) {
    lookOn(since(reading));
  }
}

/// From when on patience counts: on a link that is up from its last sign of life on.
SteadyTime LinkSupervisor::since(const LinkReading& reading) const {
  if (sight_.kind != Kind::Up || !reading.lastMessageAt) return now();
  const SteadyTime heard = std::max(upSince_, *reading.lastMessageAt);
  // Longer ago than that, the main thread stood still when it should have looked.
  return now() - heard < patienceWith(Kind::Up) ? heard : now();
}

void LinkSupervisor::forgetAttemptsOfALastingLink() {
  if (now() - upSince_ >= kLastingLink) attempts_ = 0;
}

void LinkSupervisor::rest() {
  if (const auto timer = std::exchange(timer_, nullptr)) timer->invalidate();
  trouble_.reset();
  nextAttempt_.reset();
}

void LinkSupervisor::lookOn(SteadyTime since) {
  isLastLook_ = false;
  if (isAsked_) return lookLast();
  const auto first = std::chrono::round<SteadyTime::duration>(patienceWith(sight_.kind) - kLastLook);
  if (since + first <= now()) return lookLast();
  lookAgainAt(since + first, &LinkSupervisor::lookLast);
}

void LinkSupervisor::lookAgainAt(SteadyTime at, void (LinkSupervisor::*look)()) {
  lookAt_ = at;
  timer_ = Timer::schedule(Seconds(at - now()), false, [this, look] {
    const LinkReading reading = actions_.read();
    if (!isAsSeen(reading)) {
      follow(reading);
      return actions_.noted();
    }
    // The whole process stood still, as when the computer slept: nobody had a chance to answer.
    if (now() - lookAt_ >= kStandstill) return lookOn(now());
    (this->*look)();
  });
}

void LinkSupervisor::lookLast() {
  isLastLook_ = true;
  lookForHalfAndThen(&LinkSupervisor::lookOnceMore);
}

void LinkSupervisor::lookOnceMore() {
  lookForHalfAndThen(&LinkSupervisor::note);
}

void LinkSupervisor::lookForHalfAndThen(void (LinkSupervisor::*look)()) {
  lookAgainAt(now() + std::chrono::round<SteadyTime::duration>(kLastLook / 2), look);
}

void LinkSupervisor::note() {
  if (sight_.kind == Kind::Up) forgetAttemptsOfALastingLink();
  trouble_ = troubleOf(sight_.kind);
  planAttempt();
  actions_.noted();
}

void LinkSupervisor::planAttempt() {
  if (!acts_) return;
  const Seconds wait = Seconds(kReconnectPause) + partOf(spread(attempts_));
  nextAttempt_ = now() + std::chrono::round<SteadyTime::duration>(wait);
  timer_ = Timer::schedule(wait, false, [this] { act(); });
}

void LinkSupervisor::act() {
  const LinkReading reading = actions_.read();
  if (isAsSeen(reading)) {
    const Sight acted = sight_;
    ++attempts_;
    actions_.attempt();
    // An attempt is a new sight; without one it came too soon.
    if (sight_ == acted) planAttempt();
  } else {
    follow(reading);
  }
  actions_.noted();
}

}  // namespace orv
