// What is sent, and who writes it: the caller itself when nothing waits and the way is plain TCP, else the network thread.
// Whoever has the right to write has the stream's output to itself; what the network thread would do with it while a
// caller has the right is postponed until that has passed it on, a few microseconds later.

#include "orvnetwork/platform/native/websocket/ClientWebSocket.h"

#include <orvnetwork/platform/native/websocket/codec/Opcode.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

namespace {

/// After a failed write, how long what the peer still sent may take to arrive: its close frame says more than
/// our error does.
constexpr Seconds kLastWords{1.0};

/// A longer text would hold the caller up: masking and copying it is the network thread's work.
constexpr std::size_t kMostAtOnce = std::size_t{32} << 10;

}  // namespace

// ---- Any thread

void ClientWebSocket::send(std::shared_ptr<const std::string> text) {
  if (text == nullptr || state_ != WebSocketState::Open) return;
  const std::string_view view = *text;
  if (writeAtOnce({&view, 1}) == 0) enqueue({Outgoing::Kind::Text, std::move(text)});
}

void ClientWebSocket::sendTexts(std::span<const std::string_view> texts) {
  if (state_ != WebSocketState::Open) return;
  for (const auto text : texts.subspan(writeAtOnce(texts))) {
    enqueue({Outgoing::Kind::Text, std::make_shared<const std::string>(text)});
  }
}

void ClientWebSocket::sendPing(std::string payload) {
  if (state_ != WebSocketState::Open) return;
  payload.resize(std::min(payload.size(), kLongestControlPayload));
  enqueue({Outgoing::Kind::Ping, std::make_shared<const std::string>(std::move(payload))});
}

/// Writes texts on this thread, in one piece: as many as are not too long together, and none when somebody else has the
/// right to write. Returns how many.
std::size_t ClientWebSocket::writeAtOnce(std::span<const std::string_view> texts) {
  std::size_t count = 0, size = 0;
  while (count < texts.size() && texts[count].size() <= kMostAtOnce - size) size += texts[count++].size();
  if (count == 0 || !queue_.takeToWrite(size)) return 0;
  struct Turn {
    ClientWebSocket& socket;
    ~Turn() { socket.turnEnded(); }
  };
  const Turn turn{*this};
  for (const auto text : texts.first(count)) stream_.gather(Opcode::Text, text);
  stream_.writeNow();
  return count;
}

/// A rest keeps the right, and so does what others have left behind meanwhile; the network thread goes on with both.
void ClientWebSocket::turnEnded() {
  if (stream_.isIdle() && queue_.giveBackFromCaller()) return;
  asio::post(context_, [self = shared_from_this()] { self->rightCame(); });
}

void ClientWebSocket::enqueue(Outgoing item) {
  switch (queue_.push(std::move(item))) {
    case OutgoingQueue::Pushed::Queued:
      return;
    case OutgoingQueue::Pushed::WakeUp:
      return asio::post(context_, [self = shared_from_this()] { self->outgoingCame(); });
    case OutgoingQueue::Pushed::TakeOver:
      return asio::post(context_, [self = shared_from_this()] { self->rightCame(); });
    case OutgoingQueue::Pushed::Overflow:
      if (overflowed_.exchange(true)) return;
      return asio::post(context_, [self = shared_from_this()] {
        self->fail(websocket_error::kWriteFailed, "more messages wait to be sent than there is room for");
      });
  }
}

// ---- The right to write

/// Whether this thread may write. If not, `rightCame` follows.
bool ClientWebSocket::ownsOutputOrAsks() {
  ownsOutput_ = ownsOutput_ || queue_.takeOrAsk();
  return ownsOutput_;
}

/// A caller could not write all, or something was left behind for us.
void ClientWebSocket::rightCame() {
  ownsOutput_ = true;
  if (phase_ == Phase::Ended) stream().cancel();
  stream().goOn();
  takeOutgoing();
  if (std::exchange(endPostponed_, false) && phase_ == Phase::Open) streamEnded();
  takeFrames();
  giveRightBack();
}

void ClientWebSocket::giveRightBack() {
  if (!ownsOutput_ || phase_ != Phase::Open || stream().tlsSession() != nullptr) return;
  if (outgoing_.empty() && stream().isIdle()) ownsOutput_ = !queue_.giveBackFromNetwork();
}

// ---- Sending

/// A wake-up that comes late finds nothing, and the right may be elsewhere by then.
void ClientWebSocket::outgoingCame() {
  if (!ownsOutput_) return;
  takeOutgoing();
  giveRightBack();
}

void ClientWebSocket::takeOutgoing() {
  queue_.takeAll(outgoing_);
  const bool closing = std::any_of(outgoing_.begin(), outgoing_.end(),
                                   [](const Outgoing& item) { return item.kind == Outgoing::Kind::Close; });
  // From now on the peer must at least take what waits before the close frame.
  if (closing && phase_ == Phase::Open) armDeadline(limits_.closing, &ClientWebSocket::closingLimitReached);
  sendOutgoing();
}

void ClientWebSocket::sendOutgoing() {
  while (!outgoing_.empty() && stream().gatheredBytes() < GatheringStream::kHighWater) {
    const Outgoing item = std::move(outgoing_.front());
    outgoing_.pop_front();
    queue_.finished(item);
    sendOne(item);
  }
  if (phase_ == Phase::Open) stream().flush();
}

void ClientWebSocket::sendOne(const Outgoing& item) {
  if (item.kind == Outgoing::Kind::Close) return startClosing();
  if (phase_ != Phase::Open) return;
  stream().gather(item.kind == Outgoing::Kind::Text ? Opcode::Text : Opcode::Ping, *item.text);
}

void ClientWebSocket::outputDrained() {
  sendOutgoing();
  // The close frame has left: from now on the peer has its time to answer, once.
  if (phase_ == Phase::Open && stream().isSealedAndSent()) {
    armDeadline(limits_.closing, &ClientWebSocket::closingLimitReached);
  }
  readOnAfterOutput();
  giveRightBack();
}

void ClientWebSocket::outputFailed(const error_code& error) {
  if (phase_ == Phase::Parting) return end();
  if (phase_ != Phase::Connecting && phase_ != Phase::Open) return;
  writeError_ = error;
  // Over TLS a server that takes exception to the client says so in what is read next.
  if (phase_ == Phase::Connecting && stream().tlsSession() == nullptr) return reportWriteError();
  armDeadline(kLastWords, &ClientWebSocket::reportWriteError);
  readOnAfterOutput();
}

/// A peer that asks for answers and does not read them cannot make us take memory without bound.
void ClientWebSocket::readOnAfterOutput() {
  if (!waitsForOutput_ || stream().gatheredBytes() > GatheringStream::kHighWater) return;
  waitsForOutput_ = false;
  asio::post(context_, [self = shared_from_this()] { self->takeFrames(); });
}

void ClientWebSocket::reportWriteError() {
  fail(websocket_error::kWriteFailed, "writing failed: " + writeError_->message());
}

}  // namespace orv
