#include "orvnetwork/platform/native/websocket/GatheringStream.h"

#include <boost/asio/ssl/error.hpp>

#include <algorithm>
#include <cstring>
#include <string>

namespace orv {

namespace {

/// What the protocol library accepts; a longer header is an error there.
constexpr std::size_t kLongestHeaderThatIsRead = 8000;

}  // namespace

// ---- Output

void GatheringStream::flush() {
  if (writing_ || writeError_) return;
  if (gathered_.empty()) {
    if (parting_) endOurSide();
    return;
  }
  gathered_.swap(leaving_);
  left_ = 0;
  writing_ = true;
  writeOn();
}

void GatheringStream::flushSoon() {
  if (flushPosted_) return;
  flushPosted_ = true;
  asio::post(get_executor(), [this, alive = owner_.keepAlive()] {
    flushPosted_ = false;
    flush();
  });
}

void GatheringStream::writeOn() {
  onLowest([this](auto& stream) {
    stream.async_write_some(asio::const_buffer(leaving_.data() + left_, leaving_.size() - left_),
                            [this, alive = owner_.keepAlive()](const error_code& error, std::size_t size) {
                              onWritten(error, size);
                            });
  });
}

void GatheringStream::onWritten(const error_code& error, std::size_t size) {
  left_ += size;
  sentBytes_ += size;
  if (!error && left_ < leaving_.size()) return writeOn();
  writing_ = false;
  leaving_.clear();
  if (leaving_.capacity() > kKeptOutput) leaving_.shrink_to_fit();
  if (error) {
    writeError_ = error;
    gathered_.clear();
    releaseHeldWrite();
    return owner_.outputFailed(error);
  }
  if (gathered_.size() <= kHighWater) releaseHeldWrite();
  owner_.outputDrained();
  flush();
}

void GatheringStream::releaseHeldWrite() {
  if (heldWrite_) asio::post(get_executor(), std::move(heldWrite_));
}

// ---- Input

void GatheringStream::readMore() {
  readsDirectly_ = readyBytes() == 0 && gate_.state() == HandshakeGate::State::Passed &&
                   readInto_.size() >= kReadBufferSize;
  if (!readsDirectly_ && in_.empty()) in_.resize(kReadBufferSize);
  const asio::mutable_buffer into =
      readsDirectly_ ? readInto_ : asio::mutable_buffer(in_.data() + inEnd_, in_.size() - inEnd_);
  onLowest([this, into](auto& stream) {
    stream.async_read_some(into, [this, alive = owner_.keepAlive()](
                                     const error_code& error, std::size_t size) { onRead(error, size); });
  });
}

void GatheringStream::onRead(error_code error, std::size_t size) {
  if (error == asio::ssl::error::stream_truncated) error = asio::error::eof;
  if (error) {
    sawEnd_ = error == asio::error::eof;
    return endRead(error, 0);
  }
  if (readsDirectly_) {
    closeFrames_.feed(readInto_.data(), size);
    return endRead({}, size);
  }
  inEnd_ += size;
  switch (gate_.look({in_.data(), inEnd_})) {
    case HandshakeGate::State::Waiting:
      return readMore();
    case HandshakeGate::State::Refused:
      return endRead(asio::error::connection_refused, 0);
    case HandshakeGate::State::Passed:
      shortenHeader();
      return endRead({}, takeReady(readInto_));
  }
}

/// The protocol library takes headers of half the length that passes; of a long one it gets the lines that it reads.
void GatheringStream::shortenHeader() {
  const std::size_t size = gate_.headerLeft();
  if (size <= kLongestHeaderThatIsRead) return;
  const std::string shorter = linesOfHandshake({in_.data(), size});
  const std::size_t gone = size - shorter.size();
  std::memcpy(in_.data() + gone, shorter.data(), shorter.size());
  inBegin_ = gone;
  gate_.headerUsed(gone);
}

std::size_t GatheringStream::takeReady(asio::mutable_buffer into) {
  std::size_t size = std::min(into.size(), inEnd_ - inBegin_);
  if (size == 0) return 0;
  // The header's end is the end of a read: what follows are frames.
  const bool inHeader = gate_.headerLeft() > 0;
  if (inHeader) size = std::min(size, gate_.headerLeft());
  std::memcpy(into.data(), in_.data() + inBegin_, size);
  if (inHeader) {
    gate_.headerUsed(size);
  } else {
    closeFrames_.feed(into.data(), size);
  }
  inBegin_ += size;
  if (inBegin_ == inEnd_) inBegin_ = inEnd_ = 0;
  return size;
}

void GatheringStream::endRead(const error_code& error, std::size_t size) {
  readError_ = error;
  readSize_ = size;
  Task done = std::move(reading_);
  done();
}

// ---- The end

void GatheringStream::part() {
  parting_ = true;
  if (writeError_) return owner_.partingEnded();
  flush();
}

void GatheringStream::endOurSide() {
  if (std::exchange(ourSideEnded_, true)) return;
  if (!tls_) return discardInput();
  tls_->async_shutdown([this, alive = owner_.keepAlive()](const error_code&) { discardInput(); });
}

void GatheringStream::discardInput() {
  error_code error;
  socket_.shutdown(Socket::shutdown_send, error);
  if (in_.empty()) in_.resize(kReadBufferSize);
  socket_.async_read_some(asio::buffer(in_),
                          [this, alive = owner_.keepAlive()](const error_code& end, std::size_t) {
                            if (end) return owner_.partingEnded();
                            discardInput();
                          });
}

void GatheringStream::cancel() {
  error_code ignored;
  socket_.close(ignored);
  writeError_ = asio::error::operation_aborted;
  gathered_.clear();
  releaseHeldWrite();
}

}  // namespace orv
