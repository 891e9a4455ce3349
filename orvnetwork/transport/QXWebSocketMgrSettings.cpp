// Plain accessors of the connection manager.

#include "orvnetwork/transport/QXWebSocketMgr.h"

#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/platform/NetworkSettings.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/transport/detail/LinkSettings.h>
#include <orvnetwork/transport/detail/RequestTable.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace orv {

OptionalString QXWebSocketMgr::apiServerUrl() const {
  const std::lock_guard lock(mutex_);
  return apiServerUrl_;
}

void QXWebSocketMgr::setApiServerUrl(OptionalString url) {
  Platform::current().reachability().setServer(url);
  const std::lock_guard lock(mutex_);
  apiServerUrl_ = std::move(url);
}

void QXWebSocketMgr::setNetworkSettings(NetworkSettings settings) {
  auto shared = std::make_shared<const NetworkSettings>(std::move(settings));
  const std::lock_guard lock(mutex_);
  networkSettings_.swap(shared);
}

NetworkSettings QXWebSocketMgr::networkSettings() const {
  const std::lock_guard lock(mutex_);
  return networkSettings_ ? *networkSettings_ : NetworkSettings{};
}

ConnectReport QXWebSocketMgr::connectReport() const {
  std::shared_ptr<WebSocket> socket;
  {
    const std::lock_guard lock(mutex_);
    if (!webSocket_) return lastReport_;
    socket = webSocket_;
  }
  return socket->connectReport();
}

OptionalString QXWebSocketMgr::globalUUID() const {
  return LinkSettings::standard().globalUUID;
}

void QXWebSocketMgr::setGlobalUUID(OptionalString uuid) {
  LinkSettings::standard().globalUUID = std::move(uuid);
}

OptionalString QXWebSocketMgr::appVersion() const {
  return LinkSettings::standard().appVersion;
}

void QXWebSocketMgr::setAppVersion(OptionalString version) {
  LinkSettings::standard().appVersion = std::move(version);
}

OptionalString QXWebSocketMgr::appBuildVersion() const {
  return LinkSettings::standard().appBuildVersion;
}

void QXWebSocketMgr::setAppBuildVersion(OptionalString build) {
  LinkSettings::standard().appBuildVersion = std::move(build);
}

std::optional<WallTime> QXWebSocketMgr::reconnectDate() const {
  const std::lock_guard lock(mutex_);
  return reconnectDate_;
}

std::optional<LinkFailure> QXWebSocketMgr::linkFailure() const {
  const std::lock_guard lock(mutex_);
  const auto state = webSocket_ ? webSocket_->readyState() : WebSocketState::Closed;
  if (state == WebSocketState::Open && connected_) return std::nullopt;
  if (networkIsKnown_ && !isNetworkEnable()) {
    return LinkFailure{LinkTrouble::NoNetwork, "there is no network", {}};
  }
  if (state == WebSocketState::Open) {
    return LinkFailure{LinkTrouble::Unconfirmed, "the server does not confirm the link", {}};
  }
  if (lastFailure_ || state != WebSocketState::Connecting) return lastFailure_;
  return LinkFailure{LinkTrouble::NoAnswer, "the server does not answer", {}};
}

LinkReading QXWebSocketMgr::reading() const {
  LinkReading reading;
  const std::lock_guard lock(mutex_);
  if (webSocket_) reading.socket = webSocket_->readyState();
  reading.isConfirmed = webSocket_ && connected_;
  reading.isWanted = isWanted_;
  if (networkIsKnown_) reading.network = networkStatus_.load();
  reading.attempts = attempts_;
  reading.attemptedAt = reconnectedAt_;
  for (const auto* retry :
       {&firstAutoReconnectTimer_, &secondAutoReconnectTimer_, &loopAutoReconnectTimer_}) {
    if (!retry->due || !retry->timer->isValid()) continue;
    if (!reading.retryAt || *retry->due < *reading.retryAt) reading.retryAt = retry->due;
  }
  reading.failures = failures_;
  reading.failure = lastFailure_;
  reading.messages = counters_->messages();
  reading.lastMessageAt = counters_->lastReceived();
  reading.timeouts = counters_->timeouts();
  return reading;
}

void QXWebSocketMgr::watch(std::function<void()> changed) {
  const std::lock_guard lock(mutex_);
  isWatched_ = static_cast<bool>(changed);
  watcher_.swap(changed);
}

void QXWebSocketMgr::tellChange() {
  if (!isWatched_) return;
  auto& main = Platform::current().mainQueue();
  if (!main.isCurrent()) {
    // Once is enough for all that changes until it comes to that.
    if (willTell_.exchange(true)) return;
    return main.post([this] {
      willTell_ = false;
      tellChange();
    });
  }
  std::function<void()> watcher;
  {
    const std::lock_guard lock(mutex_);
    watcher = watcher_;
  }
  if (watcher) runGuarded("link watcher", watcher);
}

std::shared_ptr<Timer> QXWebSocketMgr::timer() const {
  const std::lock_guard lock(mutex_);
  return timer_;
}

std::shared_ptr<Timer> QXWebSocketMgr::connectTimer() const {
  const std::lock_guard lock(mutex_);
  return connectTimer_;
}

std::shared_ptr<WebSocket> QXWebSocketMgr::webSocket() const {
  const std::lock_guard lock(mutex_);
  return webSocket_;
}

std::size_t QXWebSocketMgr::outstandingRequestCount() const {
  return requests_->outstandingCount();
}

std::size_t QXWebSocketMgr::parkedRequestCount() const {
  return requests_->parkedCount();
}

std::size_t QXWebSocketMgr::armedTimeoutCount() const {
  return requests_->armedCount();
}

ObserverToken QXWebSocketMgr::watchParkedRequests(std::function<void()> parked) {
  return parkings_.observe(std::nullopt, [parked = std::move(parked)](const Notification&) { parked(); });
}

}  // namespace orv
