#include "orvnetwork/platform/native/websocket/codec/FrameReader.h"

#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/platform/native/websocket/codec/CloseCodes.h>

#include <algorithm>
#include <new>
#include <utility>

namespace orv {

namespace {

/// A longer message is handed out with the memory that it was put together in; a shorter one is copied, and the memory
/// waits for the next one.
constexpr std::size_t kCopiedSize = std::size_t{64} << 10;
/// For a message that has come so far, memory is set aside at once for all that its frame still promises: it is not
/// there twice while it grows. The promise alone of a frame makes us take nothing.
constexpr std::size_t kTrustedSize = std::size_t{1} << 20;

}  // namespace

FrameReader::Event FrameReader::next(std::string_view& bytes) {
  while (step_ != Step::Over) {
    if (step_ == Step::Head) {
      if (const int fault = takeHead(bytes)) return finish(Event::Fault, {0, {}, fault});
      if (step_ == Step::Head) return Event::NeedsMore;
    }
    const Event event = isControl() ? takeControl(bytes) : takeData(bytes);
    if (event != Event::NeedsMore || step_ == Step::Payload) return event;
  }
  bytes = {};
  return Event::NeedsMore;
}

FrameReader::Event FrameReader::finish(Event event, const End& end) {
  step_ = Step::Over;
  end_ = end;
  return event;
}

// ---- Heads

int FrameReader::takeHead(std::string_view& bytes) {
  while (headBytes_ < headSize_) {
    if (bytes.empty()) return 0;
    head_[headBytes_++] = static_cast<std::uint8_t>(bytes.front());
    bytes.remove_prefix(1);
    if (headBytes_ == 1 && !acceptsKind()) return close_codes::kProtocolError;
    if (headBytes_ == 2 && !acceptsForm()) return close_codes::kProtocolError;
  }
  return beginPayload();
}

bool FrameReader::acceptsKind() {
  opcode_ = static_cast<Opcode>(head_[0] & frame_head::kOpcodeBits);
  isLast_ = (head_[0] & frame_head::kFinBit) != 0;
  if ((head_[0] & frame_head::kReservedBits) != 0) return false;
  switch (opcode_) {
    case Opcode::Continuation:
      return isInMessage_;
    case Opcode::Text:
    case Opcode::Binary:
      return !isInMessage_;
    case Opcode::Close:
    case Opcode::Ping:
    case Opcode::Pong:
      return isLast_;
  }
  return false;
}

bool FrameReader::acceptsForm() {
  if ((head_[1] & frame_head::kMaskBit) != 0) return false;
  if (isControl() && head_[1] > kLongestControlPayload) return false;
  headSize_ = head_[1] == frame_head::kTwoByteLength ? 4 : head_[1] == frame_head::kEightByteLength ? 10 : 2;
  return true;
}

int FrameReader::beginPayload() {
  payloadLeft_ = headSize_ == 2 ? head_[1] : 0;
  for (std::size_t i = 2; i < headSize_; ++i) payloadLeft_ = payloadLeft_ << 8 | head_[i];
  const bool isTooShort = (headSize_ == 4 && payloadLeft_ < frame_head::kLeastOfTwoBytes) ||
                          (headSize_ == 10 && payloadLeft_ < frame_head::kLeastOfEightBytes);
  if (isTooShort || payloadLeft_ >> 63 != 0) return close_codes::kProtocolError;
  headBytes_ = 0;
  headSize_ = 2;
  step_ = Step::Payload;
  if (isControl()) {
    controlSize_ = 0;
    return 0;
  }
  if (opcode_ != Opcode::Continuation) {
    isInMessage_ = true;
    isText_ = opcode_ == Opcode::Text;
    inPlace_ = {};
    message_.clear();
    utf8_.restart();
  }
  return payloadLeft_ > limit_ - message_.size() ? close_codes::kTooBig : 0;
}

// ---- Control frames

FrameReader::Event FrameReader::takeControl(std::string_view& bytes) {
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(payloadLeft_, bytes.size()));
  std::copy_n(bytes.data(), count, control_.data() + controlSize_);
  controlSize_ += count;
  payloadLeft_ -= count;
  bytes.remove_prefix(count);
  return payloadLeft_ > 0 ? Event::NeedsMore : finishControl();
}

FrameReader::Event FrameReader::finishControl() {
  step_ = Step::Head;
  if (opcode_ == Opcode::Close) return finishClose();
  return opcode_ == Opcode::Ping ? Event::Ping : Event::Pong;
}

FrameReader::Event FrameReader::finishClose() {
  const std::string_view payload = controlPayload();
  if (payload.empty()) return finish(Event::Close, {close_codes::kNone, {}, close_codes::kNormal});
  if (payload.size() == 1) return finish(Event::Fault, {0, {}, close_codes::kProtocolError});
  const int code = static_cast<unsigned char>(payload[0]) << 8 | static_cast<unsigned char>(payload[1]);
  const std::string_view reason = payload.substr(2);
  if (!close_codes::isAllowed(code) || !isUtf8(reason)) {
    return finish(Event::Fault, {code, {}, close_codes::kProtocolError});
  }
  return finish(Event::Close, {code, reason, close_codes::kNormal});
}

// ---- Messages

FrameReader::Event FrameReader::takeData(std::string_view& bytes) {
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(payloadLeft_, bytes.size()));
  const std::string_view piece = bytes.substr(0, count);
  bytes.remove_prefix(count);
  payloadLeft_ -= count;
  const bool isFrameDone = payloadLeft_ == 0;
  if (isFrameDone) step_ = Step::Head;
  if (isFrameDone && isLast_ && message_.empty()) return finishInPlace(piece);
  if (!append(piece)) return finish(Event::Fault, {0, {}, close_codes::kTooBig});
  if (isText_ && !utf8_.goOn(message_)) return finish(Event::Fault, {0, {}, close_codes::kBadPayload});
  return isFrameDone && isLast_ ? finishMessage() : Event::NeedsMore;
}

FrameReader::Event FrameReader::finishInPlace(std::string_view message) {
  if (isText_ && !isUtf8(message)) return finish(Event::Fault, {0, {}, close_codes::kBadPayload});
  inPlace_ = message;
  isInMessage_ = false;
  return isText_ ? Event::Text : Event::Binary;
}

/// False when there is no memory for it.
bool FrameReader::append(std::string_view piece) try {
  const std::size_t promised = message_.size() + piece.size() + static_cast<std::size_t>(payloadLeft_);
  if (message_.size() >= kTrustedSize && message_.capacity() < promised) message_.reserve(promised);
  message_.append(piece);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

FrameReader::Event FrameReader::finishMessage() {
  if (isText_ && !utf8_.isWhole(message_)) return finish(Event::Fault, {0, {}, close_codes::kBadPayload});
  isInMessage_ = false;
  return isText_ ? Event::Text : Event::Binary;
}

std::string FrameReader::takeMessage() {
  if (!inPlace_.empty()) return std::string(std::exchange(inPlace_, {}));
  if (message_.size() > kCopiedSize) return std::exchange(message_, {});
  std::string copy(message_);
  message_.clear();
  return copy;
}

}  // namespace orv
