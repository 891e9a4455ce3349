// What comes from the peer: messages, control frames and the end; and how much of it may wait for the main thread.

#include "orvnetwork/platform/native/websocket/ClientWebSocket.h"

#include <orvnetwork/platform/native/websocket/MemoryReturn.h>
#include <orvnetwork/platform/native/websocket/codec/CloseCodes.h>
#include <orvnetwork/platform/native/websocket/codec/Opcode.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

/// Keeps events back until all frames that are here have been dealt with, or there are many events.
class ClientWebSocket::Gathering {
 public:
  explicit Gathering(ClientWebSocket& socket) : socket_(socket) { socket_.gathersEvents_ = true; }
  Gathering(const Gathering&) = delete;
  Gathering& operator=(const Gathering&) = delete;
  ~Gathering() {
    socket_.gathersEvents_ = false;
    socket_.postEvents();
  }

 private:
  ClientWebSocket& socket_;
};

/// A share of what may wait for the main thread.
struct ClientWebSocket::Share {
  Share(std::shared_ptr<ClientWebSocket> of, std::size_t bytes) : socket(std::move(of)), size(bytes) {}
  Share(const Share&) = delete;
  Share& operator=(const Share&) = delete;
  ~Share() { socket->letGo(size); }
  const std::shared_ptr<ClientWebSocket> socket;
  const std::size_t size;
};

/// A message on its way, with its share.
struct ClientWebSocket::Incoming {
  Incoming(std::shared_ptr<ClientWebSocket> of, std::size_t bytes, WebSocketMessage&& what)
      : share(std::move(of), bytes), message(std::move(what)) {}
  const Share share;
  WebSocketMessage message;
};

void ClientWebSocket::postEvents() {
  publishHeld();
  heldByEvents_ = nullptr;
  if (mainBatches_ != nullptr) return mainBatches_->postAll(events_);
  for (Task& event : events_) mainQueue_.post(std::move(event));
  events_.clear();
}

/// Events that go together share a count of their own: that of the socket would be fetched from the other processor's cache
/// by each one of them, when it is made and when it has been dealt with.
std::shared_ptr<ClientWebSocket> ClientWebSocket::heldByEvent() {
  if (!gathersEvents_) return shared_from_this();
  if (heldByEvents_ == nullptr) {
    const auto holder = std::make_shared<std::shared_ptr<ClientWebSocket>>(shared_from_this());
    heldByEvents_ = {holder, this};
  }
  return heldByEvents_;
}

void ClientWebSocket::inputCame() {
  isReading_ = false;
  if (phase_ == Phase::Connecting) return lookAtAnswer();
  takeFrames();
}

void ClientWebSocket::inputEnded(const error_code& error) {
  if (phase_ == Phase::Connecting) return handshakeEnded(error);
  if (phase_ != Phase::Open) return;
  if (writeError_) return reportWriteError();
  if (!stream().sawEnd()) return fail(errorOf(error));
  streamEnded();
}

/// The peer ended the stream without a close frame. A caller that is writing at this moment may meet an error that says
/// more: it is waited for.
void ClientWebSocket::streamEnded() {
  endPostponed_ = !ownsOutputOrAsks();
  if (endPostponed_) return;
  if (writeError_) return reportWriteError();
  reportClosed(close_codes::kGoingAway, close_codes::kStreamEndReason, false);
  end();
}

void ClientWebSocket::readMore() {
  isReading_ = true;
  stream().read();
}

/// Deals with the input frame by frame, and goes on reading unless something has to wait. Whatever that was calls again.
/// What the frames of one read bring wakes the main thread once.
void ClientWebSocket::takeFrames() {
  if (phase_ != Phase::Open || isReading_ || waitsForOutput_ || readingPaused_) return;
  const Gathering gathering(*this);
  for (bool goesOn = true; goesOn;) {
    std::string_view left = stream().input();
    const std::size_t size = left.size();
    const FrameReader::Event event = nextEvent(left);
    goesOn = !postponed_ && act(event);
    if (events_.size() >= kMostEvents) postEvents();
    stream().used(size - left.size());
    if (phase_ != Phase::Open || pauseReading()) break;
    if (event != FrameReader::Event::NeedsMore) continue;
    // Before the next read, so that the main thread can begin meanwhile.
    postEvents();
    readMore();
  }
  if (phase_ == Phase::Open && ownsOutput_) stream().flush();
  if (phase_ == Phase::Parting) stream().part();
  giveRightBack();
}

/// What comes next. What asks for something to be written is postponed until we may write.
FrameReader::Event ClientWebSocket::nextEvent(std::string_view& bytes) {
  const FrameReader::Event event = postponed_ ? *postponed_ : reader_.next(bytes);
  const bool isAnswered = event == FrameReader::Event::Ping || event == FrameReader::Event::Close ||
                          event == FrameReader::Event::Fault;
  postponed_.reset();
  if (isAnswered && !ownsOutputOrAsks()) postponed_ = event;
  return event;
}

/// False when no more frames are to be dealt with now.
bool ClientWebSocket::act(FrameReader::Event event) {
  switch (event) {
    case FrameReader::Event::NeedsMore:
      return false;
    case FrameReader::Event::Text:
    case FrameReader::Event::Binary:
      deliverMessage(event == FrameReader::Event::Text);
      return true;
    case FrameReader::Event::Ping:
      return answerPing();
    case FrameReader::Event::Pong:
      deliverPong();
      return true;
    case FrameReader::Event::Close:
    case FrameReader::Event::Fault:
      onEnd(event);
      return false;
  }
  return false;
}

/// Whether no more than `most` waits, with what there is of the message that is being read. However long that is, it
/// may be read when nothing else waits.
bool ClientWebSocket::holdsAtMost(std::size_t most) const {
  const std::size_t waiting = undelivered_;
  return waiting == 0 || waiting + incomplete_ <= most;
}

/// True when too much waits for the main thread: then the message that makes room goes on reading.
bool ClientWebSocket::pauseReading() {
  const std::size_t unfinished = reader_.unfinished();
  if (incomplete_.load(std::memory_order_relaxed) != unfinished) incomplete_ = unfinished;
  // Seldom does the other thread's count have to be looked at.
  if (undeliveredAtMost_ + unfinished <= limits_.undeliveredBytes) return false;
  publishHeld();
  if (holdsAtMost(limits_.undeliveredBytes)) return false;
  readingPaused_ = true;
  // Room may have been made just before that was to be seen; one of both sides takes the flag back.
  return !resumesReading();
}

/// A part of the room has to be free again, so that a busy main thread does not wake this one for each message.
bool ClientWebSocket::resumesReading() {
  return readingPaused_ && holdsAtMost(limits_.undeliveredBytes / 4 * 3) && readingPaused_.exchange(false);
}

void ClientWebSocket::deliverMessage(bool isText) {
  connector_.rememberAddress();
  WebSocketMessage message;
  message.isText = isText;
  message.payload = reader_.takeMessage();
  std::size_t size = message.payload.capacity();
  if (message.isText && request_.prepare) {
    try {
      message.prepared = request_.prepare(message.payload);
      if (request_.sizeOfPrepared) size += request_.sizeOfPrepared(message.prepared);
    } catch (...) {
      message.prepared.reset();  // the receiver decodes for itself and finds out why
    }
  }
  // One block for both: the message is moved out of it, the share stays there.
  auto incoming = std::make_shared<Incoming>(heldByEvent(), hold(size), std::move(message));
  deliver([incoming = std::move(incoming)](WebSocketDelegate& delegate, WebSocket& socket) mutable {
    WebSocketMessage received = std::move(incoming->message);
    received.share = std::move(incoming);
    delegate.webSocket_didReceiveMessage(socket, std::move(received));
  });
}

bool ClientWebSocket::answerPing() {
  stream().gather(Opcode::Pong, reader_.controlPayload());
  waitsForOutput_ = stream().gatheredBytes() > GatheringStream::kHighWater;
  return !waitsForOutput_;
}

void ClientWebSocket::deliverPong() {
  if (!holdsAtMost(limits_.undeliveredBytes)) return;
  auto payload = std::make_unique<std::string>(reader_.controlPayload());
  auto share = std::make_unique<const Share>(heldByEvent(), hold(payload->size()));
  deliver([share = std::move(share), payload = std::move(payload)](WebSocketDelegate& delegate,
                                                                   WebSocket& socket) {
    delegate.webSocket_didReceivePong(socket, std::move(*payload));
  });
}

/// The peer's close frame, or a rule that it has broken.
void ClientWebSocket::onEnd(FrameReader::Event event) {
  const FrameReader::End& end = reader_.end();
  stream().sealWith(end.answer);
  OptionalString reason;
  if (event == FrameReader::Event::Close && !end.reason.empty()) reason.emplace(end.reason);
  reportClosed(end.code, std::move(reason), true);
  part();
}

std::size_t ClientWebSocket::hold(std::size_t size) {
  held_ += size + kEventCost;
  undeliveredAtMost_ += size + kEventCost;
  return size + kEventCost;
}

/// Before the events that hold it are posted: then it may be let go.
void ClientWebSocket::publishHeld() {
  if (held_ == 0) return;
  undeliveredAtMost_ = undelivered_ += std::exchange(held_, 0);
  if (undeliveredAtMost_ > kFlood) flooded_ = true;
}

void ClientWebSocket::letGo(std::size_t size) {
  if ((undelivered_ -= size) < kCalm && flooded_ && flooded_.exchange(false)) giveMemoryBackSoon();
  if (!resumesReading()) return;
  asio::post(context_, [self = shared_from_this()] { self->takeFrames(); });
}

}  // namespace orv
