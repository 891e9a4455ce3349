#pragma once

// The bytes of one connection on their way out and in. Out: frames are gathered and leave together; after the close
// frame (`sealWith`) nothing follows. In: nothing passes before the handshake's answer is whole (HandshakeGate), and
// the frames that pass are watched for the peer's close code (CloseFrameWatcher). At the end both sides are shut
// down in order.

#include <orvnetwork/data/Task.h>
#include <orvnetwork/platform/native/websocket/CloseFrameWatcher.h>
#include <orvnetwork/platform/native/websocket/HandshakeGate.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/websocket/teardown.hpp>
#include <boost/system/system_error.hpp>

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace orv {

namespace asio = boost::asio;
using boost::system::error_code;

/// The stream below the WebSocket protocol, plain or TLS.
///
/// What is written is gathered: it goes into a buffer and counts as written, and the buffer leaves in one
/// system call when `flush` is called or, for what the protocol writes by itself, when the event loop comes
/// round. What is read comes through a buffer too, so that many small frames cost one system call.
///
/// All operations belong to the network thread.
class GatheringStream {
 public:
  using executor_type = asio::io_context::executor_type;
  using Socket = asio::basic_stream_socket<asio::ip::tcp, executor_type>;

  /// Who uses the stream.
  class Owner {
   public:
    /// All that was gathered has left.
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

  executor_type get_executor() { return socket_.get_executor(); }
  Socket& socket() { return socket_; }

  /// Puts TLS on the connected socket and takes the session over; `done` gets the outcome as an error code.
  template <typename Done>
  void startTls(SSL* session, Done&& done) {
    tls_.emplace(socket_, session);
    tls_->async_handshake(asio::ssl::stream_base::client, std::forward<Done>(done));
  }
  const SSL* tlsSession() { return tls_ ? tls_->native_handle() : nullptr; }

  /// Writes what was gathered, unless a write is under way: then it follows that one.
  void flush();

  /// Gathers a last frame; whatever is written after it is thrown away.
  void sealWith(std::string_view lastFrame) {
    if (sealed_) return;
    gather(asio::const_buffer(lastFrame.data(), lastFrame.size()));
    sealed_ = true;
  }
  /// The last frame has left.
  bool isSealedAndSent() const { return sealed_ && gathered_.empty() && !writing_; }
  std::size_t gatheredBytes() const { return gathered_.size(); }
  std::uint64_t sentBytes() const { return sentBytes_; }

  /// How the server answered the handshake.
  const HandshakeGate& gate() const { return gate_; }
  /// The peer ended the stream.
  bool sawEnd() const { return sawEnd_; }
  /// The code in the last close frame that came, as it stood there; 0 for none.
  int lastCloseCode() const { return closeFrames_.code(); }

  /// Says goodbye once the output has left: ends our side and throws away what still comes until the peer
  /// ends its own, so that the peer gets our last frame even if it sends meanwhile. No read may be under way.
  void part();

  /// Closes the socket; operations under way end with an error.
  void cancel();

  // What the protocol library asks of a stream.

  template <typename Buffers, typename Handler>
  auto async_read_some(const Buffers& buffers, Handler&& handler) {
    return asio::async_initiate<Handler, void(error_code, std::size_t)>(
        [this](auto&& completion, const Buffers& into) {
          beginRead(firstOf(into), std::forward<decltype(completion)>(completion));
        },
        handler, buffers);
  }

  template <typename Buffers, typename Handler>
  auto async_write_some(const Buffers& buffers, Handler&& handler) {
    return asio::async_initiate<Handler, void(error_code, std::size_t)>(
        [this](auto&& completion, const Buffers& from) {
          error_code error;
          const std::size_t size = write_some(from, error);
          flushSoon();
          complete(std::forward<decltype(completion)>(completion), error, size);
        },
        handler, buffers);
  }

  /// Never blocks: it gathers.
  template <typename Buffers>
  std::size_t write_some(const Buffers& buffers, error_code& error) {
    error = writeError_;
    if (error) return 0;
    std::size_t size = 0;
    for (auto at = asio::buffer_sequence_begin(buffers); at != asio::buffer_sequence_end(buffers); ++at) {
      const asio::const_buffer buffer = *at;
      gather(buffer);
      size += buffer.size();
    }
    return size;
  }
  template <typename Buffers>
  std::size_t write_some(const Buffers& buffers) {
    error_code error;
    const std::size_t size = write_some(buffers, error);
    if (error) throw boost::system::system_error(error, "write_some");
    return size;
  }

  /// There is no reading without waiting; these stand here because the library looks for them.
  template <typename Buffers>
  std::size_t read_some(const Buffers&, error_code& error) {
    error = asio::error::operation_not_supported;
    return 0;
  }
  template <typename Buffers>
  std::size_t read_some(const Buffers&) {
    throw boost::system::system_error(asio::error::operation_not_supported, "read_some");
  }

  friend void beast_close_socket(GatheringStream& stream) { stream.cancel(); }

  /// The owner ends the connection itself; the protocol library has nothing left to do.
  template <typename Handler>
  friend void async_teardown(boost::beast::role_type, GatheringStream& stream, Handler&& handler) {
    asio::post(stream.get_executor(),
               [done = std::forward<Handler>(handler)]() mutable { std::move(done)(error_code()); });
  }

 private:
  static constexpr std::size_t kReadBufferSize = std::size_t{64} << 10;
  static constexpr std::size_t kKeptOutput = std::size_t{1} << 20;

  template <typename Buffers>
  static asio::mutable_buffer firstOf(const Buffers& buffers) {
    for (auto at = asio::buffer_sequence_begin(buffers); at != asio::buffer_sequence_end(buffers); ++at) {
      if (const asio::mutable_buffer buffer = *at; buffer.size() > 0) return buffer;
    }
    return {};
  }

  template <typename Handler>
  void beginRead(asio::mutable_buffer into, Handler&& handler) {
    if (into.size() == 0 || readyBytes() > 0) {
      const std::size_t size = takeReady(into);
      asio::post(get_executor(), [done = std::forward<Handler>(handler), size]() mutable {
        std::move(done)(error_code(), size);
      });
      return;
    }
    reading_ = Task(
        [this, done = std::forward<Handler>(handler)]() mutable { std::move(done)(readError_, readSize_); });
    readInto_ = into;
    readMore();
  }

  /// Ends a write of the protocol library: at once, or when the output has left if much is gathered, so that
  /// a peer that asks for answers and does not read them cannot make us take memory without bound.
  template <typename Handler>
  void complete(Handler&& handler, const error_code& error, std::size_t size) {
    auto completion = [done = std::forward<Handler>(handler), error, size]() mutable {
      std::move(done)(error, size);
    };
    if (!error && gathered_.size() > kHighWater) {
      heldWrite_ = Task(std::move(completion));
    } else {
      asio::post(get_executor(), std::move(completion));
    }
  }

  /// Runs `operation` (with a handler) on the TLS stream or on the bare socket.
  template <typename Operation>
  void onLowest(Operation&& operation) {
    if (tls_) {
      operation(*tls_);
    } else {
      operation(socket_);
    }
  }

  void gather(asio::const_buffer buffer) {
    if (sealed_) return;
    const auto* bytes = static_cast<const char*>(buffer.data());
    gathered_.insert(gathered_.end(), bytes, bytes + buffer.size());
  }
  void flushSoon();
  void releaseHeldWrite();
  void writeOn();
  void onWritten(const error_code& error, std::size_t size);

  std::size_t readyBytes() const {
    return gate_.state() == HandshakeGate::State::Passed ? inEnd_ - inBegin_ : 0;
  }
  std::size_t takeReady(asio::mutable_buffer into);
  void readMore();
  void shortenHeader();
  void onRead(error_code error, std::size_t size);
  void endRead(const error_code& error, std::size_t size);
  void endOurSide();
  void discardInput();

  Owner& owner_;
  Socket socket_;
  std::optional<asio::ssl::stream<Socket&>> tls_;

  std::vector<char> gathered_;
  std::vector<char> leaving_;  // being written; the first `left_` bytes have gone
  std::size_t left_ = 0;
  std::uint64_t sentBytes_ = 0;
  error_code writeError_;
  bool writing_ = false;
  bool flushPosted_ = false;
  bool sealed_ = false;
  bool parting_ = false;
  bool ourSideEnded_ = false;
  Task heldWrite_;

  HandshakeGate gate_;
  CloseFrameWatcher closeFrames_;
  std::vector<char> in_;  // bytes from inBegin_ to inEnd_ have come and were not asked for yet
  std::size_t inBegin_ = 0;
  std::size_t inEnd_ = 0;
  Task reading_;
  asio::mutable_buffer readInto_;
  bool readsDirectly_ = false;
  error_code readError_;
  std::size_t readSize_ = 0;
  bool sawEnd_ = false;
};

}  // namespace orv
