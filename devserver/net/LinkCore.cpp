#include "devserver/net/LinkCore.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>

#include <chrono>
#include <utility>

namespace orv::devserver {

namespace {

constexpr std::size_t kReadSize = 32u << 10;
/// Output of this size goes out without waiting for more to join it.
constexpr std::size_t kGatherSize = 64u << 10;
/// A buffer larger than this is given back once it is empty.
constexpr std::size_t kKeptCapacity = 1u << 20;
constexpr std::chrono::seconds kLingerTime{2};

/// A socket for both kinds of addresses tells one of the old kind in a form of its own (::ffff:127.0.0.1).
net::ip::address inItsOwnForm(const net::ip::address& address) {
  if (!address.is_v6() || !address.to_v6().is_v4_mapped()) return address;
  return net::ip::make_address_v4(net::ip::v4_mapped, address.to_v6());
}

}  // namespace

LinkCore::LinkCore(Socket socket, net::ssl::context* tls, WireFaults& faults, std::size_t maxQueuedBytes)
    : socket_(std::move(socket)),
      faults_(faults),
      maxQueued_(maxQueuedBytes),
      lingering_(socket_.get_executor()) {
  if (tls != nullptr) tls_.emplace(socket_, *tls);
  error_code ignored;
  socket_.set_option(net::ip::tcp::no_delay(true), ignored);
}

bool LinkCore::fromThisMachine() const {
  error_code error;
  const auto peer = socket_.remote_endpoint(error);
  return !error && inItsOwnForm(peer.address()).is_loopback();
}

std::string LinkCore::reachedAt() const {
  error_code error;
  const auto here = socket_.local_endpoint(error);
  return error ? std::string() : inItsOwnForm(here.address()).to_string();
}

void LinkCore::handshake(Done done) {
  if (!tls_) return done({});
  tls_->async_handshake(net::ssl::stream_base::server, [self = shared_from_this(), done = std::move(done)](
                                                           error_code error) { done(error); });
}

void LinkCore::unread(std::string_view bytes) {
  std::vector<char> joined(bytes.begin(), bytes.end());
  joined.insert(joined.end(), input().begin(), input().end());
  inFirst_ = 0;
  inLast_ = joined.size();
  in_ = std::move(joined);
}

void LinkCore::awaitInput(std::unique_ptr<Waiter> waiter) {
  waiter_ = std::move(waiter);
  flush();
  if (!reading_) read();
}

void LinkCore::read() {
  in_.resize(kReadSize);
  inFirst_ = inLast_ = 0;
  reading_ = true;
  auto done = [self = shared_from_this()](error_code error, std::size_t size) { self->onRead(error, size); };
  if (tls_) {
    tls_->async_read_some(net::buffer(in_), std::move(done));
  } else {
    socket_.async_read_some(net::buffer(in_), std::move(done));
  }
}

void LinkCore::onRead(error_code error, std::size_t size) {
  reading_ = false;
  if (finishing_) {  // the bytes have no reader any more
    if (outputEnded_) error ? close() : drain();
    return;
  }
  if (error) return endInput(error);
  inLast_ = size;
  wake();
}

void LinkCore::endInput(error_code error) {
  if (!inputEnd_) inputEnd_ = error;
  wake();
}

void LinkCore::endInputLater(error_code error) {
  inFirst_ = inLast_ = 0;
  if (!inputEnd_) inputEnd_ = error;
  // The waiter's owner may be in the middle of a call of ours.
  if (waiter_) net::post(executor(), [self = shared_from_this()] { self->wake(); });
}

void LinkCore::abandon() {
  close();
  waiter_.reset();
}

void LinkCore::wake() {
  if (auto waiter = std::exchange(waiter_, nullptr)) waiter->ready();
}

void LinkCore::write(std::string_view head, std::string_view body) {
  if (ended()) return;
  if (waiting() + head.size() + body.size() > maxQueued_) {
    if (onOverflow_) onOverflow_();
    return reset();
  }
  out_.append(head);
  out_.append(body);
  if (writing_) return;
  if (out_.size() >= kGatherSize) return flush();
  if ((reading_ || inputEnd_) && !flushPosted_) {
    flushPosted_ = true;
    net::post(executor(), [self = shared_from_this()] {
      self->flushPosted_ = false;
      self->flush();
    });
  }
}

void LinkCore::flush() {
  if (writing_ || closed_ || outputEnded_) return;
  if (out_.empty()) {
    if (finishing_) endOutput();
    return;
  }
  std::swap(out_, sending_);
  sent_ = 0;
  writing_ = true;
  writeSome();
}

void LinkCore::writeSome() {
  std::size_t size = sending_.size() - sent_;
  if (exposed_) size = faults_.allowance(meter_, size);
  if (size == 0) {
    faults_.spendCut();
    writing_ = false;
    sending_.clear();
    out_.clear();
    sent_ = 0;
    return finishing_ ? endOutput() : finish(false);
  }
  auto done = [self = shared_from_this()](error_code error, std::size_t written) {
    self->onWritten(error, written);
  };
  const auto bytes = net::buffer(sending_.data() + sent_, size);
  if (tls_) {
    tls_->async_write_some(bytes, std::move(done));
  } else {
    socket_.async_write_some(bytes, std::move(done));
  }
}

void LinkCore::onWritten(error_code error, std::size_t size) {
  if (closed_) return;
  if (error) return close();
  sent_ += size;
  meter_.sent += size;
  if (sent_ < sending_.size()) return writeSome();
  writing_ = false;
  sending_.clear();
  sent_ = 0;
  if (sending_.capacity() > kKeptCapacity) sending_.shrink_to_fit();
  flush();
  if (!writing_ && onDrained_) onDrained_();
}

void LinkCore::finish(bool goodbye) {
  if (ended()) return;
  finishing_ = true;
  goodbye_ = goodbye;
  lingering_.expires_after(kLingerTime);
  lingering_.async_wait([weak = weak_from_this()](error_code error) {
    if (error) return;
    if (auto self = weak.lock()) self->close();
  });
  flush();
  endInputLater(net::error::eof);
}

void LinkCore::endOutput() {
  outputEnded_ = true;
  auto end = [self = shared_from_this()](error_code) {
    error_code ignored;
    self->socket_.shutdown(Socket::shutdown_send, ignored);
    if (!self->reading_) self->drain();
  };
  if (tls_ && goodbye_ && !reading_) {
    tls_->async_shutdown(std::move(end));
  } else {
    end({});
  }
}

void LinkCore::drain() {
  if (closed_) return;
  // Past the end of TLS the raw bytes mean nothing; they are only waited out.
  in_.resize(kReadSize);
  reading_ = true;
  socket_.async_read_some(net::buffer(in_), [self = shared_from_this()](error_code error, std::size_t) {
    self->reading_ = false;
    error ? self->close() : self->drain();
  });
}

void LinkCore::reset() {
  if (closed_) return;
  error_code ignored;
  socket_.set_option(net::socket_base::linger(true, 0), ignored);
  close();
}

void LinkCore::close() {
  if (closed_) return;
  closed_ = true;
  error_code ignored;
  socket_.close(ignored);
  lingering_.cancel();
  out_ = {};
  endInputLater(net::error::operation_aborted);
}

}  // namespace orv::devserver
