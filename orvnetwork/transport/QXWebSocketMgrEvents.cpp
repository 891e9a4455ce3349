// What the socket reports, and what follows from it: confirmation, keep-alive, retries, replies, pushes.

#include "orvnetwork/transport/QXWebSocketMgr.h"

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/detail/ArrivingFrame.h>
#include <orvnetwork/transport/detail/LinkCounters.h>
#include <orvnetwork/transport/detail/ReplyFrame.h>
#include <orvnetwork/transport/detail/RequestTable.h>
#include <orvnetwork/transport/detail/TraceDesk.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

namespace {

constexpr Seconds kFirstPingInterval{1.0};
constexpr Seconds kKeepAliveInterval{30.0};

std::shared_ptr<const std::string> pingText() {
  static const auto* const text = new std::shared_ptr<const std::string>(new std::string("PING"));
  return *text;
}

}  // namespace

/// Tells of a change when what brought it has been dealt with, whichever way that ends.
class QXWebSocketMgr::Telling {
 public:
  explicit Telling(QXWebSocketMgr& manager) : manager_(manager) {}
  Telling(const Telling&) = delete;
  Telling& operator=(const Telling&) = delete;
  ~Telling() { manager_.tellChange(); }

 private:
  QXWebSocketMgr& manager_;
};

void QXWebSocketMgr::webSocketDidOpen(WebSocket& socket) {
  if (!isCurrent(socket)) return;
  firstConnect_ = false;
  stopAutoReconnect();
  counters_->opened(Platform::current().clock().steadyNow());
  if (trace_->isOn()) trace_->event(TraceKind::Opened, connectionNumber());
  QXFileLog::standard().log("Websocket Connected");
  Platform::current().mainQueue().post([this] { sendFirstPing(); });
}

void QXWebSocketMgr::sendFirstPing() {
  endTimer(connectTimer_);
  auto timer = Timer::schedule(kFirstPingInterval, false, [this] { writeToSocket(pingText()); });
  {
    const std::lock_guard lock(mutex_);
    connectTimer_ = timer;
  }
  timer->fire();
}

void QXWebSocketMgr::receivedPong(const WebSocket& socket, SteadyTime at) {
  QXFileLog::standard().log("Recieve PONG form server, connect server success");
  bool isFirst = false;
  {
    // In one step: another thread may just have put a new socket in place, which this PONG does not confirm.
    const std::lock_guard lock(mutex_);
    if (webSocket_.get() != &socket) return;
    isFirst = !connected_.exchange(true);
    if (isFirst) lastFailure_.reset();
  }
  counters_->pongCame(at);
  if (isFirst) {
    counters_->up(at, socket.connectReport());
    if (trace_->isOn()) trace_->event(TraceKind::Up, connectionNumber());
  }
  tellChange();
  if (!isFirst) return;
  post(QXNotificationDidOpen);
  Platform::current().mainQueue().post([this] { startKeepAlive(); });
}

void QXWebSocketMgr::startKeepAlive() {
  if (isClosedForGood_) return;
  endAndClearTimer(connectTimer_);
  endTimer(timer_);
  auto timer = Timer::schedule(kKeepAliveInterval, true, [this] { writeToSocket(pingText()); });
  const std::lock_guard lock(mutex_);
  timer_ = std::move(timer);
}

void QXWebSocketMgr::webSocket_didReceiveMessage(WebSocket& socket, WebSocketMessage message) {
  if (!isCurrent(socket)) return;
  const bool isPong = message.isText && message.payload == "PONG";
  const std::size_t size = message.payload.size();
  auto frame = takeFrame(message);
  counters_->received(size, frame->arrivedAt);
  if (tellsMessages_) tellChange();
  if (trace_->isOn()) {
    std::string text = frame->unreadText();
    if (text.empty()) text = std::move(message.payload);
    traceMessage(std::move(text), message.isText);
  }
  if (frame->isFrame()) {
    dispatch(std::move(frame), std::move(message.share));
  } else if (isPong) {
    receivedPong(socket, frame->arrivedAt);
  } else {
    counters_->unreadableCame();
    QXFileLog::standard().log("websocket parse json error! dic->%@", frame->error);
  }
}

void QXWebSocketMgr::dispatch(std::shared_ptr<const ReplyFrame> frame, std::shared_ptr<void> share) {
  struct Push {
    std::string_view command;
    std::string_view notification;
  };
  static constexpr std::array<Push, 4> kPushes{{
      {"Rooms.Push.Message", QXNotificationPushOrvMessage},
      // Known and dropped: the reply to the session request tells of other devices.
      {"User.OtherDevice.Login", {}},
      {"User.OtherDevice.Logout", QXNotificationLogoutByOtherUser},
      {"System.Upload.Log", QXNotificationSystemUploadLog},
  }};

  if (!frame->succeeded()) {
    QXFileLog::standard().log("请求异常 %@ %@", frame->command, frame->dictionary());
  }
  for (const auto& push : kPushes) {
    if (frame->command != push.command) continue;
    counters_->pushCame();
    if (!push.notification.empty()) post(push.notification, &frame->dictionary());
    return;
  }
  requests_->answer(std::move(frame), std::move(share));
}

void QXWebSocketMgr::webSocket_didFailWithError(WebSocket& socket, const Error& error) {
  if (!isCurrent(socket)) return;
  const Telling telling(*this);
  QXFileLog::standard().log(":( Websocket Failed With Error %@", error);
  failed(linkFailureOf(error));
  endTimer(timer_);
  if (firstConnect_) post(QXNotificationDidAutoReconnectFailed);
  firstConnect_ = false;
  dropSocket(socket);
  // An observer that ran the host's loop may have seen the link open again.
  if (hasOpenSocket()) return;
  if (!isNetworkEnable()) {
    QXFileLog::standard().log("Network is broken, ignore auto reconnect operations");
    return;
  }
  scheduleRetry(error);
}

void QXWebSocketMgr::scheduleRetry(const Error& error) {
  switch (retryStepAfter(retryTimes_)) {
    case RetryStep::Immediate:
      autoReconnect();
      break;
    case RetryStep::First: {
      endTimer(firstAutoReconnectTimer_.timer);
      const json::object userInfo{{QXNotificationKey_Msg, error.toJson()}};
      post(QXNotificationDidFailWithError, &userInfo);
      if (hasOpenSocket()) return;
      armRetry(firstAutoReconnectTimer_, kAutoReconnectTimeout_First, [this] { autoReconnect(); });
      break;
    }
    case RetryStep::Second:
      armRetry(secondAutoReconnectTimer_, kAutoReconnectTimeout_Second, [this] { autoReconnect(); });
      break;
    case RetryStep::Loop:
      armRetry(loopAutoReconnectTimer_, kAutoReconnectTimeout_Loop, [this] {
        post(QXNotificationDidAutoReconnectFailed);
        autoReconnect();
      });
      break;
  }
}

void QXWebSocketMgr::armRetry(RetryTimer& slot, double seconds, std::function<void()> action) {
  endTimer(slot.timer);
  if (isClosedForGood_) return;
  const auto due =
      Platform::current().clock().steadyNow() + std::chrono::round<SteadyTime::duration>(Seconds(seconds));
  auto timer = Timer::schedule(Seconds(seconds), false, [this, &slot, act = std::move(action)] {
    {
      const std::lock_guard lock(mutex_);
      slot.due.reset();
    }
    act();
  });
  const std::lock_guard lock(mutex_);
  slot = {std::move(timer), due};
}

void QXWebSocketMgr::webSocket_didCloseWithCode_reason_wasClean(WebSocket& socket, int code,
                                                                const OptionalString& reason, bool wasClean) {
  if (!isCurrent(socket)) return;
  const Telling telling(*this);
  QXFileLog::standard().log("WebSocket closed");
  failed(linkFailureOfClose(code, reason, wasClean));
  connected_ = false;
  firstConnect_ = false;
  endAndClearTimer(timer_);
  dropSocket(socket);
  json::object userInfo{{"code", code}};
  // The list of what is told ends at the first thing that is absent.
  if (reason) {
    userInfo.emplace("reason", *reason);
    userInfo.emplace("wasClean", wasClean);
  }
  post(QXNotificationDidCloseWithCode, &userInfo);
  if (!hasOpenSocket()) autoReconnect();
}

void QXWebSocketMgr::webSocket_didReceivePong(WebSocket& socket, std::string) {
  if (isCurrent(socket)) post(QXNotificationDidReceivePong);
}

}  // namespace orv
