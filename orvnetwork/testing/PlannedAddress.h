#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <optional>
#include <string>

namespace orv::testing {

/// What becomes of one address of a server that has several; see `ConnectPlan::addresses`.
struct ORV_EXPORT PlannedAddress {
  /// Numeric: "192.0.2.7" or "2001:db8::7".
  std::string address;
  /// How long it takes to connect, or to fail; absent when nobody answers.
  std::optional<Seconds> delay{Seconds::zero()};
  /// What connecting fails with; absent when it does not.
  std::optional<Error> error{};

  static PlannedAddress answers(std::string address, Seconds delay = Seconds::zero());
  /// Nobody listens: "POSIX", ECONNREFUSED.
  static PlannedAddress refuses(std::string address, Seconds delay = Seconds::zero());
  /// There is no way to it: "POSIX", ENETUNREACH, at once.
  static PlannedAddress unreachable(std::string address);
  /// What is sent there is lost.
  static PlannedAddress silent(std::string address);
};

}  // namespace orv::testing
