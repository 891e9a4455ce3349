// The link to the server as a state machine: idle, opening, confirming ("PING" sent), up ("PONG" came), retrying.
// Here are the operations that the host and the timers call; what the socket reports is in QXWebSocketMgrEvents.cpp.
// Only the current socket counts: it is replaced under the mutex, and a report of an older one is dropped.

#include "orvnetwork/transport/QXWebSocketMgr.h"

#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/TextBatch.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/RetrySchedule.h>
#include <orvnetwork/transport/SentRequest.h>
#include <orvnetwork/transport/detail/ArrivingFrame.h>
#include <orvnetwork/transport/detail/LinkCounters.h>
#include <orvnetwork/transport/detail/RequestTable.h>
#include <orvnetwork/transport/detail/TraceDesk.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

namespace {

/// What an attempt or a link has ended with that has reported no end and is replaced; absent for one that was good.
std::optional<LinkTrouble> troubleOfReplaced(WebSocketState state, bool wasConfirmed) {
  if (state == WebSocketState::Connecting) return LinkTrouble::NoAnswer;
  if (state != WebSocketState::Open) return LinkTrouble::Lost;
  return wasConfirmed ? std::nullopt : std::optional(LinkTrouble::Unconfirmed);
}

}  // namespace

QXWebSocketMgr& QXWebSocketMgr::standard() {
  static auto* const manager = new QXWebSocketMgr;
  return *manager;
}

QXWebSocketMgr::QXWebSocketMgr()
    : counters_(std::make_unique<LinkCounters>()),
      trace_(std::make_unique<TraceDesk>()),
      requests_(std::make_unique<RequestTable>([this](const auto& requests) { transmit(requests); },
                                               [this](const auto& item) { sendRequestItem(item); },
                                               [this] { parkings_.post({}); }, [this] { tellChange(); },
                                               *counters_)) {}

QXWebSocketMgr::~QXWebSocketMgr() = default;

bool QXWebSocketMgr::isNetworkEnable() const {
  const auto status = networkStatus_.load();
  return status == ReachabilityStatus::Cellular || status == ReachabilityStatus::WiFi;
}

bool QXWebSocketMgr::isOpen() const {
  const std::lock_guard lock(mutex_);
  return connected_ && webSocket_ && webSocket_->readyState() == WebSocketState::Open;
}

bool QXWebSocketMgr::isClosed() const {
  const std::lock_guard lock(mutex_);
  return !webSocket_ || webSocket_->readyState() == WebSocketState::Closed;
}

void QXWebSocketMgr::reconnect() {
  if (isClosedForGood_) return;
  auto& platform = Platform::current();
  TimerPointer connectTimer, keepAlive;
  std::shared_ptr<WebSocket> old;
  WebSocketRequest request;
  std::uint64_t number = 0, closings = 0;
  std::optional<LinkTrouble> unreported;
  SteadyTime now;
  {
    std::unique_lock lock(mutex_);
    isWanted_ = true;
    now = platform.clock().steadyNow();
    if (reconnectedAt_ && now - *reconnectedAt_ < Seconds(kReconnectPause)) {
      lock.unlock();
      return tellChange();
    }
    const bool wasConfirmed = connected_.exchange(false);
    connectTimer = std::move(connectTimer_);
    keepAlive = std::move(timer_);
    reconnectedAt_ = now;
    number = ++attempts_;
    closings = closings_;
    reconnectDate_ = platform.clock().wallNow();
    old = std::move(webSocket_);
    if (old) unreported = troubleOfReplaced(old->readyState(), wasConfirmed);
    request.url = apiServerUrl_;
    request.network = networkSettings_;
  }
  counters_->attemptBegins(now, unreported);
  if (connectTimer) connectTimer->invalidate();
  if (keepAlive) keepAlive->invalidate();
  if (old) {
    old->setDelegate(nullptr);
    old->close();
    if (trace_->isOn()) trace_->event(TraceKind::Closed, number - 1, "another attempt takes its place");
  }
  if (trace_->isOn()) trace_->attempt(number, request.url);
  request.prepare = [readers = requests_->frameReaders()](std::string_view message) {
    return prepareFrame(message, *readers);
  };
  request.sizeOfPrepared = sizeOfPreparedFrame;
  const auto fresh = platform.makeWebSocket(std::move(request));
  fresh->setDelegate(this);
  {
    const std::lock_guard lock(mutex_);
    // Closed by another thread while this one was here, or overtaken by a later attempt: nobody wants it any more.
    if (isClosedForGood_ || closings_ != closings || attempts_ != number) return;
    webSocket_ = fresh;
  }
  consoleLog("WebSocket opening");
  // Before the socket can report anything.
  tellChange();
  fresh->open();
}

void QXWebSocketMgr::close() {
  QXFileLog::standard().log("WebSocket closing");
  firstConnect_ = false;
  endAndClearTimer(timer_);
  std::shared_ptr<WebSocket> old;
  {
    const std::lock_guard lock(mutex_);
    isWanted_ = false;
    ++closings_;
    // In one step with the socket: else a "PONG" on the main thread in between would be a first one again.
    connected_ = false;
    old = std::move(webSocket_);
  }
  if (old) {
    if (trace_->isOn()) trace_->event(TraceKind::Closed, connectionNumber(), "on purpose");
    old->setDelegate(nullptr);
    old->close();
    ConnectReport report = old->connectReport();
    const std::lock_guard lock(mutex_);
    std::swap(lastReport_, report);
  }
  tellChange();
}

void QXWebSocketMgr::closeForGood() {
  {
    const std::lock_guard lock(mutex_);
    isClosedForGood_ = true;
  }
  Platform::current().reachability().stopMonitoring();
  stopAutoReconnect();
  close();
  networkStatus_ = ReachabilityStatus::NotReachable;
  networkIsKnown_ = false;
  {
    const std::lock_guard lock(mutex_);
    lastFailure_.reset();
    reconnectedAt_.reset();
  }
  tellChange();
}

void QXWebSocketMgr::sendPing(const Object&) {
  if (!isOpen()) {
    consoleLog("sendPing failed, websocket is not opening!");
    return;
  }
  if (const auto socket = webSocket()) socket->sendPing({});
}

void QXWebSocketMgr::send(const OptionalString& text) {
  if (!isOpen()) {
    QXFileLog::standard().log("send failed, websocket is not opening!");
    return;
  }
  if (text) writeToSocket(std::make_shared<const std::string>(*text));
}

void QXWebSocketMgr::sendRequestItem(std::shared_ptr<QXRequestItem> item) {
  if (!item) return;
  if (isOpen()) {
    SentRequest::note(item);
    requests_->submit(std::move(item));
    return;
  }
  QXFileLog::standard().log("WebSocket is closed, ignore sendRequestItem:%@", item->command);
  reconnect();
  if (item->timeoutBlock) runGuarded("time-out callback", [&] { item->timeoutBlock(item); });
  // What the callbacks hold is let go on the main thread, for which they were made.
  Platform::current().mainQueue().destroyThere(std::move(item));
  // Whatever the host has sent from inside, where it reads the console or is called back, is not this one.
  SentRequest::note(nullptr);
}

void QXWebSocketMgr::transmit(const std::vector<SubmittedRequest>& requests) {
  const auto socket = webSocket();
  const bool open = socket != nullptr && isOpen();
  std::vector<std::string_view> texts;
  if (open) texts.reserve(requests.size());
  for (const auto& [item, submittedAt] : requests) {
    if (!open) {
      QXFileLog::standard().log("send failed, websocket is not opening!");
      continue;
    }
    if (!item->jsonString) continue;
    texts.push_back(*item->jsonString);
    counters_->requestSent(texts.back().size(), submittedAt);
    if (trace_->isOn()) {
      trace_->message(TraceKind::Sent, connectionNumber(), std::make_shared<const std::string>(texts.back()));
    }
  }
  // It copies what has to wait there: that must not hold the item, and with it what the host's callbacks hold.
  if (open) sendTexts(*socket, texts);
}

void QXWebSocketMgr::autoReconnect() {
  QXFileLog::standard().log("auto reconnect, retry times: %ld", retryTimes_.load());
  ++retryTimes_;
  reconnect();
  // The timer that brought this is spent, also where it was too soon for an attempt.
  tellChange();
}

void QXWebSocketMgr::stopAutoReconnect() {
  retryTimes_ = 0;
  for (auto* slot : {&timer_, &connectTimer_, &firstAutoReconnectTimer_.timer,
                     &secondAutoReconnectTimer_.timer, &loopAutoReconnectTimer_.timer}) {
    endTimer(*slot);
  }
  tellChange();
}

void QXWebSocketMgr::watchNetworkStatus() {
  // What was going on when the link was closed for good may have counted attempts since.
  if (isClosedForGood_.exchange(false)) stopAutoReconnect();
  auto& reachability = Platform::current().reachability();
  reachability.setServer(apiServerUrl());
  reachability.startMonitoring([this](ReachabilityStatus status) { networkStatusChanged(status); });
}

void QXWebSocketMgr::networkStatusChanged(ReachabilityStatus status) {
  const auto number = static_cast<std::int64_t>(status);
  QXFileLog::standard().log("Network status change: %ld", number);
  networkStatus_ = status;
  networkIsKnown_ = true;
  const json::object userInfo{{WNNetworkNotificationKey_Status, number}};
  post(QXNotificationReachabilityStatusChange, &userInfo);
  if (!isNetworkEnable()) {
    QXFileLog::standard().log("Network is broken, close socket");
    if (webSocket()) counters_->failed(LinkTrouble::NoNetwork);
    stopAutoReconnect();
    close();
    post(QXNotificationDidAutoReconnectFailed);
  } else if (isClosed()) {
    autoReconnect();
  }
  tellChange();
}

// A socket that is not open sends nothing.
void QXWebSocketMgr::writeToSocket(std::shared_ptr<const std::string> text) {
  const auto socket = webSocket();
  if (!socket || socket->readyState() != WebSocketState::Open) return;
  counters_->textSent(*text, Platform::current().clock().steadyNow());
  if (trace_->isOn()) trace_->message(TraceKind::Sent, connectionNumber(), text);
  socket->send(std::move(text));
}

bool QXWebSocketMgr::hasOpenSocket() const {
  const auto socket = webSocket();
  return socket && socket->readyState() == WebSocketState::Open;
}

bool QXWebSocketMgr::isCurrent(const WebSocket& socket) const {
  const std::lock_guard lock(mutex_);
  return webSocket_.get() == &socket;
}

void QXWebSocketMgr::dropSocket(const WebSocket& socket) {
  std::shared_ptr<WebSocket> dropped;
  ConnectReport report = socket.connectReport();
  const std::lock_guard lock(mutex_);
  // An observer may have put a new socket in its place already.
  if (webSocket_.get() != &socket) return;
  dropped = std::move(webSocket_);
  std::swap(lastReport_, report);
}

void QXWebSocketMgr::endTimer(TimerPointer& slot) {
  TimerPointer ended;
  {
    const std::lock_guard lock(mutex_);
    ended = slot;
  }
  if (ended) ended->invalidate();
}

void QXWebSocketMgr::endAndClearTimer(TimerPointer& slot) {
  TimerPointer ended;
  {
    const std::lock_guard lock(mutex_);
    ended = std::move(slot);
    slot = nullptr;
  }
  if (ended) ended->invalidate();
}

void QXWebSocketMgr::post(std::string_view name, const json::object* userInfo) const {
  NotificationCenter::defaultCenter().post(name, this, userInfo);
}

}  // namespace orv
