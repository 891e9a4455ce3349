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

void ClientWebSocket::postEvents() {
  if (mainBatches_ != nullptr) return mainBatches_->postAll(events_);
  for (Task& event : events_) mainQueue_.post(std::move(event));
  events_.clear();
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
    if (event == FrameReader::Event::NeedsMore) readMore();
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
  incomplete_ = reader_.unfinished();
  if (holdsAtMost(limits_.undeliveredBytes)) return false;
  readingPaused_ = true;
  // Room may have been made just before that was to be seen; one of both sides takes the flag back.
  return !resumesReading();
}

/// A part of the room has to be free again, so that a busy main thread does not wake this one for each message.
bool ClientWebSocket::resumesReading() {
  return holdsAtMost(limits_.undeliveredBytes / 4 * 3) && readingPaused_.exchange(false);
}

void ClientWebSocket::deliverMessage(bool isText) {
  connector_.rememberAddress();
  auto message = std::make_unique<WebSocketMessage>();
  message->isText = isText;
  message->payload = reader_.takeMessage();
  std::size_t size = message->payload.capacity();
  if (message->isText && request_.prepare) {
    try {
      message->prepared = request_.prepare(message->payload);
      if (request_.sizeOfPrepared) size += request_.sizeOfPrepared(message->prepared);
    } catch (...) {
      message->prepared.reset();  // the receiver decodes for itself and finds out why
    }
  }
  message->share = shareOf(size);
  deliver([message = std::move(message)](WebSocketDelegate& delegate, WebSocket& socket) {
    delegate.webSocket_didReceiveMessage(socket, std::move(*message));
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
  deliver([share = shareOf(payload->size()), payload = std::move(payload)](WebSocketDelegate& delegate,
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

std::shared_ptr<void> ClientWebSocket::shareOf(std::size_t size) {
  if ((undelivered_ += size + kEventCost) > kFlood) flooded_ = true;
  struct Share {
    Share(std::shared_ptr<ClientWebSocket> of, std::size_t bytes) : socket(std::move(of)), size(bytes) {}
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;
    ~Share() { socket->letGo(size); }
    const std::shared_ptr<ClientWebSocket> socket;
    const std::size_t size;
  };
  return std::make_shared<Share>(shared_from_this(), size + kEventCost);
}

void ClientWebSocket::letGo(std::size_t size) {
  if ((undelivered_ -= size) < kCalm && flooded_.exchange(false)) giveMemoryBackSoon();
  if (!resumesReading()) return;
  asio::post(context_, [self = shared_from_this()] { self->takeFrames(); });
}

}  // namespace orv
