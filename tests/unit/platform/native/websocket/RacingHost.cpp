#include "RacingHost.h"

#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/platform/native/websocket/SocketAddress.h>

#include <netinet/in.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <sstream>

namespace orv::test {

namespace {

/// An address that holds its name where the number stands.
SocketAddress addressOf(IpFamily family, std::size_t number) {
  SocketAddress address;
  if (family == IpFamily::Sixth) {
    sockaddr_in6 sixth{};
    sixth.sin6_family = AF_INET6;
    sixth.sin6_addr.s6_addr[15] = static_cast<unsigned char>(number);
    std::memcpy(&address.storage, &sixth, sizeof sixth);
    address.size = sizeof sixth;
  } else {
    sockaddr_in fourth{};
    fourth.sin_family = AF_INET;
    fourth.sin_addr.s_addr = htonl(static_cast<std::uint32_t>(number));
    std::memcpy(&address.storage, &fourth, sizeof fourth);
    address.size = sizeof fourth;
  }
  return address;
}

std::string nameOfNumber(IpFamily family, std::size_t number) {
  return (family == IpFamily::Sixth ? "s" : "f") + std::to_string(number);
}

std::string nameOf(const SocketAddress& address) {
  if (address.storage.ss_family == AF_INET) {
    sockaddr_in fourth{};
    std::memcpy(&fourth, &address.storage, sizeof fourth);
    return nameOfNumber(IpFamily::Fourth, ntohl(fourth.sin_addr.s_addr));
  }
  sockaddr_in6 sixth{};
  std::memcpy(&sixth, &address.storage, sizeof sixth);
  return nameOfNumber(IpFamily::Sixth, sixth.sin6_addr.s6_addr[15]);
}

Error systemErrorOf(int number) {
  return {websocket_error::kSystemDomain, number, std::strerror(number)};
}

}  // namespace

RacingHost::RacingHost(RacedLookup sixth, RacedLookup fourth, RaceLimits limits)
    : race_(*this, limits), limits_(limits) {
  for (const auto& [family, lookup] :
       {std::pair(IpFamily::Sixth, sixth), std::pair(IpFamily::Fourth, fourth)}) {
    for (std::size_t i = 0; i < lookup.addresses.size(); ++i) {
      addresses_[nameOfNumber(family, i)] = lookup.addresses[i];
    }
    if (!lookup.isMade) continue;
    race_.lookupBegan(family);
    if (lookup.answersAt) at(*lookup.answersAt, [this, family, lookup] { answer(family, lookup); });
  }
}

void RacingHost::prefer(const std::string& name) {
  const IpFamily family = name[0] == 's' ? IpFamily::Sixth : IpFamily::Fourth;
  race_.prefer(family, addressOf(family, std::stoul(name.substr(1))));
}

void RacingHost::answer(IpFamily family, const RacedLookup& lookup) {
  if (lookup.error != 0) {
    return race_.lookupFailed(family, {websocket_error::kNameLookupDomain, lookup.error, "no"});
  }
  std::vector<SocketAddress> addresses;
  for (std::size_t i = 0; i < lookup.addresses.size(); ++i) {
    addresses.push_back(addressOf(family, i));
    addresses.push_back(addressOf(family, i));  // no address is tried twice
  }
  race_.addressesCame(family, addresses);
}

bool RacingHost::step(int count) {
  for (; count > 0; --count) {
    const bool isTimerFirst = timer_ && (happenings_.empty() || *timer_ <= happenings_.begin()->first.first);
    if (isTimerFirst) {
      timerCame();
    } else if (!happenings_.empty()) {
      now_ = happenings_.begin()->first.first;
      const Happening happening = std::move(happenings_.begin()->second);
      happenings_.erase(happenings_.begin());
      happening();
    } else {
      return false;
    }
  }
  return true;
}

void RacingHost::timerCame() {
  const int when = *timer_;
  const bool isEarly = timersComeEarly_ && cameEarly_ != when;
  now_ = isEarly ? when - 1 : when;
  if (isEarly) cameEarly_ = when;
  timer_.reset();
  const std::size_t before = begun();
  race_.timeCame();
  if (isEarly && timer_ != when) complain("a timer that came early is not armed again");
  if (!isEarly && begun() == before) complain("a timer with nothing to do");
}

void RacingHost::runAll() {
  constexpr int kMost = 10'000;
  for (int i = 0; i < kMost; ++i) {
    if (!step()) return;
  }
  complain("it does not come to rest");
}

std::string RacingHost::complaint() const {
  std::string all = complaints_;
  if (endings_ > 1) all += "it ended twice; ";
  if (endings_ > 0 && timer_) all += "a timer is left armed; ";
  if (mostAtOnce_ > limits_.triesAtOnce) all += "too many tries at once; ";
  return all;
}

void RacingHost::tell(const std::string& what) {
  ++calls_;
  story_ += (story_.empty() ? "" : ", ") + std::to_string(now_) + " " + what;
}

void RacingHost::armTimer(SteadyTime when) {
  ++calls_;
  const auto span = std::chrono::ceil<std::chrono::milliseconds>(when.time_since_epoch());
  const int then = static_cast<int>(span.count() - kStart);
  if (timer_ == then) complain("a timer armed twice");
  timer_ = then;
  if (*timer_ <= now_) complain("a timer for a time that is over");
}

void RacingHost::disarmTimer() {
  ++calls_;
  if (!timer_) complain("disarmed a timer that is not armed");
  timer_.reset();
}

std::optional<Error> RacingHost::beginTry(std::size_t number, const SocketAddress& address) {
  const std::string name = nameOf(address);
  tell(name);
  if (number != names_.size()) complain("the numbers are not in order");
  if (std::find(names_.begin(), names_.end(), name) != names_.end()) complain(name + " twice");
  if (hasEnded()) complain("a try after the end");
  names_.push_back(name);
  const RacedAddress& what = addresses_.at(name);
  if (what.failsInside) return systemErrorOf(what.error);
  open_.insert(number);
  mostAtOnce_ = std::max(mostAtOnce_, open_.size());
  if (what.connects) at(now_ + *what.connects, [this, number] { race_.tryConnected(number); });
  if (what.fails) {
    at(now_ + *what.fails, [this, number, error = what.error] {
      open_.erase(number);
      race_.tryFailed(number, systemErrorOf(error));
    });
  }
  return std::nullopt;
}

void RacingHost::dropTry(std::size_t number, const std::optional<Error>& error) {
  ++calls_;
  if (open_.erase(number) == 0) complain("dropped one that is not open");
  if (error) tell("drops " + names_.at(number));
}

void RacingHost::raceWon(std::size_t number) {
  tell("won " + names_.at(number));
  ++endings_;
  if (open_ != std::set<std::size_t>{number}) complain("not only the winner is open");
}

void RacingHost::raceLost(const Error& error) {
  tell("lost " + error.domain + " " + std::to_string(error.code));
  ++endings_;
  if (!open_.empty()) complain("lost while a try is open");
}

RacedLookup readLookup(const std::string& text) {
  RacedLookup lookup;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (word == "none") {
      lookup.isMade = false;
    } else if (word[0] == '@') {
      lookup.answersAt = std::stoi(word.substr(1));
    } else if (word[0] == '?') {
      lookup.error = std::stoi(word.substr(1));
    } else if (word[0] == '!') {
      lookup.addresses.push_back({{}, {}, std::stoi(word.substr(1)), true});
    } else if (word[0] == 'x' || word[0] == 'u') {
      const int error = word[0] == 'x' ? ECONNREFUSED : EHOSTUNREACH;
      lookup.addresses.push_back({{}, std::stoi(word.substr(1)), error});
    } else if (word == "-") {
      lookup.addresses.emplace_back();
    } else if (word != "never") {
      lookup.addresses.push_back({std::stoi(word), {}});
    }
  }
  return lookup;
}

}  // namespace orv::test
