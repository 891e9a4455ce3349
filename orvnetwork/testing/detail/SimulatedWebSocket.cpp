#include "orvnetwork/testing/detail/SimulatedWebSocket.h"

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Url.h>
#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/testing/detail/PlannedRace.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace orv::testing {

namespace {

// Codes as the platform's own sockets tell them.
constexpr const char* kErrorDomain = "OrvWebSocket";
constexpr std::int64_t kBadUrl = -1000;
constexpr std::int64_t kTimedOut = 504;
constexpr std::int64_t kWriteFailed = 2145;

constexpr std::size_t kLongestPing = 125;

bool isWebSocketUrl(const OptionalString& url) {
  const auto parts = parseUrl(url.value_or(""));
  return parts && parts->isForWebSocket();
}

bool isValidCloseCode(int code) {
  return code >= 1000 && code < 5000 && code != 1004 && code != 1005 && code != 1006 &&
         (code < 1012 || code >= 3000);
}

}  // namespace

SimulatedWebSocket::SimulatedWebSocket(SimulatedCarrier& carrier, int id, WebSocketRequest request)
    : carrier_(carrier),
      id_(id),
      request_(std::move(request)),
      scheduler_(carrier.scheduler()),
      lane_(scheduler_->makeLane(LaneKind::Link, "socket " + std::to_string(id))) {}

SimulatedWebSocket::~SimulatedWebSocket() = default;

void SimulatedWebSocket::open() {
  if (std::exchange(openAsked_, true)) {
    return;
  }
  carrier_.keepAlive(shared_from_this());
  lane_->post([self = shared_from_this()] { self->start(); });
}

void SimulatedWebSocket::start() {
  if (ended_) {
    return;
  }
  if (!isWebSocketUrl(request_.url)) {
    failed({kErrorDomain, kBadUrl, "The address is not one of a WebSocket server"});
    return;
  }
  startedAt_ = scheduler_->now();
  link_ = carrier_.connect(shared_from_this());
  connectTimer_ = after(request_.connectTimeout, &SimulatedWebSocket::connectTimedOut);
}

void SimulatedWebSocket::connectTimedOut() {
  if (state_ == WebSocketState::Connecting) {
    decided(Error{websocket_error::kSystemDomain, ETIMEDOUT, "no answer within the time limit"});
    const bool isUsual = link_->silence.domain.empty();
    failed(isUsual ? Error{kErrorDomain, kTimedOut, "Connecting took too long"} : link_->silence);
  }
}

/// The attempt to connect has come to its end. Tries that were still open then have failed so, or were given up.
void SimulatedWebSocket::decided(const std::optional<Error>& openTries) {
  if (link_ && !std::exchange(isDecided_, true)) {
    endOpenTries(link_->report.attempts, scheduler_->now() - *startedAt_, openTries);
  }
}

ConnectReport SimulatedWebSocket::connectReport() const {
  if (!link_) {
    return {};
  }
  if (isDecided_) {
    return link_->report;
  }
  ConnectReport soFar;
  soFar.addresses = link_->report.addresses;
  soFar.attempts = triesUntil(link_->report.attempts, scheduler_->now() - *startedAt_);
  return soFar;
}

void SimulatedWebSocket::accepted() {
  if (ended_ || state_ != WebSocketState::Connecting) {
    return;
  }
  decided(std::nullopt);
  scheduler_->cancel(connectTimer_);
  state_ = WebSocketState::Open;
  tellDelegate([this](WebSocketDelegate& delegate) { delegate.webSocketDidOpen(*this); });
}

void SimulatedWebSocket::close() {
  lane_->post([self = shared_from_this()] { self->startClosing(); });
}

void SimulatedWebSocket::startClosing() {
  if (state_ == WebSocketState::Open) {
    state_ = WebSocketState::Closing;
    pushClose(1000);
    closeTimer_ = after(kCloseTimeout, &SimulatedWebSocket::end);
  } else if (state_ == WebSocketState::Connecting && !openAsked_) {
    openAsked_ = true;
    end();
  } else if (state_ == WebSocketState::Connecting) {
    closed(0, std::nullopt, true);
  }
}

void SimulatedWebSocket::send(std::shared_ptr<const std::string> text) {
  if (text == nullptr || state_ != WebSocketState::Open) {
    return;
  }
  lane_->post([self = shared_from_this(), text = std::move(text)] { self->write(text); });
}

void SimulatedWebSocket::write(std::shared_ptr<const std::string> text) {
  if (state_ != WebSocketState::Open) {
    return;
  }
  if (carrier_.nextOperationFails()) {
    failed({kErrorDomain, kWriteFailed, "Writing failed"});
    return;
  }
  pushToServer([this, self = shared_from_this(), text] { link_->server.textArrived(link_, *text); });
}

void SimulatedWebSocket::sendPing(std::string payload) {
  if (state_ != WebSocketState::Open) {
    return;
  }
  payload.resize(std::min(payload.size(), kLongestPing));
  lane_->post([self = shared_from_this(), payload] {
    if (self->state_ != WebSocketState::Open) {
      return;
    }
    if (self->carrier_.nextOperationFails()) {
      self->failed({kErrorDomain, kWriteFailed, "Writing failed"});
      return;
    }
    self->pushToServer([self, payload] { self->link_->server.pingArrived(self->link_, payload); });
  });
}

void SimulatedWebSocket::failed(Error error) {
  if (ended_) {
    return;
  }
  end();
  tellDelegate(
      [this, error](WebSocketDelegate& delegate) { delegate.webSocket_didFailWithError(*this, error); });
}

void SimulatedWebSocket::closed(int code, OptionalString reason, bool wasClean) {
  if (ended_) {
    return;
  }
  end();
  tellDelegate([this, code, reason, wasClean](WebSocketDelegate& delegate) {
    delegate.webSocket_didCloseWithCode_reason_wasClean(*this, code, reason, wasClean);
  });
}

void SimulatedWebSocket::streamEnded() {
  closed(1001, "Stream end encountered", false);
}

void SimulatedWebSocket::messageArrived(std::string payload, bool isText) {
  if (ended_) {
    return;
  }
  if (carrier_.nextOperationFails()) {
    failed({websocket_error::kSystemDomain, ECONNRESET, "Connection reset by peer"});
    return;
  }
  if (isText && !isUtf8(payload)) {
    refuseFrame(1007);
    return;
  }
  auto message = std::make_shared<WebSocketMessage>(WebSocketMessage{std::move(payload), isText, {}});
  if (isText && request_.prepare) {
    runGuarded("WebSocket prepare", [&] { message->prepared = request_.prepare(message->payload); });
  }
  tellDelegate([this, message](WebSocketDelegate& delegate) {
    delegate.webSocket_didReceiveMessage(*this, std::move(*message));
  });
}

void SimulatedWebSocket::pingArrived(std::string payload) {
  if (state_ == WebSocketState::Open) {
    pushToServer([this, self = shared_from_this(), payload] { link_->server.pongArrived(link_, payload); });
  }
}

void SimulatedWebSocket::pongArrived(std::string payload) {
  if (ended_) {
    return;
  }
  if (carrier_.nextOperationFails()) {
    failed({websocket_error::kSystemDomain, ECONNRESET, "Connection reset by peer"});
    return;
  }
  tellDelegate(
      [this, payload](WebSocketDelegate& delegate) { delegate.webSocket_didReceivePong(*this, payload); });
}

void SimulatedWebSocket::closeArrived(std::optional<int> code, OptionalString reason) {
  if (ended_) {
    return;
  }
  const bool isValid = !code || isValidCloseCode(*code);
  const bool isReadable = isValid && (!reason || isUtf8(*reason));
  if (state_ == WebSocketState::Open) {
    pushClose(isReadable ? 1000 : 1002);
  }
  const bool hasReason = code && isReadable && reason && !reason->empty();
  closed(code.value_or(1005), hasReason ? reason : std::nullopt, true);
}

void SimulatedWebSocket::refuseFrame(int code) {
  if (state_ == WebSocketState::Open) {
    pushClose(code);
  }
  closed(0, std::nullopt, true);
}

void SimulatedWebSocket::pushClose(int code) {
  pushToServer([this, self = shared_from_this(), code] { link_->server.closeArrived(link_, code); });
}

void SimulatedWebSocket::pushToServer(Task arrival) {
  link_->toServer->push(carrier_.timeToServer(), std::move(arrival));
  watchAcknowledgement();
}

void SimulatedWebSocket::setLinkBroken(bool broken) {
  if (!link_ || ended_) {
    return;
  }
  link_->toServer->setBlocked(broken);
  link_->toClient->setBlocked(broken);
  if (broken) {
    watchAcknowledgement();
  } else {
    scheduler_->cancel(std::exchange(acknowledgementTimer_, 0));
  }
}

void SimulatedWebSocket::watchAcknowledgement() {
  const bool isConnected = state_ == WebSocketState::Open || state_ == WebSocketState::Closing;
  if (isConnected && link_->isBroken() && !link_->toServer->isEmpty() && acknowledgementTimer_ == 0) {
    acknowledgementTimer_ = after(kUnacknowledgedTimeout, &SimulatedWebSocket::acknowledgementTimedOut);
  }
}

void SimulatedWebSocket::acknowledgementTimedOut() {
  failed({websocket_error::kSystemDomain, ETIMEDOUT, "Connection timed out"});
}

DelayService::Handle SimulatedWebSocket::after(Seconds delay, void (SimulatedWebSocket::*action)()) {
  const auto when = scheduler_->now() + std::chrono::round<std::chrono::nanoseconds>(delay);
  return scheduler_->runAt(when, *lane_, [self = shared_from_this(), action] { ((*self).*action)(); });
}

void SimulatedWebSocket::end() {
  if (std::exchange(ended_, true)) {
    return;
  }
  const auto keepAlive = shared_from_this();
  decided(std::nullopt);
  state_ = WebSocketState::Closed;
  for (auto* timer : {&connectTimer_, &closeTimer_, &acknowledgementTimer_}) {
    scheduler_->cancel(std::exchange(*timer, 0));
  }
  if (link_) {
    link_->toClient->clear();
    if (link_->isBroken()) {
      link_->toServer->clear();
    } else {
      link_->toServer->push(carrier_.timeToServer(), [this, keepAlive] { link_->server.streamEnded(link_); });
    }
  }
  carrier_.release(id_);
}

void SimulatedWebSocket::tellDelegate(std::function<void(WebSocketDelegate&)> tell) {
  carrier_.mainQueue().post([self = shared_from_this(), tell = std::move(tell)] {
    if (self->delegate_ != nullptr) {
      tell(*self->delegate_);
    }
  });
}

}  // namespace orv::testing
