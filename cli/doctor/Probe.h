#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/NetworkSettings.h>
#include <orvnetwork/platform/WebSocket.h>

#include "cli/Host.h"
#include "cli/doctor/PlaceVerdicts.h"
#include "cli/doctor/WayFacts.h"

#include <memory>
#include <optional>
#include <string>

namespace orv::cli::doctor {

/// One attempt to reach the server: the way there, "PING", and the session of a user. It stands beside the link of the
/// library, keeps nothing, and is over when it has been told. Main thread.
class Probe : private WebSocketDelegate {
 public:
  /// @param network how to get there
  /// @param limit how long to wait at each step at most
  Probe(Host& host, Url url, std::string address, NetworkSettings network, Seconds limit);
  ~Probe() override;
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;

  /// Connects, and waits for the answer to "PING". Within the limits of the facts.
  void reach();
  /// Whether requests can be sent.
  bool isAnswered() const { return facts_.pong.has_value() && !over_; }
  /// Takes the session of a user up, as every start of the application does, and waits for what the server says.
  void takeUpSession(SignInFacts& session, const std::string& token);

  WayFacts& facts() { return facts_; }

 private:
  void webSocketDidOpen(WebSocket& socket) override;
  void webSocket_didFailWithError(WebSocket& socket, const Error& error) override;
  void webSocket_didReceiveMessage(WebSocket& socket, WebSocketMessage message) override;
  void webSocket_didCloseWithCode_reason_wasClean(WebSocket& socket, int code, const OptionalString& reason,
                                                  bool wasClean) override;
  void webSocket_didReceivePong(WebSocket&, std::string) override {}
  void takeFrame(const json::object& frame);

  Host& host_;
  const std::string address_;
  const std::shared_ptr<const NetworkSettings> network_;
  WayFacts facts_;
  std::shared_ptr<WebSocket> socket_;
  SteadyTime pinged_{};
  bool over_ = false;
  const Seconds sessionLimit_;
  SignInFacts* session_ = nullptr;
};

}  // namespace orv::cli::doctor
