// What comes from the peer: messages, control frames and the end; and how much of it may wait for the main thread.

#include "orvnetwork/platform/native/websocket/BeastWebSocket.h"

#include <orvnetwork/platform/native/system/SystemRandom.h>
#include <orvnetwork/platform/native/websocket/MemoryReturn.h>
#include <orvnetwork/platform/native/websocket/codec/CloseCodes.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

namespace {

namespace websocket = boost::beast::websocket;

bool isProtocolError(const error_code& error) {
  return error.category() == websocket::make_error_code(websocket::error::closed).category();
}

}  // namespace

void BeastWebSocket::readNext() {
  protocol_.async_read_some(message_, 0, [self = shared_from_this()](const error_code& error, std::size_t) {
    self->onRead(error);
  });
}

void BeastWebSocket::onRead(const error_code& error) {
  if (!error) {
    if (phase_ == Phase::Open && protocol_.is_message_done()) deliverMessage();
    if (!pauseReading()) readNext();
    return;
  }
  if (phase_ == Phase::Open) onReadingEnded(error);
  if (phase_ == Phase::Parting) stream().part();
}

/// Whether no more than `most` waits, with what there is of the message that is being read. However long that is, it
/// may be read when nothing else waits.
bool BeastWebSocket::holdsAtMost(std::size_t most) const {
  const std::size_t waiting = undelivered_;
  return waiting == 0 || waiting + incomplete_ <= most;
}

/// True when too much waits for the main thread: then the message that makes room goes on reading.
bool BeastWebSocket::pauseReading() {
  incomplete_ = message_.size();
  if (holdsAtMost(limits_.undeliveredBytes)) return false;
  readingPaused_ = true;
  // Room may have been made just before that was to be seen; one of both sides takes the flag back.
  return !resumesReading();
}

/// A part of the room has to be free again, so that a busy main thread does not wake this one for each message.
bool BeastWebSocket::resumesReading() {
  return holdsAtMost(limits_.undeliveredBytes / 4 * 3) && readingPaused_.exchange(false);
}

void BeastWebSocket::deliverMessage() {
  connector_.rememberAddress();
  auto message = std::make_unique<WebSocketMessage>();
  message->isText = protocol_.got_text();
  message->payload = message_.take();
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

void BeastWebSocket::onControlFrame(websocket::frame_type kind, std::string_view payload) {
  if (phase_ != Phase::Open) return;
  if (kind == websocket::frame_type::close) return onCloseFrame();
  if (kind != websocket::frame_type::pong || !holdsAtMost(limits_.undeliveredBytes)) return;
  auto copy = std::make_unique<std::string>(payload);
  deliver([copy = std::move(copy), share = shareOf(payload.size())](WebSocketDelegate& delegate,
                                                                    WebSocket& socket) {
    delegate.webSocket_didReceivePong(socket, std::move(*copy));
  });
}

/// Our answer goes out ahead of the protocol library's, which the sealed stream then swallows.
void BeastWebSocket::onCloseFrame() {
  const websocket::close_reason& peer = protocol_.reason();
  const int code = peer.code == websocket::close_code::none ? close_codes::kNone : peer.code;
  const bool allowed = code == close_codes::kNone || close_codes::isAllowed(code);
  stream().sealWith(
      close_codes::maskedFrame(allowed ? close_codes::kNormal : close_codes::kProtocolError, systemRandom()));
  OptionalString reason;
  if (allowed && !peer.reason.empty()) reason.emplace(peer.reason.data(), peer.reason.size());
  reportClosed(code, std::move(reason), true);
  part();
}

void BeastWebSocket::onReadingEnded(const error_code& error) {
  if (writeError_) return reportWriteError();
  if (isProtocolError(error)) {
    const bool aboutCloseCode =
        error == websocket::error::bad_close_code || error == websocket::error::bad_close_payload;
    reportClosed(aboutCloseCode ? stream().lastCloseCode() : 0, std::nullopt, true);
    return part();
  }
  if (!stream().sawEnd()) return fail(errorOf(error));
  reportClosed(close_codes::kGoingAway, close_codes::kStreamEndReason, false);
  end();
}

std::shared_ptr<void> BeastWebSocket::shareOf(std::size_t size) {
  if ((undelivered_ += size + kEventCost) > kFlood) flooded_ = true;
  struct Share {
    Share(std::shared_ptr<BeastWebSocket> of, std::size_t bytes) : socket(std::move(of)), size(bytes) {}
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;
    ~Share() { socket->letGo(size); }
    const std::shared_ptr<BeastWebSocket> socket;
    const std::size_t size;
  };
  return std::make_shared<Share>(shared_from_this(), size + kEventCost);
}

void BeastWebSocket::letGo(std::size_t size) {
  if ((undelivered_ -= size) < kCalm && flooded_.exchange(false)) giveMemoryBackSoon();
  if (!resumesReading()) return;
  asio::post(context_, [self = shared_from_this()] { self->readNext(); });
}

}  // namespace orv
