#include "orvnetwork/platform/native/websocket/BeastWebSocket.h"

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
  return std::make_shared<BeastWebSocket>(std::move(request), mainQueue, limits);
}

BeastWebSocket::BeastWebSocket(WebSocketRequest request, Executor& mainQueue, NativeWebSocketLimits limits)
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

void BeastWebSocket::open() {
  if (opened_.exchange(true)) return;
  const bool asksEnvironment =
      request_.network != nullptr && request_.network->proxy.source == ProxySource::Environment;
  asio::post(context_, [self = shared_from_this(),
                        variables = asksEnvironment ? readProxyVariables() : ProxyVariables()] {
    self->startConnecting(variables);
  });
}

void BeastWebSocket::close() {
  WebSocketState state = state_;
  while (state == WebSocketState::Connecting || state == WebSocketState::Open) {
    if (state_.compare_exchange_weak(state, WebSocketState::Closing)) return enqueue({});
  }
}

void BeastWebSocket::send(std::shared_ptr<const std::string> text) {
  if (text == nullptr || state_ != WebSocketState::Open) return;
  enqueue({Outgoing::Kind::Text, std::move(text)});
}

void BeastWebSocket::sendPing(std::string payload) {
  if (state_ != WebSocketState::Open) return;
  payload.resize(std::min(payload.size(), kLongestControlPayload));
  enqueue({Outgoing::Kind::Ping, std::make_shared<const std::string>(std::move(payload))});
}

void BeastWebSocket::enqueue(Outgoing item) {
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

void BeastWebSocket::takeOutgoing() {
  queue_.takeAll(outgoing_);
  const bool closing = std::any_of(outgoing_.begin(), outgoing_.end(),
                                   [](const Outgoing& item) { return item.kind == Outgoing::Kind::Close; });
  // From now on the peer must at least take what waits before the close frame.
  if (closing && phase_ == Phase::Open) armDeadline(limits_.closing, &BeastWebSocket::closingLimitReached);
  sendOutgoing();
}

void BeastWebSocket::sendOutgoing() {
  while (!outgoing_.empty() && stream().gatheredBytes() < GatheringStream::kHighWater) {
    const Outgoing item = std::move(outgoing_.front());
    outgoing_.pop_front();
    queue_.finished(item);
    sendOne(item);
  }
  if (phase_ == Phase::Open) stream().flush();
}

void BeastWebSocket::sendOne(const Outgoing& item) {
  if (item.kind == Outgoing::Kind::Close) return startClosing();
  if (phase_ != Phase::Open) return;
  stream().gather(item.kind == Outgoing::Kind::Text ? Opcode::Text : Opcode::Ping, *item.text);
}

void BeastWebSocket::outputDrained() {
  sendOutgoing();
  // The close frame has left: from now on the peer has its time to answer, once.
  if (phase_ == Phase::Open && stream().isSealedAndSent()) {
    armDeadline(limits_.closing, &BeastWebSocket::closingLimitReached);
  }
  readOnAfterOutput();
}

void BeastWebSocket::outputFailed(const error_code& error) {
  if (phase_ == Phase::Parting) return end();
  if (phase_ != Phase::Connecting && phase_ != Phase::Open) return;
  writeError_ = error;
  // Over TLS a server that takes exception to the client says so in what is read next.
  if (phase_ == Phase::Connecting && stream().tlsSession() == nullptr) return reportWriteError();
  armDeadline(kLastWords, &BeastWebSocket::reportWriteError);
  readOnAfterOutput();
}

/// A peer that asks for answers and does not read them cannot make us take memory without bound.
void BeastWebSocket::readOnAfterOutput() {
  if (!waitsForOutput_ || stream().gatheredBytes() > GatheringStream::kHighWater) return;
  waitsForOutput_ = false;
  asio::post(context_, [self = shared_from_this()] { self->takeFrames(); });
}

void BeastWebSocket::reportWriteError() {
  fail(websocket_error::kWriteFailed, "writing failed: " + writeError_->message());
}

// ---- Closing

void BeastWebSocket::startClosing() {
  if (phase_ == Phase::Open) {
    return stream().sealWith(close_codes::kNormal);
  }
  if (phase_ != Phase::Idle && phase_ != Phase::Connecting) return;
  reportClosed(0, std::nullopt, true);
  end();
}

void BeastWebSocket::closingLimitReached() {
  if (stream().sentBytes() != sentWhenArmed_) {
    return armDeadline(limits_.closing, &BeastWebSocket::closingLimitReached);
  }
  takeTerminalEvent();
  end();
}

void BeastWebSocket::fail(Error error) {
  if (takeTerminalEvent()) {
    deliver(
        [error = std::make_unique<Error>(std::move(error))](WebSocketDelegate& delegate, WebSocket& socket) {
          delegate.webSocket_didFailWithError(socket, *error);
        });
  }
  end();
}

void BeastWebSocket::fail(int code, std::string description) {
  fail({websocket_error::kDomain, code, std::move(description)});
}

void BeastWebSocket::reportClosed(int code, OptionalString reason, bool wasClean) {
  if (!takeTerminalEvent()) return;
  deliver([code, reason = std::move(reason), wasClean](WebSocketDelegate& delegate, WebSocket& socket) {
    delegate.webSocket_didCloseWithCode_reason_wasClean(socket, code, reason, wasClean);
  });
}

bool BeastWebSocket::takeTerminalEvent() {
  state_ = WebSocketState::Closed;
  recorder_.stop();
  return !std::exchange(reported_, true);
}

void BeastWebSocket::part() {
  phase_ = Phase::Parting;
  outgoing_.clear();
  armDeadline(limits_.closing, &BeastWebSocket::end);
}

void BeastWebSocket::end() {
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

void BeastWebSocket::armDeadline(Seconds delay, Expiry expiry) {
  sentWhenArmed_ = stream().sentBytes();
  deadline_.expires_after(toTimerSpan(delay));
  deadline_.async_wait(
      [self = shared_from_this(), expiry, number = ++deadlineNumber_](const error_code& cancelled) {
        if (!cancelled && number == self->deadlineNumber_) (self.get()->*expiry)();
      });
}

void BeastWebSocket::disarmDeadline() {
  ++deadlineNumber_;
  deadline_.cancel();
}

}  // namespace orv
