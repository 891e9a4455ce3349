#pragma once

// The bytes of one connection on their way out and in. Out: frames are gathered and leave together; after the close
// frame (`sealWith`) nothing follows. In: a read takes as much as has come, and the owner uses it up frame by frame. At the
// end both sides are shut down in order.

#include <orvnetwork/platform/native/websocket/codec/ByteBuffer.h>
#include <orvnetwork/platform/native/websocket/codec/Opcode.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

namespace asio = boost::asio;
using boost::system::error_code;

/// The stream below the WebSocket protocol, plain or TLS.
///
/// What is sent is gathered: it goes into a buffer, which leaves in one system call with `flush`. What is read comes through
/// a buffer too, so that many small frames cost one system call.
///
/// Input and the end belong to the network thread. Output belongs to whoever has the right to write: the network thread, or
/// for a moment, over plain TCP, another one that gathers and calls `writeNow`.
class GatheringStream {
 public:
  using Socket = asio::basic_stream_socket<asio::ip::tcp, asio::io_context::executor_type>;

  /// Who uses the stream.
  class Owner {
   public:
    /// `read` has come to its end: there is more `input`.
    virtual void inputCame() = 0;
    /// `read` has come to its end: nothing more will come.
    virtual void inputEnded(const error_code& error) = 0;
    /// All that left together has left; there may be more that was gathered since.
    virtual void outputDrained() = 0;
    /// Writing failed; nothing more will be written.
    virtual void outputFailed(const error_code& error) = 0;
    /// The stream was shut down and the peer has ended its side, or cannot be waited for.
    virtual void partingEnded() = 0;
    /// What keeps the stream alive; every operation under way holds one.
    virtual std::shared_ptr<void> keepAlive() = 0;

   protected:
    ~Owner() = default;
  };

  /// The owner should hold further output back while more than this is gathered.
  static constexpr std::size_t kHighWater = std::size_t{256} << 10;

  GatheringStream(asio::io_context& context, Owner& owner) : owner_(owner), socket_(context) {}
  GatheringStream(const GatheringStream&) = delete;
  GatheringStream& operator=(const GatheringStream&) = delete;

  Socket& socket() { return socket_; }

  /// Puts TLS on the connected socket and takes the session over; `done` gets the outcome as an error code.
  template <typename Done>
  void startTls(SSL* session, Done&& done) {
    tls_.emplace(socket_, session);
    tls_->async_handshake(asio::ssl::stream_base::client, std::forward<Done>(done));
  }
  const SSL* tlsSession() { return tls_ ? tls_->native_handle() : nullptr; }

  // ---- Output

  /// Gathers bytes as they are.
  void gather(std::string_view bytes);
  /// Gathers a masked frame. Nothing is gathered behind the last frame or after a failure.
  void gather(Opcode opcode, std::string_view payload);
  /// Gathers the last frame, a close frame with this code.
  void sealWith(int closeCode);
  /// Writes what was gathered, unless a write is under way: then it follows that one.
  void flush();

  /// Writes what was gathered on the calling thread, as much as the system takes without waiting. Plain TCP only, while no
  /// write is under way. Tells nobody of a failure.
  void writeNow();
  /// Goes on with what `writeNow` has left, or tells of its failure. On the network thread, once after it.
  void goOn();
  /// All has left, and more may follow.
  bool isIdle() const { return gathered_.empty() && !writing_ && takesOutput(); }

  /// The last frame has left.
  bool isSealedAndSent() const { return sealed_ && gathered_.empty() && !writing_; }
  std::size_t gatheredBytes() const { return gathered_.size(); }
  std::uint64_t sentBytes() const { return sentBytes_; }

  // ---- Input

  /// Waits for more input, beside what was not used. One read at a time.
  void read();
  /// What has come and was not used. It stays where it is until the next `read`.
  std::string_view input() const { return {in_.data() + inBegin_, inEnd_ - inBegin_}; }
  /// The first bytes of the input are not needed any more.
  void used(std::size_t size) { inBegin_ += size; }
  /// The peer ended the stream.
  bool sawEnd() const { return sawEnd_; }

  // ---- The end

  /// Says goodbye once the output has left: ends our side and throws away what still comes until the peer
  /// ends its own, so that the peer gets our last frame even if it sends meanwhile. No read may be under way.
  void part();

  /// Closes the socket; operations under way end with an error.
  void cancel();

 private:
  static constexpr std::size_t kReadBufferSize = std::size_t{64} << 10;
  static constexpr std::size_t kKeptOutput = std::size_t{1} << 20;

  /// Runs `operation` (with a handler) on the TLS stream or on the bare socket.
  template <typename Operation>
  void onLowest(Operation&& operation) {
    if (tls_) {
      operation(*tls_);
    } else {
      operation(socket_);
    }
  }

  bool takesOutput() const { return !sealed_ && !writeError_; }
  void writeOn();
  void onWritten(const error_code& error, std::size_t size);
  void onRead(const error_code& error, std::size_t size);
  void endOurSide();
  void discardInput();

  Owner& owner_;
  Socket socket_;
  std::optional<asio::ssl::stream<Socket&>> tls_;

  ByteBuffer gathered_;
  ByteBuffer leaving_;  // being written; the first `left_` bytes have gone
  std::size_t left_ = 0;
  std::uint64_t sentBytes_ = 0;
  error_code writeError_;
  error_code errorOfNow_;  // of `writeNow`, until it is told
  bool writing_ = false;
  bool sealed_ = false;
  bool parting_ = false;
  bool ourSideEnded_ = false;

  std::vector<char> in_;  // bytes from inBegin_ to inEnd_ have come and were not used yet
  std::size_t inBegin_ = 0;
  std::size_t inEnd_ = 0;
  bool sawEnd_ = false;
};

}  // namespace orv
