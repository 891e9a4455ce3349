#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Reachability.h>
#include <orvnetwork/platform/WebSocket.h>
#include <orvnetwork/transport/LinkFailure.h>

#include <optional>

namespace orv {

/// How the link stands at one moment, as `QXWebSocketMgr::reading()` tells it: a plain value, for those who follow it.
struct LinkReading {
  /// Where the present socket is in its life; absent when there is none.
  std::optional<WebSocketState> socket;
  /// Whether the server has answered "PONG" on this socket.
  bool isConfirmed = false;
  /// Whether a link was asked for since it was last closed on purpose, or by the loss of the network.
  bool isWanted = false;
  /// The last report of the network; absent before the first one.
  std::optional<ReachabilityStatus> network;
  /// How often `reconnect` went ahead since the process began, and when it last did.
  std::uint64_t attempts = 0;
  std::optional<SteadyTime> attemptedAt;
  /// When the next automatic attempt is due; absent where no timer is armed for one.
  std::optional<SteadyTime> retryAt;
  /// How many sockets have failed or were closed by the server, and what the last one ended with. The latter is absent
  /// after the link was up.
  std::uint64_t failures = 0;
  std::optional<LinkFailure> failure;
  /// How many messages the server has sent since the process began. It may be one behind on other threads than main.
  std::uint64_t messages = 0;
  /// When the last one of them came into this process; absent before the first.
  std::optional<SteadyTime> lastMessageAt;
  /// How many requests have had no reply in time since the process began.
  std::uint64_t timeouts = 0;

  /// Whether the link can be used: the socket is open and the server has confirmed it.
  bool isUp() const { return socket == WebSocketState::Open && isConfirmed; }
  /// Whether there is a socket that has not come to its end.
  bool hasLivingSocket() const {
    return socket == WebSocketState::Connecting || socket == WebSocketState::Open;
  }
  /// Whether the network was reported as gone, or as of unknown state.
  bool isOffline() const {
    return network && network != ReachabilityStatus::Cellular && network != ReachabilityStatus::WiFi;
  }
};

}  // namespace orv
