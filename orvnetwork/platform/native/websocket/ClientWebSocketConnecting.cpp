// The way to an open socket: address, host look-up and TCP to the next hop, then the talk with the proxy if that is one,
// then TLS for wss, then the HTTP upgrade. One deadline covers all of it. Each step ends in the next one or in `fail`;
// once the socket has been closed neither has an effect. What each has met is written down for `connectReport`.
// An answer other than 101 fails at once, by its status alone, whatever body follows.

#include "orvnetwork/platform/native/websocket/ClientWebSocket.h"

#include <orvnetwork/platform/ProxyChoice.h>
#include <orvnetwork/platform/detail/Credentials.h>
#include <orvnetwork/platform/native/system/SystemRandom.h>
#include <orvnetwork/platform/native/websocket/HttpDate.h>
#include <orvnetwork/platform/native/websocket/TellingHeaders.h>
#include <orvnetwork/platform/native/websocket/Upgrade.h>
#include <orvnetwork/platform/native/websocket/codec/CloseCodes.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace orv {

namespace {

/// 16 bytes that nobody can foretell.
std::string randomKey() {
  std::array<std::uint32_t, 4> numbers;
  for (std::uint32_t& number : numbers) number = systemRandom();
  return base64({reinterpret_cast<const char*>(numbers.data()), sizeof numbers});
}

}  // namespace

void ClientWebSocket::startConnecting(const ProxyVariables& variables) {
  if (phase_ != Phase::Idle) return;
  phase_ = Phase::Connecting;
  recorder_.start();
  const auto url = parseWebSocketUrl(request_.url.value_or(""));
  if (!url) return fail(websocket_error::kBadUrl, "not a WebSocket address");
  const auto way =
      chooseProxy(request_.network ? request_.network->proxy : ProxySettings(), *request_.url, variables);
  if (!way) return fail(way.error());
  proxy_ = way->proxy;
  if (proxy_) recorder_.goesThrough(shownProxy(*proxy_));
  armDeadline(request_.connectTimeout, &ClientWebSocket::connectTimedOut);
  if (url->secure && !prepareTls()) return;
  connector_.start(proxy_ ? proxy_->host : url->host, proxy_ ? proxy_->port : url->port, shared_from_this(),
                   [this, url = *url](const std::optional<Error>& error) { onConnected(url, error); });
}

void ClientWebSocket::onConnected(const WebSocketUrl& url, const std::optional<Error>& error) {
  if (error) return fail(proxy_ ? errorOfProxy(*proxy_, *error) : *error);
  error_code ignored;
  auto& socket = stream().socket();
  socket.set_option(asio::ip::tcp::no_delay(true), ignored);
  const auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(limits_.unacknowledged);
  const int milliseconds = static_cast<int>(limit.count());
  ::setsockopt(socket.native_handle(), IPPROTO_TCP, TCP_USER_TIMEOUT, &milliseconds, sizeof milliseconds);
  if (proxy_) {
    askProxy(url);
  } else {
    onWayOpen(url);
  }
}

void ClientWebSocket::askProxy(const WebSocketUrl& url) {
  recorder_.begin(ConnectStep::Proxy);
  tunnel_.start(*proxy_, url.host, url.port, shared_from_this(),
                [this, url](const std::optional<Error>& error) {
                  if (error) return fail(*error);
                  recorder_.end(ConnectStep::Proxy);
                  proxy_.reset();
                  onWayOpen(url);
                });
}

/// The bytes of the socket are the server's from here on.
void ClientWebSocket::onWayOpen(const WebSocketUrl& url) {
  if (url.secure) {
    startTls(url);
  } else {
    startHandshake(url);
  }
}

void ClientWebSocket::startHandshake(const WebSocketUrl& url) {
  recorder_.begin(ConnectStep::Upgrade);
  key_ = randomKey();
  stream().gather(upgradeRequest(url, key_));
  stream().flush();
  readMore();
}

void ClientWebSocket::lookAtAnswer() {
  const HandshakeGate::State state = gate_.look(stream().input());
  if (state == HandshakeGate::State::Waiting) return readMore();
  if (gate_.status()) {
    recorder_.answered(*gate_.status(), parseHttpDate(gate_.date()), std::chrono::system_clock::now());
  }
  if (state == HandshakeGate::State::Refused) return refuseAnswer();
  const std::string header(stream().input().substr(0, gate_.headerSize()));
  stream().used(header.size());
  onAgreement(header);
}

void ClientWebSocket::refuseAnswer() {
  if (gate_.isTooLong()) {
    return fail(websocket_error::kBadHandshake,
                "the header of the server's answer to the handshake is too long");
  }
  if (!gate_.status()) {
    return fail(websocket_error::kBadHandshake, "the server's answer to the handshake is not HTTP");
  }
  recorder_.answeredWith(tellingHeaders(stream().input().substr(0, gate_.headerSize())));
  const bool refused = *gate_.status() >= 400;
  fail(refused ? websocket_error::kRefusedByServer : websocket_error::kBadHandshake,
       "the server answered the handshake with HTTP status " + std::to_string(*gate_.status()));
}

void ClientWebSocket::onAgreement(const std::string& header) {
  if (auto flaw = flawOfUpgrade(header, key_)) {
    recorder_.answeredWith(tellingHeaders(header));
    return fail(websocket_error::kBadHandshake, *std::move(flaw));
  }
  // When close() was quicker, its request is in the queue and ends the attempt.
  auto expected = WebSocketState::Connecting;
  if (!state_.compare_exchange_strong(expected, WebSocketState::Open)) return;
  phase_ = Phase::Open;
  recorder_.stop();
  disarmDeadline();
  deliver([](WebSocketDelegate& delegate, WebSocket& socket) { delegate.webSocketDidOpen(socket); });
  takeFrames();
}

void ClientWebSocket::handshakeEnded(const error_code& error) {
  if (isTlsError(error)) return fail(errorOf(error));
  if (writeError_) return reportWriteError();
  if (!stream().sawEnd()) return fail(systemError(error));
  reportClosed(close_codes::kGoingAway, close_codes::kStreamEndReason, false);
  end();
}

void ClientWebSocket::connectTimedOut() {
  recorder_.openTriesFailed({websocket_error::kSystemDomain, ETIMEDOUT, "no answer within the time limit"});
  if (proxy_) return fail(proxyTimedOut(*proxy_));
  fail(websocket_error::kTimedOut, "no connection within the time limit");
}

}  // namespace orv
