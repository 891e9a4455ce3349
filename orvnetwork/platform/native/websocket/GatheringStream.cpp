#include "orvnetwork/platform/native/websocket/GatheringStream.h"

#include <orvnetwork/platform/native/system/SystemRandom.h>
#include <orvnetwork/platform/native/websocket/codec/FrameWriter.h>

#include <boost/asio/ssl/error.hpp>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace orv {

// ---- Output

void GatheringStream::gather(std::string_view bytes) {
  if (takesOutput()) std::copy(bytes.begin(), bytes.end(), gathered_.extend(bytes.size()));
}

void GatheringStream::gather(Opcode opcode, std::string_view payload) {
  if (takesOutput()) appendFrame(gathered_, opcode, payload, systemRandom());
}

void GatheringStream::sealWith(int closeCode) {
  const std::array code = {static_cast<char>(closeCode >> 8), static_cast<char>(closeCode & 0xff)};
  gather(Opcode::Close, {code.data(), code.size()});
  sealed_ = true;
}

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

void GatheringStream::writeNow() {
  gathered_.swap(leaving_);
  left_ = 0;
  writing_ = true;
  while (left_ < leaving_.size()) {
    const auto count = ::send(socket_.native_handle(), leaving_.data() + left_, leaving_.size() - left_,
                              MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno != EAGAIN) errorOfNow_.assign(errno, boost::system::system_category());
    if (count < 0) return;
    left_ += static_cast<std::size_t>(count);
    sentBytes_ += static_cast<std::size_t>(count);
  }
  writing_ = false;
  leaving_.clear(kKeptOutput);
}

void GatheringStream::goOn() {
  if (!writing_) return;
  if (errorOfNow_) return onWritten(std::exchange(errorOfNow_, {}), 0);
  writeOn();
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
  leaving_.clear(kKeptOutput);
  if (error) {
    writeError_ = error;
    gathered_.clear();
    return owner_.outputFailed(error);
  }
  if (!gathered_.empty() || parting_) flush();
  // The last thing here: the owner may let others write.
  owner_.outputDrained();
}

// ---- Input

void GatheringStream::read() {
  if (in_.empty()) in_.resize(kReadBufferSize);
  // Only a part of the handshake's answer is ever moved, and only once: frames are used up before more is read.
  std::copy(in_.data() + inBegin_, in_.data() + inEnd_, in_.data());
  inEnd_ -= inBegin_;
  inBegin_ = 0;
  const asio::mutable_buffer into(in_.data() + inEnd_, in_.size() - inEnd_);
  onLowest([this, into](auto& stream) {
    stream.async_read_some(into, [this, alive = owner_.keepAlive()](
                                     const error_code& error, std::size_t size) { onRead(error, size); });
  });
}

void GatheringStream::onRead(const error_code& error, std::size_t size) {
  inEnd_ += size;
  if (!error) return owner_.inputCame();
  sawEnd_ = error == asio::error::eof || error == asio::ssl::error::stream_truncated;
  owner_.inputEnded(error);
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
}

}  // namespace orv
