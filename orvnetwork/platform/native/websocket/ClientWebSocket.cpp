#include "orvnetwork/platform/native/websocket/ClientWebSocket.h"

#include <orvnetwork/platform/native/websocket/IoThread.h>
#include <orvnetwork/platform/native/websocket/codec/CloseCodes.h>
#include <orvnetwork/platform/native/websocket/codec/Opcode.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

namespace {

/// After a failed write, how long what the peer still sent may take to arrive: its close frame says more than
/// our error does.
constexpr Seconds kLastWords{1.0};

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

void ClientWebSocket::send(std::shared_ptr<const std::string> text) {
  if (text == nullptr || state_ != WebSocketState::Open) return;
  enqueue({Outgoing::Kind::Text, std::move(text)});
}

void ClientWebSocket::sendPing(std::string payload) {
  if (state_ != WebSocketState::Open) return;
  payload.resize(std::min(payload.size(), kLongestControlPayload));
  enqueue({Outgoing::Kind::Ping, std::make_shared<const std::string>(std::move(payload))});
}

void ClientWebSocket::enqueue(Outgoing item) {
  switch (queue_.push(std::move(item))) {
    case OutgoingQueue::Pushed::Queued:
      return;
    case OutgoingQueue::Pushed::WakeUp:
      return asio::post(context_, [self = shared_from_this()] { self->takeOutgoing(); });
    case OutgoingQueue::Pushed::Overflow:
      if (overflowed_.exchange(true)) return;
      return asio::post(context_, [self = shared_from_this()] {
        self->fail(websocket_error::kWriteFailed, "more messages wait to be sent than there is room for");
      });
  }
}

// ---- Sending

void ClientWebSocket::takeOutgoing() {
  queue_.takeAll(outgoing_);
  const bool closing = std::any_of(outgoing_.begin(), outgoing_.end(),
                                   [](const Outgoing& item) { return item.kind == Outgoing::Kind::Close; });
  // From now on the peer must at least take what waits before the close frame.
  if (closing && phase_ == Phase::Open) armDeadline(limits_.closing, &ClientWebSocket::closingLimitReached);
  sendOutgoing();
}

void ClientWebSocket::sendOutgoing() {
  while (!outgoing_.empty() && stream().gatheredBytes() < GatheringStream::kHighWater) {
    const Outgoing item = std::move(outgoing_.front());
    outgoing_.pop_front();
    queue_.finished(item);
    sendOne(item);
  }
  if (phase_ == Phase::Open) stream().flush();
}

void ClientWebSocket::sendOne(const Outgoing& item) {
  if (item.kind == Outgoing::Kind::Close) return startClosing();
  if (phase_ != Phase::Open) return;
  stream().gather(item.kind == Outgoing::Kind::Text ? Opcode::Text : Opcode::Ping, *item.text);
}

void ClientWebSocket::outputDrained() {
  sendOutgoing();
  // The close frame has left: from now on the peer has its time to answer, once.
  if (phase_ == Phase::Open && stream().isSealedAndSent()) {
    armDeadline(limits_.closing, &ClientWebSocket::closingLimitReached);
  }
  readOnAfterOutput();
}

void ClientWebSocket::outputFailed(const error_code& error) {
  if (phase_ == Phase::Parting) return end();
  if (phase_ != Phase::Connecting && phase_ != Phase::Open) return;
  writeError_ = error;
  // Over TLS a server that takes exception to the client says so in what is read next.
  if (phase_ == Phase::Connecting && stream().tlsSession() == nullptr) return reportWriteError();
  armDeadline(kLastWords, &ClientWebSocket::reportWriteError);
  readOnAfterOutput();
}

/// A peer that asks for answers and does not read them cannot make us take memory without bound.
void ClientWebSocket::readOnAfterOutput() {
  if (!waitsForOutput_ || stream().gatheredBytes() > GatheringStream::kHighWater) return;
  waitsForOutput_ = false;
  asio::post(context_, [self = shared_from_this()] { self->takeFrames(); });
}

void ClientWebSocket::reportWriteError() {
  fail(websocket_error::kWriteFailed, "writing failed: " + writeError_->message());
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
  tunnel_.cancel();
  proxy_.reset();
  outgoing_.clear();
  // Whoever asked for the socket gave them to this thread; the socket itself may live on elsewhere.
  request_.prepare = nullptr;
  request_.sizeOfPrepared = nullptr;
  stream().cancel();
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
