#include "orvnetwork/testing/detail/PlannedRace.h"

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/WebSocketError.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace orv::testing {

namespace {

// As the platform's own sockets do it.
constexpr Seconds kNextTry{0.25};
constexpr std::size_t kTriesAtOnce = 6;

}  // namespace

std::optional<Seconds> PlannedRace::run() {
  Seconds nextAt{0};
  for (;;) {
    const bool anyLeft = attempts_.size() < planned_.size();
    const std::optional<std::size_t> first = firstToEnd();
    if (first && (!anyLeft || attempts_[*first].begun + *planned_[*first].delay <= nextAt)) {
      AddressAttempt& ended = attempts_[*first];
      ended.took = *planned_[*first].delay;
      ended.error = planned_[*first].error;
      std::erase(running_, *first);
      nextAt = ended.begun + ended.took;
      if (ended.error) {
        continue;
      }
      ended.won = true;
      endOpenTries(attempts_, nextAt, std::nullopt);
      return nextAt;
    }
    if (!anyLeft) {
      return std::nullopt;
    }
    begin(nextAt);
    nextAt += kNextTry;
  }
}

void PlannedRace::begin(Seconds now) {
  if (running_.size() == kTriesAtOnce) {
    AddressAttempt& oldest = attempts_[running_.front()];
    oldest.took = now - oldest.begun;
    oldest.error = Error{websocket_error::kSystemDomain, ETIMEDOUT, "Connection timed out"};
    running_.erase(running_.begin());
  }
  running_.push_back(attempts_.size());
  attempts_.push_back({planned_[attempts_.size()].address, now, kOpen});
}

/// Of the tries under way the one whose end comes first, if any of them has one.
std::optional<std::size_t> PlannedRace::firstToEnd() const {
  std::optional<std::size_t> first;
  const auto endOf = [this](std::size_t number) { return attempts_[number].begun + *planned_[number].delay; };
  for (const std::size_t number : running_) {
    if (planned_[number].delay && (!first || endOf(number) < endOf(*first))) {
      first = number;
    }
  }
  return first;
}

std::optional<PlannedRace::Failure> PlannedRace::failure() const {
  std::optional<Failure> failure;
  Seconds end{0};
  for (const AddressAttempt& attempt : attempts_) {
    if (!attempt.error) {
      return std::nullopt;
    }
    end = std::max(end, attempt.begun + attempt.took);
    const auto saysLittle = [](const Error& error) {
      return error.code == ENETUNREACH || error.code == EHOSTUNREACH;
    };
    if (!failure || (saysLittle(failure->error) && !saysLittle(*attempt.error))) {
      failure = Failure{*attempt.error, end};
    }
  }
  if (failure) {
    failure->at = end;
  }
  return failure;
}

void endOpenTries(std::vector<AddressAttempt>& tries, Seconds span, const std::optional<Error>& error) {
  for (AddressAttempt& attempt : tries) {
    if (attempt.took == PlannedRace::kOpen) {
      attempt.took = span - attempt.begun;
      attempt.error = error;
    }
  }
}

std::vector<AddressAttempt> triesUntil(const std::vector<AddressAttempt>& tries, Seconds span) {
  std::vector<AddressAttempt> begun;
  for (const AddressAttempt& attempt : tries) {
    if (attempt.begun > span) {
      break;
    }
    begun.push_back(attempt);
    // What it comes to is not known yet.
    if (attempt.took > span - attempt.begun) {
      begun.back() = {attempt.address, attempt.begun, span - attempt.begun};
    }
  }
  return begun;
}

}  // namespace orv::testing
