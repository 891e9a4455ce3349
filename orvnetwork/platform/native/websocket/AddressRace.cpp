#include "orvnetwork/platform/native/websocket/AddressRace.h"

#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/platform/native/websocket/TellingError.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace orv {

namespace {

std::chrono::nanoseconds inNanoseconds(Seconds span) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(span);
}

}  // namespace

void AddressRace::addressesCame(IpFamily family, const std::vector<SocketAddress>& addresses) {
  lookups_[indexOf(family)] = false;
  if (ended_) return;
  takePreferred(family, addresses);
  for (const SocketAddress& address : addresses) add(family, address);
  came_[indexOf(family)] = runner_.now();
  goOn();
}

/// Puts the one that was good the last time in front; one that is not found any more counts for nothing.
void AddressRace::takePreferred(IpFamily family, const std::vector<SocketAddress>& found) {
  if (!preferred_ || preferred_->family != family) return;
  if (std::find(found.begin(), found.end(), preferred_->address) != found.end()) {
    add(family, preferred_->address);
  } else {
    preferred_.reset();
  }
}

void AddressRace::add(IpFamily family, const SocketAddress& address) {
  std::vector<SocketAddress>& known = known_[indexOf(family)];
  if (known.size() == limits_.addressesOfFamily) return;
  if (std::find(known.begin(), known.end(), address) != known.end()) return;
  known.push_back(address);
  waiting_[indexOf(family)].push_back(address);
}

void AddressRace::lookupFailed(IpFamily family, Error error) {
  lookups_[indexOf(family)] = false;
  if (ended_) return;
  keepMoreTelling(lookupError_, std::move(error));
  goOn();
}

void AddressRace::tryConnected(std::size_t number) {
  if (!takeFromRunning(number)) return;
  end();
  runner_.raceWon(number);
}

void AddressRace::tryFailed(std::size_t number, Error error) {
  if (!takeFromRunning(number)) return;
  keepMoreTelling(connectError_, std::move(error));
  nextAt_ = runner_.now();
  goOn();
}

void AddressRace::timeCame() {
  armedFor_.reset();
  goOn();
}

void AddressRace::cancel() {
  end();
}

/// Begins what is to begin now, and sees to it that something calls for the rest.
void AddressRace::goOn() {
  while (!ended_) {
    if (!isWaiting(IpFamily::Sixth) && !isWaiting(IpFamily::Fourth)) {
      if (running_.empty() && !isLookedUp(IpFamily::Sixth) && !isLookedUp(IpFamily::Fourth)) return lose();
      return setTimer(std::nullopt);
    }
    const SteadyTime when = whenNext();
    if (runner_.now() < when) return setTimer(when);
    beginNext();
  }
}

/// When the next address may be tried; there is one.
SteadyTime AddressRace::whenNext() const {
  if (!running_.empty()) return nextAt_;
  const std::optional<SteadyTime> otherCame = came_[indexOf(otherThan(firstFamily()))];
  const bool waits = isLookedUp(firstFamily()) && otherCame;
  return waits ? *otherCame + inNanoseconds(limits_.firstFamily) : SteadyTime::min();
}

void AddressRace::beginNext() {
  makeRoom();
  const SocketAddress address = takeNext();
  const std::size_t number = begun_++;
  const SteadyTime now = runner_.now();
  nextAt_ = now + inNanoseconds(limits_.nextTry);
  running_.push_back(number);
  std::optional<Error> error = runner_.beginTry(number, address);
  if (!error) return;
  takeFromRunning(number);
  keepMoreTelling(connectError_, std::move(*error));
  nextAt_ = now;
}

/// One of the family whose turn it is, if there is one.
SocketAddress AddressRace::takeNext() {
  IpFamily family = lastFamily_ ? otherThan(*lastFamily_) : firstFamily();
  if (!isWaiting(family)) family = otherThan(family);
  lastFamily_ = family;
  std::deque<SocketAddress>& waiting = waiting_[indexOf(family)];
  const SocketAddress address = waiting.front();
  waiting.pop_front();
  return address;
}

void AddressRace::makeRoom() {
  if (running_.size() < limits_.triesAtOnce) return;
  const std::size_t oldest = running_.front();
  running_.erase(running_.begin());
  const Error error{websocket_error::kSystemDomain, ETIMEDOUT,
                    "no answer yet when other addresses had to be tried"};
  keepMoreTelling(connectError_, error);
  runner_.dropTry(oldest, error);
}

/// False for a try that is not under way any more.
bool AddressRace::takeFromRunning(std::size_t number) {
  const auto found = std::find(running_.begin(), running_.end(), number);
  if (found == running_.end()) return false;
  running_.erase(found);
  return true;
}

void AddressRace::setTimer(std::optional<SteadyTime> when) {
  if (armedFor_ == when) return;
  armedFor_ = when;
  if (when) {
    runner_.armTimer(*when);
  } else {
    runner_.disarmTimer();
  }
}

void AddressRace::end() {
  ended_ = true;
  setTimer(std::nullopt);
  for (const std::size_t number : std::exchange(running_, {})) runner_.dropTry(number, std::nullopt);
}

void AddressRace::lose() {
  end();
  // An address that nothing leads to says less than that those which might do are not known.
  const bool namesSayMore =
      !connectError_ || (saysLittle(*connectError_) && lookupError_ && isTemporary(*lookupError_));
  runner_.raceLost(namesSayMore ? lookupError_.value_or(noAddress()) : *connectError_);
}

}  // namespace orv
