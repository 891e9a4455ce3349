#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/platform/NetworkSettings.h>

#include <any>
#include <functional>
#include <memory>
#include <vector>

namespace orv {

class WebSocket;

/// Where a socket is in its life. It only goes on from one to a later one.
enum class WebSocketState { Connecting = 0, Open = 1, Closing = 2, Closed = 3 };

/// One message of the peer.
struct WebSocketMessage {
  std::string payload;
  bool isText = true;
  /// What `WebSocketRequest::prepare` made of the payload; empty when there is no such function.
  std::any prepared;
  /// The message's share of what may wait for the main thread: a socket whose messages hold too much is not read until
  /// some of them are dropped. It goes with the message; who puts aside for a while what was made of it puts this beside it. May
  /// be empty.
  std::shared_ptr<void> share{};
};

/// Is told what happens to a socket. Every call comes on the main queue, in the order in which things happened.
/// A socket reports at most one terminal event (`webSocket_didFailWithError` or
/// `webSocket_didCloseWithCode_reason_wasClean`) and nothing after it.
/// The delegate is looked up when an event is delivered: once it has been cleared on the main thread nothing
/// more arrives, not even what was queued before.
class ORV_EXPORT WebSocketDelegate {
 public:
  virtual ~WebSocketDelegate() = default;

  /// The handshake is done: from here on the socket sends.
  virtual void webSocketDidOpen(WebSocket& socket) = 0;

  /// Terminal: the attempt to connect or the connection has failed.
  /// @param error its domain is "POSIX" (the code is an errno), "OrvWebSocket" (address, handshake, time-out,
  /// writing), "OrvTls", "OrvNameLookup" or "OrvProxy"
  virtual void webSocket_didFailWithError(WebSocket& socket, const Error& error) = 0;

  /// A whole message has come.
  virtual void webSocket_didReceiveMessage(WebSocket& socket, WebSocketMessage message) = 0;

  /// Terminal: the connection has come to its end, by either side or because the stream ended.
  /// @param code the close code of the peer's frame; 1005 when it held none, 1001 when the stream ended without a
  /// frame, 0 when the socket was closed while it connected or the peer broke the protocol
  /// @param reason the reason in the peer's frame, or that the stream ended; absent when there is none
  /// @param wasClean false only for a stream that ended without a close frame
  virtual void webSocket_didCloseWithCode_reason_wasClean(WebSocket& socket, int code,
                                                          const OptionalString& reason, bool wasClean) = 0;

  /// A protocol-level pong has come, asked for or not, with up to 125 bytes.
  virtual void webSocket_didReceivePong(WebSocket& socket, std::string payload) = 0;
};

/// What to connect to, and how.
struct WebSocketRequest {
  /// Scheme ws or wss (http and https mean the same); anything else fails after `open()`.
  OptionalString url;
  /// Limit for name look-up, TCP, TLS and handshake together.
  Seconds connectTimeout{60.0};
  /// How to get there; null for the usual way.
  std::shared_ptr<const NetworkSettings> network{};
  /// Called with each text message on the socket's own thread before the message is queued for the main
  /// thread, so that costly decoding stays off it. Must not touch anything that belongs to another thread.
  std::function<std::any(std::string_view payload)> prepare{};
  /// How much memory, in bytes, that takes which `prepare` made. It counts with the payload for what may wait for the
  /// main thread. Called after `prepare`, on the same thread; empty: nothing but the payload counts.
  std::function<std::size_t(const std::any& prepared)> sizeOfPrepared{};
};

/// A WebSocket client for one connection; it cannot be opened twice. Made by `Platform::makeWebSocket`. All
/// operations may be called on any thread and none of them blocks or calls back. A socket keeps itself alive
/// until its end, so its owner may drop it at any time.
class ORV_EXPORT WebSocket {
 public:
  virtual ~WebSocket() = default;

  /// Who is called with the events; null for nobody. The delegate must outlive the socket or be cleared first. After
  /// clearing on the main thread nothing is delivered any more; on another thread a delivery may be under way.
  virtual void setDelegate(WebSocketDelegate* delegate) = 0;

  /// Starts to connect. The outcome comes to the delegate, always after this call has returned.
  virtual void open() = 0;

  /// Starts the closing handshake, or gives up connecting. A peer that does not answer is cut off after
  /// some seconds without a word to the delegate.
  virtual void close() = 0;

  /// Sends one text message. Null, or a socket that is not open, sends nothing. Messages go out whole, in the
  /// order of the calls; those that wait together are written together.
  virtual void send(std::shared_ptr<const std::string> text) = 0;

  /// Sends a protocol ping with up to 125 bytes of payload (the rest is cut off).
  virtual void sendPing(std::string payload) = 0;

  /// Where it is now. On a thread other than main it may be out of date as soon as it is read.
  virtual WebSocketState readyState() const = 0;

  /// What it has met on its way so far; complete once it is open or has failed.
  virtual ConnectReport connectReport() const { return {}; }
};

}  // namespace orv
