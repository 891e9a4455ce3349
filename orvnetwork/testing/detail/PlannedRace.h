#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/testing/PlannedAddress.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace orv::testing {

/// How a race among planned addresses comes out, by the rules of the real ones.
class PlannedRace {
 public:
  struct Failure {
    Error error;
    Seconds at{0};
  };

  explicit PlannedRace(const std::vector<PlannedAddress>& inOrder) : planned_(inOrder) {}

  /// Runs it; when it was won, or absent.
  std::optional<Seconds> run();
  /// The tries, in the order in which they began. One without an end has taken `kOpen`.
  const std::vector<AddressAttempt>& attempts() const { return attempts_; }
  /// What it has failed with, when all have; absent when there is one that nobody has answered.
  std::optional<Failure> failure() const;

  static constexpr Seconds kOpen = Seconds::max();

 private:
  void begin(Seconds now);
  std::optional<std::size_t> firstToEnd() const;

  const std::vector<PlannedAddress>& planned_;
  std::vector<AddressAttempt> attempts_;
  std::vector<std::size_t> running_;
};

/// Ends the tries that are open after this span, with or without an error.
void endOpenTries(std::vector<AddressAttempt>& tries, Seconds span, const std::optional<Error>& error);
/// The tries that have begun within this span, as far as they have come.
std::vector<AddressAttempt> triesUntil(const std::vector<AddressAttempt>& tries, Seconds span);

}  // namespace orv::testing
