#pragma once

// The bytes of one connection of the embedded server. Out: what is written in one turn of the event loop leaves
// together; byte-level faults (one-byte writes, a cut after so many bytes) bite here, before TLS. In: one read at a
// time. The end comes in order (`finish`: output, end of stream, two seconds for the peer) or by a reset; never
// twice.

#include "devserver/faults/WireFaults.h"

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::devserver {

namespace net = boost::asio;
using boost::system::error_code;
using Socket = net::basic_stream_socket<net::ip::tcp, net::io_context::executor_type>;
using Timer =
    net::basic_waitable_timer<std::chrono::steady_clock, net::wait_traits<std::chrono::steady_clock>,
                              net::io_context::executor_type>;

/// One TCP or TLS stream with a gathering output: what is written while input is still being worked off,
/// or while a write is under way, goes out in one piece. I/O thread only.
class LinkCore : public std::enable_shared_from_this<LinkCore> {
 public:
  using Done = std::function<void(error_code)>;

  /// Called once, when input or its end is there.
  class Waiter {
   public:
    virtual ~Waiter() = default;
    virtual void ready() = 0;
  };

  LinkCore(Socket socket, net::ssl::context* tls, WireFaults& faults, std::size_t maxQueuedBytes);

  net::io_context::executor_type executor() { return socket_.get_executor(); }
  /// True where the peer has a loopback address.
  bool fromThisMachine() const;
  /// The numeric address of this machine that the peer connected to.
  std::string reachedAt() const;
  /// The TLS handshake; succeeds at once where there is no TLS.
  void handshake(Done done);

  bool inputReady() const { return !input().empty() || inputEnd_; }
  std::string_view input() const { return {in_.data() + inFirst_, inLast_ - inFirst_}; }
  void consumeInput(std::size_t size) { inFirst_ += size; }
  /// Puts bytes back in front of the input.
  void unread(std::string_view bytes);
  /// Why no more input comes; no error while it may.
  error_code inputEnd() const { return inputEnd_; }
  /// Only where `inputReady()` is false. What waits for output goes out first.
  void awaitInput(std::unique_ptr<Waiter> waiter);

  /// Queues bytes, in one piece. The link is reset when more than the bound waits; then `onOverflow` has run.
  void write(std::string_view head, std::string_view body = {});
  void setOnOverflow(std::function<void()> callback) { onOverflow_ = std::move(callback); }
  /// Bytes that have been queued and not been taken by the socket.
  std::size_t waiting() const { return out_.size() + (sending_.size() - sent_); }
  /// Called whenever everything that was queued has been taken by the socket.
  void setOnDrained(std::function<void()> callback) { onDrained_ = std::move(callback); }
  /// Byte-level faults apply from now on.
  void exposeToFaults() { exposed_ = true; }

  /// Writes what waits and ends the stream; `goodbye`: with TLS's own end. The peer has two seconds to end
  /// its side.
  void finish(bool goodbye);
  /// Ends the stream by a reset.
  void reset();
  /// Closes the socket at once.
  void close();
  /// Closes the socket and forgets who waits for input, unasked; for the end of the server.
  void abandon();
  bool ended() const { return finishing_ || closed_; }

 private:
  void read();
  void onRead(error_code error, std::size_t size);
  void endInput(error_code error);
  void endInputLater(error_code error);
  void wake();
  void flush();
  void writeSome();
  void onWritten(error_code error, std::size_t size);
  void endOutput();
  void drain();

  Socket socket_;
  std::optional<net::ssl::stream<Socket&>> tls_;
  WireFaults& faults_;
  const std::size_t maxQueued_;
  WireFaults::Meter meter_;
  Timer lingering_;
  std::function<void()> onOverflow_;
  std::function<void()> onDrained_;

  std::vector<char> in_;
  std::size_t inFirst_ = 0, inLast_ = 0;
  error_code inputEnd_;
  std::unique_ptr<Waiter> waiter_;

  std::string out_, sending_;
  std::size_t sent_ = 0;
  bool reading_ = false, writing_ = false, flushPosted_ = false;
  bool exposed_ = false, finishing_ = false, goodbye_ = false, outputEnded_ = false, closed_ = false;
};

}  // namespace orv::devserver
