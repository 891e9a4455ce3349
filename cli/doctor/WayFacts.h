#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/data/Url.h>
#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/platform/ProxyChoice.h>

#include <cstdint>
#include <optional>
#include <string>

namespace orv::cli::doctor {

/// What one attempt to reach the server has met.
struct WayFacts {
  Url url;
  ConnectReport report{};
  bool isOpen = false;
  /// Why it failed; absent where it is open.
  std::optional<Error> error{};
  /// What it was given: for the connection, and for the answer to "PING".
  Seconds limit{5};
  Seconds pongLimit{3};
  /// This machine's clock.
  WallTime now{};

  /// How long the server took to answer "PING"; absent where it did not.
  std::optional<Seconds> pong{};
  /// Whether the link ended while that was waited for.
  bool endedEarly = false;

  /// Which way the settings have chosen; absent where they name no proxy that could be used.
  std::optional<ProxyChoice> choice = ProxyChoice{};
  /// The variable of the environment that names a proxy and is not asked for; "" for none.
  std::string unusedVariable{};
};

/// The steps of the way, in their order.
enum class Step { None, Name, Connect, Proxy, Tls, Upgrade };

/// The step at which an attempt has failed.
Step failedStep(const WayFacts& facts);

/// Whether the server's host is written as an address.
bool isNumericHost(const Url& url);
/// The port of the server, also where its address names none.
std::uint16_t portOf(const Url& url);

}  // namespace orv::cli::doctor
