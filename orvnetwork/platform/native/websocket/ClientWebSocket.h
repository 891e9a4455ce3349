#pragma once

// The client's side of RFC 6455, from the look-up of the host to the last byte. An event is made on the network
// thread and delivered on the main queue, in order; of the two terminal ones one comes, once (`takeTerminalEvent`).
// The peer is never waited for without bound: connecting, closing and the acknowledgement of sent data have a limit
// each. What it sends is read piece by piece, and no further than there is room for what waits for the main thread.

#include <orvnetwork/platform/ProxyChoice.h>
#include <orvnetwork/platform/TextBatch.h>
#include <orvnetwork/platform/native/threads/BatchExecutor.h>
#include <orvnetwork/platform/native/websocket/ConnectRecorder.h>
#include <orvnetwork/platform/native/websocket/GatheringStream.h>
#include <orvnetwork/platform/native/websocket/HandshakeGate.h>
#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>
#include <orvnetwork/platform/native/websocket/OutgoingQueue.h>
#include <orvnetwork/platform/native/websocket/ProxyTunnel.h>
#include <orvnetwork/platform/native/websocket/TcpConnector.h>
#include <orvnetwork/platform/native/websocket/WebSocketUrl.h>
#include <orvnetwork/platform/native/websocket/codec/FrameReader.h>

#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class TlsContext;

/// The WebSocket client. Callers on any thread leave what they want in a queue and an atomic state; all else
/// is done on the network thread. Every operation under way there holds a reference to the socket. Only a text that finds
/// nothing waiting before it, over plain TCP, is written by the caller itself, which then has the right to (`OutgoingQueue`).
///
/// The frames are the codec's; what follows from them is decided here. We answer a close frame with a code of our own,
/// go on delivering messages while we wait for the peer's, and never wait without bound.
class ClientWebSocket final : public WebSocket,
                              public TextBatchSocket,
                              public std::enable_shared_from_this<ClientWebSocket>,
                              private GatheringStream::Owner {
 public:
  ClientWebSocket(WebSocketRequest request, Executor& mainQueue, NativeWebSocketLimits limits);

  void setDelegate(WebSocketDelegate* delegate) override { delegate_ = delegate; }
  void open() override;
  void close() override;
  void send(std::shared_ptr<const std::string> text) override;
  void sendTexts(std::span<const std::string_view> texts) override;
  void sendPing(std::string payload) override;
  WebSocketState readyState() const override { return state_; }
  ConnectReport connectReport() const override { return recorder_.report(); }

 private:
  static constexpr std::size_t kCacheLine = 64;
  /// What an event takes of memory beside its payload while it waits for the main thread.
  static constexpr std::size_t kEventCost = 192;
  /// When so much has waited, memory is given back to the system once less than the other waits.
  static constexpr std::size_t kFlood = std::size_t{32} << 20;
  static constexpr std::size_t kCalm = std::size_t{1} << 20;
  /// So many events are not kept back any longer: the main thread can begin with them.
  static constexpr std::size_t kMostEvents = 32;

  class Gathering;
  struct Share;
  struct Incoming;

  using Expiry = void (ClientWebSocket::*)();

  enum class Phase {
    Idle,        // -> Connecting by open, Ended by close
    Connecting,  // -> Open by a good handshake; Ended by a failure, the time limit or close
    Open,        // -> Parting by a close frame or a protocol error; Ended by a failure or the peer's silence
    Parting,     // the end has been reported, our last frame is on its way -> Ended
    Ended
  };

  // Any thread.
  std::size_t writeAtOnce(std::span<const std::string_view> texts);
  void turnEnded();
  void enqueue(Outgoing item);

  // Connecting.
  void startConnecting(const ProxyVariables& variables);
  void onConnected(const WebSocketUrl& url, const std::optional<Error>& error);
  void askProxy(const WebSocketUrl& url);
  void onWayOpen(const WebSocketUrl& url);
  bool prepareTls();
  void startTls(const WebSocketUrl& url);
  void onTls(const WebSocketUrl& url, const error_code& error);
  void recordTls();
  void startHandshake(const WebSocketUrl& url);
  void lookAtAnswer();
  void refuseAnswer();
  void onAgreement(const std::string& header);
  void handshakeEnded(const error_code& error);
  void connectTimedOut();

  // Sending.
  bool ownsOutputOrAsks();
  void rightCame();
  void giveRightBack();
  void outgoingCame();
  void takeOutgoing();
  void sendOutgoing();
  void sendOne(const Outgoing& item);
  void outputDrained() override;
  void outputFailed(const error_code& error) override;
  void reportWriteError();
  void readOnAfterOutput();

  // Receiving.
  void inputCame() override;
  void inputEnded(const error_code& error) override;
  void readMore();
  void takeFrames();
  FrameReader::Event nextEvent(std::string_view& bytes);
  bool act(FrameReader::Event event);
  bool answerPing();
  void deliverMessage(bool isText);
  void deliverPong();
  void onEnd(FrameReader::Event event);
  bool holdsAtMost(std::size_t most) const;
  bool pauseReading();
  bool resumesReading();

  // Closing.
  void startClosing();
  void closingLimitReached();
  void fail(Error error);
  void fail(int code, std::string description);
  void reportClosed(int code, OptionalString reason, bool wasClean);
  void streamEnded();
  bool takeTerminalEvent();
  void part();
  void partingEnded() override { end(); }
  void end();

  static bool isTlsError(const error_code& error);
  Error errorOf(const error_code& error);
  std::shared_ptr<void> keepAlive() override { return shared_from_this(); }
  GatheringStream& stream() { return stream_; }
  void armDeadline(Seconds delay, Expiry expiry);
  void disarmDeadline();
  /// Posts `call(delegate, socket)`, while frames are dealt with together with what else they bring; it runs if there is a
  /// delegate then.
  template <typename Call>
  void deliver(Call call);
  void postEvents();
  /// What an event holds of this socket.
  std::shared_ptr<ClientWebSocket> heldByEvent();
  /// Counts something that the peer sent as undelivered until as much is let go.
  std::size_t hold(std::size_t size);
  void publishHeld();
  void letGo(std::size_t size);

  // Shared by all threads.
  Executor& mainQueue_;
  BatchExecutor* const mainBatches_;  // the same, if it is one
  const NativeWebSocketLimits limits_;
  std::atomic<WebSocketDelegate*> delegate_{nullptr};
  std::atomic<WebSocketState> state_{WebSocketState::Connecting};
  std::atomic<bool> opened_{false};
  std::atomic<bool> overflowed_{false};
  // What both threads write with each message keeps away from what they read.
  alignas(kCacheLine) std::atomic<std::size_t> undelivered_{0};
  std::atomic<std::size_t> incomplete_{0};  // of the message that is being read
  std::atomic<bool> readingPaused_{false};
  std::atomic<bool> flooded_{false};
  alignas(kCacheLine) OutgoingQueue queue_;
  ConnectRecorder recorder_;

  // The network thread's.
  asio::io_context& context_;
  WebSocketRequest request_;
  std::shared_ptr<const TlsContext> tlsContext_;
  GatheringStream stream_;
  HandshakeGate gate_;
  std::string key_;  // of the handshake
  FrameReader reader_;
  bool isReading_ = false;
  bool gathersEvents_ = false;
  std::vector<Task> events_;  // to be posted
  std::shared_ptr<ClientWebSocket> heldByEvents_;
  // By events that are to be posted, which `undelivered_` does not tell yet; and what it was at its last look, with all
  // that has come since.
  std::size_t held_ = 0, undeliveredAtMost_ = 0;
  bool waitsForOutput_ = false;  // with reading, until the peer has taken what was answered
  bool ownsOutput_ = true;       // has the right to write: `stream_`'s output is this thread's
  // What waits until the right has come.
  std::optional<FrameReader::Event> postponed_;
  bool endPostponed_ = false;
  TcpConnector connector_;
  std::optional<Proxy> proxy_;  // until it has opened the way
  ProxyTunnel tunnel_;
  asio::steady_timer deadline_;
  std::uint64_t deadlineNumber_ = 0;
  Phase phase_ = Phase::Idle;
  bool reported_ = false;
  std::deque<Outgoing> outgoing_;
  std::optional<error_code> writeError_;
  std::uint64_t sentWhenArmed_ = 0;
};

template <typename Call>
void ClientWebSocket::deliver(Call call) {
  events_.emplace_back([self = heldByEvent(), call = std::move(call)]() mutable {
    if (WebSocketDelegate* const delegate = self->delegate_) call(*delegate, *self);
  });
  if (!gathersEvents_) postEvents();
}

}  // namespace orv
