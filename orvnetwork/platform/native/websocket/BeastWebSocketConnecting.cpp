// The way to an open socket: address, host look-up and TCP to the next hop, then the talk with the proxy if that is one,
// then TLS for wss, then the HTTP upgrade. One deadline covers all of it. Each step ends in the next one or in `fail`, and
// none goes on once the socket has been closed. What each has met is written down for `connectReport`.
// An answer other than 101 fails at once, by its status alone, whatever body follows.

#include "orvnetwork/platform/native/websocket/BeastWebSocket.h"

#include <orvnetwork/platform/ProxyChoice.h>
#include <orvnetwork/platform/native/websocket/HandshakeGate.h>
#include <orvnetwork/platform/native/websocket/HttpDate.h>
#include <orvnetwork/platform/native/websocket/codec/CloseCodes.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <string>

namespace orv {

namespace {

namespace websocket = boost::beast::websocket;
namespace http = boost::beast::http;

}  // namespace

void BeastWebSocket::startConnecting(const ProxyVariables& variables) {
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
  armDeadline(request_.connectTimeout, &BeastWebSocket::connectTimedOut);
  if (url->secure && !prepareTls()) return;
  connector_.start(proxy_ ? proxy_->host : url->host, proxy_ ? proxy_->port : url->port, shared_from_this(),
                   [this, url = *url](const std::optional<Error>& error) { onConnected(url, error); });
}

void BeastWebSocket::onConnected(const WebSocketUrl& url, const std::optional<Error>& error) {
  if (phase_ != Phase::Connecting) return;
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

void BeastWebSocket::askProxy(const WebSocketUrl& url) {
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
void BeastWebSocket::onWayOpen(const WebSocketUrl& url) {
  if (url.secure) {
    startTls(url);
  } else {
    startHandshake(url);
  }
}

void BeastWebSocket::startHandshake(const WebSocketUrl& url) {
  recorder_.begin(ConnectStep::Upgrade);
  protocol_.set_option(websocket::stream_base::decorator([url](websocket::request_type& request) {
    request.set(http::field::origin, url.origin);
    if (url.authorization) request.set(http::field::authorization, *url.authorization);
  }));
  protocol_.async_handshake(
      response_, url.hostHeader, url.target,
      [self = shared_from_this()](const error_code& error) { self->onHandshake(error); });
}

void BeastWebSocket::onHandshake(const error_code& error) {
  if (phase_ != Phase::Connecting) return;
  recorder_.end(ConnectStep::Upgrade);
  if (const HandshakeGate& gate = stream().gate(); gate.status()) {
    recorder_.answered(*gate.status(), parseHttpDate(gate.date()), std::chrono::system_clock::now());
  }
  if (error) return handshakeFailed(error);
  if (response_.count(http::field::sec_websocket_protocol) > 0) {
    return fail(websocket_error::kBadHandshake, "the server chose a sub-protocol that was not asked for");
  }
  if (response_.count(http::field::sec_websocket_extensions) > 0) {
    return fail(websocket_error::kBadHandshake, "the server chose an extension that was not offered");
  }
  // When close() was quicker, its request is in the queue and ends the attempt.
  auto expected = WebSocketState::Connecting;
  if (!state_.compare_exchange_strong(expected, WebSocketState::Open)) return;
  phase_ = Phase::Open;
  recorder_.stop();
  disarmDeadline();
  deliver([](WebSocketDelegate& delegate, WebSocket& socket) { delegate.webSocketDidOpen(socket); });
  protocol_.text(true);
  protocol_.control_callback([this](websocket::frame_type kind, boost::beast::string_view payload) {
    onControlFrame(kind, {payload.data(), payload.size()});
  });
  readNext();
}

void BeastWebSocket::handshakeFailed(const error_code& error) {
  const HandshakeGate& gate = stream().gate();
  if (gate.state() == HandshakeGate::State::Refused) {
    if (gate.isTooLong()) {
      return fail(websocket_error::kBadHandshake,
                  "the header of the server's answer to the handshake is too long");
    }
    if (!gate.status()) {
      return fail(websocket_error::kBadHandshake, "the server's answer to the handshake is not HTTP");
    }
    const bool refused = *gate.status() >= 400;
    return fail(refused ? websocket_error::kRefusedByServer : websocket_error::kBadHandshake,
                "the server answered the handshake with HTTP status " + std::to_string(*gate.status()));
  }
  if (isTlsError(error)) return fail(errorOf(error));
  if (writeError_) return reportWriteError();
  if (stream().sawEnd()) {
    reportClosed(close_codes::kGoingAway, close_codes::kStreamEndReason, false);
    return end();
  }
  if (error.category() == boost::system::system_category()) return fail(systemError(error));
  fail(websocket_error::kBadHandshake, "bad answer to the handshake: " + error.message());
}

void BeastWebSocket::connectTimedOut() {
  recorder_.openTriesFailed({websocket_error::kSystemDomain, ETIMEDOUT, "no answer within the time limit"});
  if (proxy_) return fail(proxyTimedOut(*proxy_));
  fail(websocket_error::kTimedOut, "no connection within the time limit");
}

}  // namespace orv
