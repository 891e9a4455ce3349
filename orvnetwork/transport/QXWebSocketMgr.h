#pragma once

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Reachability.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/platform/WebSocket.h>
#include <orvnetwork/transport/FrameTrace.h>
#include <orvnetwork/transport/LinkFailure.h>
#include <orvnetwork/transport/LinkReading.h>
#include <orvnetwork/transport/LinkStatistics.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/RetrySchedule.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class LinkCounters;
class RequestTable;
class TraceDesk;
struct ReplyFrame;
struct SubmittedRequest;

/// The one WebSocket link to the server.
///
/// It opens the link, confirms it by "PING" and "PONG", keeps it alive, comes back on a schedule after a
/// failure (at once, after 5 s, after 15 s, then every 30 s), follows the network's state, sends requests and
/// matches replies with them, holds requests that need a session until there is one, and posts the server's
/// pushes as notifications.
///
/// The host sets `apiServerUrl`, `globalUUID`, `appVersion` and `appBuildVersion` and calls
/// `watchNetworkStatus()`; the first report of a reachable network opens the link.
///
/// Every operation may be called on any thread and returns at once. Callbacks of requests and all
/// notifications come on the main thread; only a request that finds the link closed calls its time-out
/// callback at once on the caller's thread. The link's states:
///
/// | state | means | left by |
/// |---|---|---|
/// | idle | no socket | `reconnect` → opening |
/// | opening | socket connecting | open → confirming; failure or close → retrying |
/// | confirming | socket open, "PING" sent | "PONG" → up; failure or close → retrying |
/// | up | `isOpen()` | failure or close → retrying; `close` or loss of the network → idle |
/// | retrying | no socket, a retry timer runs | timer → opening; loss of the network → idle |
///
/// What a host that relies on the link by itself has to know:
/// - An attempt that fails within 1.5 s of its start is followed by none: the immediate retry is counted, comes too soon
///   for `reconnect`, and arms no timer. A report of a reachable network, a request, or a refresh of the session goes on.
/// - No notification tells that a link was lost by a failure, such as a reset, unless it is the first one of the process
///   or a retry fails. `isOpen()` tells.
/// - A server that opens the link and never answers "PONG" leaves it confirming: one attempt, one "PING", no retry.
/// - A close by the server goes unreported when a request at that very moment finds the link closed: its `reconnect`
///   replaces the socket, and what an older socket reports is dropped.
class ORV_EXPORT QXWebSocketMgr final : private WebSocketDelegate {
 public:
  /// The one instance, made on first use and never destroyed.
  static QXWebSocketMgr& standard();

  QXWebSocketMgr(const QXWebSocketMgr&) = delete;
  QXWebSocketMgr& operator=(const QXWebSocketMgr&) = delete;

  /// @name Set by the host before the link is first opened
  /// @{
  /// Address of the server's endpoint, a ws or wss URL. There is no default. A new address counts from the next
  /// `reconnect` on; after `watchNetworkStatus()` it brings no new report of the network, nor closes the present link.
  OptionalString apiServerUrl() const;
  void setApiServerUrl(OptionalString url);
  /// Identifier of this installation: "g" of every frame.
  OptionalString globalUUID() const;
  void setGlobalUUID(OptionalString uuid);
  /// Version and build of the application, joined by a point in "b" of every frame.
  OptionalString appVersion() const;
  void setAppVersion(OptionalString version);
  OptionalString appBuildVersion() const;
  void setAppBuildVersion(OptionalString build);
  /// @}

  /// Starts to follow the network's state, seen from `apiServerUrl`. Each report, on the main thread, is logged and
  /// posted as `QXNotificationReachabilityStatusChange`; a network that is gone closes the link, one that is there opens
  /// it when it is closed.
  void watchNetworkStatus();

  /// The last reported state of the network; `NotReachable` before the first report.
  ReachabilityStatus networkStatus() const { return networkStatus_; }
  /// Whether the network was last reported as reachable.
  bool isNetworkEnable() const;
  /// Whether the network was last reported as Wi-Fi (or anything else that is not cellular).
  bool isWifiNetwork() const { return networkStatus_ == ReachabilityStatus::WiFi; }

  /// Whether the link is up: the socket is open and the server has confirmed it.
  bool isOpen() const;
  /// Whether there is no socket, or a closed one.
  bool isClosed() const;
  /// Whether the server has answered "PONG" on this socket.
  bool connected() const { return connected_; }

  /// Why the link is not up: the network is gone, the server has not answered "PING" on the open socket, or what the
  /// last attempt or the last link ended with; where that is the first one, that there is no answer yet. Absent while
  /// the link is up, and as long as nothing is known. What went wrong before the link was last up is forgotten. Any
  /// thread; on the main thread it is as new as the notifications.
  std::optional<LinkFailure> linkFailure() const;

  /// All of the above at this moment, and what is planned. Any thread; exact on the main thread.
  LinkReading reading() const;
  /// Calls `changed` on the main thread after each change of what `reading()` tells, and with each "PONG"; a message by
  /// itself is no change. A change on the main thread is told before the operation or the event that brought it is over, one
  /// on another thread later. It must not call the link back. One watcher; an empty function ends it. Main thread.
  void watch(std::function<void()> changed);
  /// Whether each message is such a change, for a watcher that waits for a sign of life. At first it is not. Main thread.
  void watchMessages(bool each) { tellsMessages_ = each; }

  /// How the next attempts get to the server; the link that is up stays as it is. Any thread.
  void setNetworkSettings(NetworkSettings settings);
  NetworkSettings networkSettings() const;
  /// What the last attempt has met on its way. Any thread.
  ConnectReport connectReport() const;

  /// What has passed on the link: see `LinkStatistics`. Any thread.
  LinkStatistics statistics() const;

  /// Gives each message of either direction, and what happens to the link, to `sink`, secrets hidden; see `TraceEntry`. One
  /// sink: a further one takes its place, and an empty one ends the trace.
  ///
  ///     link.setFrameTrace([](const orv::TraceEntry& entry) { std::clog << orv::lineOf(entry) << '\n'; });
  ///
  /// The sink is called on a thread that is the trace's own, or on one that calls `flushFrameTrace` meanwhile; one call at a
  /// time, in the order in which things happened, and under no lock: it may take its time, set another sink, end the trace,
  /// and throw, which is logged on the console. What waits for it is bounded, to 4,096 entries and 8 MiB of text: the oldest
  /// go, and an entry says how many. A message of more than 1 MiB is told by its size.
  ///
  /// When this has returned the former sink is called no more, and what has waited for it is gone: a call that is under way
  /// on another thread is waited for. So it is not to be called while the sink may wait for this thread, or for a lock that
  /// this thread holds. Inside the sink it waits for nothing. The former sink is destroyed on the calling thread, before this
  /// returns; where this is called inside the sink, on the same thread, when that call has returned.
  ///
  /// Without a sink a message costs one look at a flag. Any thread.
  void setFrameTrace(TraceSink sink, TraceMode mode = TraceMode::SecretsHidden);
  /// Returns when the sink has got all entries from before the call: for the end of a program. What still waits is given to
  /// the sink on the calling thread. Not while the sink may wait for this thread, or for a lock that this thread holds; inside
  /// the sink it does nothing. Any thread.
  void flushFrameTrace();

  /// Replaces the socket by a new one and opens it. Does nothing within 1.5 s of the last time that it did.
  void reconnect();
  /// When `reconnect` last went ahead; absent before.
  std::optional<WallTime> reconnectDate() const;

  /// Closes the link on purpose: no close notification follows and no retry is started. One that is armed
  /// already goes on, and a report of a reachable network opens the link again; `stopAutoReconnect()` ends the
  /// former.
  void close();

  /// Closes the link until `watchNetworkStatus()` is called again: it ends the schedule and the watching of the network, and
  /// forgets both. Until then nothing opens the link, requests and the schedule among them; a request finds it closed.
  /// Main thread.
  void closeForGood();

  /// Sends a protocol-level ping. The argument is ignored. When the link is not open, says so on the console.
  void sendPing(const Object& ignored = {});

  /// Sends a text as it is, soon after what was sent before. When the link is not open, says so in the log.
  /// @param text one text message; absent: nothing is sent
  void send(const OptionalString& text);

  /// Sends a request. Exactly one of its callbacks is called in the end: the completion callback with the
  /// reply, or the time-out callback after 10 s; on a link that is not open the time-out callback is called
  /// before this returns, and the link is asked to reconnect. A reply that says that there is no session
  /// (code 1000, 1001 or 10031) holds the request until a session is there, however long that takes, and then
  /// sends it again, unless it is taken back (`takeBack`). A request with the identifier of one that is outstanding takes its place, and the earlier
  /// one's callbacks are never called.
  ///
  /// The item is let go of on the main thread, as soon as its callback has returned: a caller on another thread that
  /// moves it in lets nothing of its callbacks end there.
  void sendRequestItem(std::shared_ptr<QXRequestItem> item);

  /// Whether automatic attempts have been made since the link was last up.
  bool isAutoReconnecting() const { return retryTimes_ != 0; }
  /// How many of them.
  std::int64_t retryTimes() const { return retryTimes_; }
  /// Counts an automatic attempt and reconnects. The attempt counts even where `reconnect` finds that it is too
  /// soon.
  void autoReconnect();
  /// Forgets the attempts and ends the keep-alive and retry timers. The socket stays as it is.
  void stopAutoReconnect();

  /// @name What it holds now, for diagnostics. Exact on the main thread.
  /// @{
  std::size_t outstandingRequestCount() const;
  std::size_t parkedRequestCount() const;
  std::size_t armedTimeoutCount() const;
  /// Calls `parked` on the main thread after each request that the server has refused for want of a session and that is
  /// held until there is one. It must not run the host's loop. Any thread; withdrawn by the token.
  [[nodiscard]] ObserverToken watchParkedRequests(std::function<void()> parked);
  /// The timer that keeps the link alive; null before the link was first up and after it was closed.
  std::shared_ptr<Timer> timer() const;
  /// The timer that sent the first "PING"; null before that and once the link is up.
  std::shared_ptr<Timer> connectTimer() const;
  /// The current socket, or null.
  std::shared_ptr<WebSocket> webSocket() const;
  /// @}

 private:
  using TimerPointer = std::shared_ptr<Timer>;
  struct RetryTimer {
    TimerPointer timer;
    std::optional<SteadyTime> due;  ///< absent once the timer has fired
  };
  class Telling;

  QXWebSocketMgr();
  ~QXWebSocketMgr() override;

  // The socket's events. Those of a socket that is no longer the current one are dropped.
  void webSocketDidOpen(WebSocket& socket) override;
  void webSocket_didFailWithError(WebSocket& socket, const Error& error) override;
  void webSocket_didReceiveMessage(WebSocket& socket, WebSocketMessage message) override;
  void webSocket_didCloseWithCode_reason_wasClean(WebSocket& socket, int code, const OptionalString& reason,
                                                  bool wasClean) override;
  void webSocket_didReceivePong(WebSocket& socket, std::string payload) override;

  void sendFirstPing();
  void startKeepAlive();
  void receivedPong(const WebSocket& socket, SteadyTime at);
  void traceMessage(std::string payload, bool isText);
  void dispatch(std::shared_ptr<const ReplyFrame> frame, std::shared_ptr<void> share);
  void scheduleRetry(const Error& error);
  void armRetry(RetryTimer& slot, double seconds, std::function<void()> action);
  void networkStatusChanged(ReachabilityStatus status);

  void transmit(const std::vector<SubmittedRequest>& requests);
  void writeToSocket(std::shared_ptr<const std::string> text);
  std::uint64_t connectionNumber() const;
  bool isCurrent(const WebSocket& socket) const;
  bool hasOpenSocket() const;
  void dropSocket(const WebSocket& socket);
  void failed(LinkFailure failure);
  void endTimer(TimerPointer& slot);
  void endAndClearTimer(TimerPointer& slot);
  void post(std::string_view name, const json::object* userInfo = nullptr) const;
  void tellChange();

  std::atomic<bool> firstConnect_{true};
  std::atomic<bool> connected_{false};
  std::atomic<ReachabilityStatus> networkStatus_{ReachabilityStatus::NotReachable};
  std::atomic<bool> networkIsKnown_{false};
  std::atomic<std::int64_t> retryTimes_{0};
  std::atomic<bool> isWanted_{false};
  std::atomic<bool> isClosedForGood_{false};
  std::atomic<bool> isWatched_{false};
  std::atomic<bool> willTell_{false};  // the main thread has been asked to
  bool tellsMessages_ = false;         // main thread only

  // Guards what follows; never held while host code runs.
  mutable std::mutex mutex_;
  OptionalString apiServerUrl_;
  std::shared_ptr<const NetworkSettings> networkSettings_;
  std::optional<LinkFailure> lastFailure_;
  std::shared_ptr<WebSocket> webSocket_;
  ConnectReport lastReport_;  // of a socket that was let go
  std::optional<WallTime> reconnectDate_;
  // The pause between reconnects is measured here: the wall clock may jump.
  std::optional<SteadyTime> reconnectedAt_;
  std::uint64_t attempts_ = 0, failures_ = 0, closings_ = 0;
  TimerPointer connectTimer_, timer_;
  RetryTimer firstAutoReconnectTimer_, secondAutoReconnectTimer_, loopAutoReconnectTimer_;
  std::function<void()> watcher_;

  NotificationCenter parkings_;
  const std::unique_ptr<LinkCounters> counters_;
  const std::unique_ptr<TraceDesk> trace_;
  std::unique_ptr<RequestTable> requests_;
};

}  // namespace orv
