#include "orvnetwork/platform/native/websocket/ClientWebSocket.h"

#include <orvnetwork/platform/native/websocket/IoThread.h>
#include <orvnetwork/platform/native/websocket/codec/CloseCodes.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <string>

namespace orv {

namespace {

/// A time span that a timer can hold.
std::chrono::steady_clock::duration toTimerSpan(Seconds span) {
  constexpr double kLongest = 1e9;
  const double seconds = std::isnan(span.count()) ? 0 : std::clamp(span.count(), 0.0, kLongest);
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(Seconds(seconds));
}

}  // namespace

std::shared_ptr<WebSocket> makeNativeWebSocket(WebSocketRequest request, Executor& mainQueue,
                                               NativeWebSocketLimits limits) {
  return std::make_shared<ClientWebSocket>(std::move(request), mainQueue, limits);
}

ClientWebSocket::ClientWebSocket(WebSocketRequest request, Executor& mainQueue, NativeWebSocketLimits limits)
    : mainQueue_(mainQueue),
      mainBatches_(dynamic_cast<BatchExecutor*>(&mainQueue)),
      limits_(limits),
      queue_(limits.outgoingBytes),
      context_(ioContext()),
      request_(std::move(request)),
      stream_(context_, *this),
      reader_(limits.incomingBytes),
      connector_(stream().socket(), recorder_),
      tunnel_(stream().socket()),
      deadline_(context_) {}

// ---- Any thread

void ClientWebSocket::open() {
  if (opened_.exchange(true)) return;
  const bool asksEnvironment =
      request_.network != nullptr && request_.network->proxy.source == ProxySource::Environment;
  asio::post(context_, [self = shared_from_this(),
                        variables = asksEnvironment ? readProxyVariables() : ProxyVariables()] {
    self->startConnecting(variables);
  });
}

void ClientWebSocket::close() {
  WebSocketState state = state_;
  while (state == WebSocketState::Connecting || state == WebSocketState::Open) {
    if (state_.compare_exchange_weak(state, WebSocketState::Closing)) return enqueue({});
  }
}

// ---- Closing

void ClientWebSocket::startClosing() {
  if (phase_ == Phase::Open) {
    return stream().sealWith(close_codes::kNormal);
  }
  if (phase_ != Phase::Idle && phase_ != Phase::Connecting) return;
  reportClosed(0, std::nullopt, true);
  end();
}

void ClientWebSocket::closingLimitReached() {
  if (stream().sentBytes() != sentWhenArmed_) {
    return armDeadline(limits_.closing, &ClientWebSocket::closingLimitReached);
  }
  takeTerminalEvent();
  end();
}

void ClientWebSocket::fail(Error error) {
  if (takeTerminalEvent()) {
    deliver(
        [error = std::make_unique<Error>(std::move(error))](WebSocketDelegate& delegate, WebSocket& socket) {
          delegate.webSocket_didFailWithError(socket, *error);
        });
  }
  end();
}

void ClientWebSocket::fail(int code, std::string description) {
  fail({websocket_error::kDomain, code, std::move(description)});
}

void ClientWebSocket::reportClosed(int code, OptionalString reason, bool wasClean) {
  if (!takeTerminalEvent()) return;
  deliver([code, reason = std::move(reason), wasClean](WebSocketDelegate& delegate, WebSocket& socket) {
    delegate.webSocket_didCloseWithCode_reason_wasClean(socket, code, reason, wasClean);
  });
}

bool ClientWebSocket::takeTerminalEvent() {
  state_ = WebSocketState::Closed;
  recorder_.stop();
  return !std::exchange(reported_, true);
}

void ClientWebSocket::part() {
  phase_ = Phase::Parting;
  outgoing_.clear();
  armDeadline(limits_.closing, &ClientWebSocket::end);
}

void ClientWebSocket::end() {
  if (std::exchange(phase_, Phase::Ended) == Phase::Ended) return;
  state_ = WebSocketState::Closed;
  disarmDeadline();
  connector_.cancel();
  proxy_.reset();
  outgoing_.clear();
  // Whoever asked for the socket gave them to this thread; the socket itself may live on elsewhere.
  request_.prepare = nullptr;
  request_.sizeOfPrepared = nullptr;
  // Else the caller that is writing passes the right on, and `rightCame` closes the socket: its number is not free before.
  if (ownsOutputOrAsks()) stream().cancel();
}

void ClientWebSocket::armDeadline(Seconds delay, Expiry expiry) {
  sentWhenArmed_ = stream().sentBytes();
  deadline_.expires_after(toTimerSpan(delay));
  deadline_.async_wait(
      [self = shared_from_this(), expiry, number = ++deadlineNumber_](const error_code& cancelled) {
        if (!cancelled && number == self->deadlineNumber_) (self.get()->*expiry)();
      });
}

void ClientWebSocket::disarmDeadline() {
  ++deadlineNumber_;
  deadline_.cancel();
}

}  // namespace orv
