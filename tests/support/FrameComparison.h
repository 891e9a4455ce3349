#pragma once

// The reader of frames beside the protocol library's: both get the same bytes and must tell the same. The library is fed
// from memory, behind a handshake that is real.

#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/platform/native/websocket/codec/FrameReader.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <boost/beast/websocket/teardown.hpp>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// The server's side of a connection, in memory: it agrees to the handshake and says what it was given.
class MemoryPeer {
 public:
  using executor_type = boost::asio::io_context::executor_type;
  using error_code = boost::system::error_code;

  explicit MemoryPeer(boost::asio::io_context& context) : context_(context) {}
  executor_type get_executor() { return context_.get_executor(); }

  /// From now on it says these bytes, in pieces.
  void say(std::string_view bytes, std::size_t piece) {
    left_ = bytes;
    piece_ = piece;
  }

  template <typename Buffers>
  std::size_t read_some(const Buffers& buffers, error_code& error) {
    if (piece_ == 0) return boost::asio::buffer_copy(buffers, boost::asio::buffer(agreement()));
    if (left_.empty()) {
      error = boost::asio::error::eof;
      return 0;
    }
    error = {};
    const std::size_t size =
        boost::asio::buffer_copy(buffers, boost::asio::buffer(left_.data(), std::min(piece_, left_.size())));
    left_.remove_prefix(size);
    return size;
  }
  template <typename Buffers>
  std::size_t write_some(const Buffers& buffers, error_code& error) {
    error = {};
    const std::size_t size = boost::asio::buffer_size(buffers);
    if (piece_ != 0) return size;
    request_.resize(request_.size() + size);
    boost::asio::buffer_copy(boost::asio::buffer(request_.data() + request_.size() - size, size), buffers);
    return size;
  }
  template <typename Buffers>
  std::size_t read_some(const Buffers& buffers) {
    error_code ignored;
    return read_some(buffers, ignored);
  }
  template <typename Buffers>
  std::size_t write_some(const Buffers& buffers) {
    error_code ignored;
    return write_some(buffers, ignored);
  }
  friend void teardown(boost::beast::role_type, MemoryPeer&, error_code& error) { error = {}; }
  friend void beast_close_socket(MemoryPeer&) {}

 private:
  std::string agreement() const {
    constexpr std::string_view kName = "Sec-WebSocket-Key: ";
    const std::size_t begin = request_.find(kName) + kName.size();
    const std::string key =
        request_.substr(begin, request_.find('\r', begin) - begin) + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    EVP_Digest(key.data(), key.size(), digest.data(), &size, EVP_sha1(), nullptr);
    std::array<unsigned char, 64> accepted{};
    EVP_EncodeBlock(accepted.data(), digest.data(), static_cast<int>(size));
    return std::string("HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n") +
           "Sec-WebSocket-Accept: " + reinterpret_cast<const char*>(accepted.data()) + "\r\n\r\n";
  }

  boost::asio::io_context& context_;
  std::string request_;
  std::string_view left_;
  std::size_t piece_ = 0;
};

/// How bytes are given to both readers, and how much they take.
struct FrameFeeding {
  std::size_t piece = 1;
  std::size_t limit = std::size_t{1} << 20;
};

/// What came of the bytes: a line for each event.
struct FrameEvents {
  std::vector<std::string> lines;
  std::size_t used = 0;  // how many bytes it took until the end; of the reader that is tested
  int told = 0;          // the code in the close frame; of the reader that is tested
};

inline FrameEvents readByUs(std::string_view bytes, const FrameFeeding& feeding) {
  using Event = FrameReader::Event;
  FrameEvents events;
  FrameReader reader(feeding.limit);
  for (std::size_t at = 0; at < bytes.size(); at += feeding.piece) {
    std::string_view left = bytes.substr(at, feeding.piece);
    for (auto event = reader.next(left); event != Event::NeedsMore; event = reader.next(left)) {
      const std::string control(reader.controlPayload());
      events.used = static_cast<std::size_t>(left.data() - bytes.data());
      if (event == Event::Text) events.lines.push_back("text " + reader.takeMessage());
      if (event == Event::Binary) events.lines.push_back("binary " + reader.takeMessage());
      if (event == Event::Ping) events.lines.push_back("ping " + control);
      if (event == Event::Pong) events.lines.push_back("pong " + control);
      if (event != Event::Close && event != Event::Fault) continue;
      const FrameReader::End& end = reader.end();
      events.told = end.code;
      events.lines.push_back(event == Event::Fault
                                 ? "fault " + std::to_string(end.answer)
                                 : "close " + std::to_string(end.code) + " " + std::string(end.reason));
      return events;
    }
  }
  return events;
}

inline std::string endOf(const boost::system::error_code& error,
                         const boost::beast::websocket::close_reason& reason) {
  namespace websocket = boost::beast::websocket;
  if (error == websocket::error::closed) {
    return "close " + std::to_string(reason.code == websocket::close_code::none ? 1005 : reason.code) + " " +
           std::string(reason.reason.data(), reason.reason.size());
  }
  if (error == websocket::error::message_too_big) return "fault 1009";
  return error == websocket::error::bad_frame_payload ? "fault 1007" : "fault 1002";
}

inline FrameEvents readByLibrary(std::string_view bytes, const FrameFeeding& feeding) {
  namespace websocket = boost::beast::websocket;
  static boost::asio::io_context context;
  FrameEvents events;
  websocket::stream<MemoryPeer, false> stream(context);
  boost::system::error_code error;
  stream.handshake("host", "/", error);
  if (error) return {{"no handshake: " + error.message()}};
  stream.next_layer().say(bytes, feeding.piece);
  stream.read_message_max(feeding.limit);
  stream.control_callback([&events](websocket::frame_type kind, boost::beast::string_view payload) {
    const std::string text(payload.data(), payload.size());
    if (kind == websocket::frame_type::ping) events.lines.push_back("ping " + text);
    if (kind == websocket::frame_type::pong) events.lines.push_back("pong " + text);
  });
  std::string message;
  std::array<char, 4096> part;
  while (true) {
    message.append(part.data(), stream.read_some(boost::asio::buffer(part), error));
    if (error) break;
    if (!stream.is_message_done()) continue;
    events.lines.push_back((stream.got_text() ? "text " : "binary ") + message);
    message.clear();
  }
  if (error != boost::asio::error::eof) events.lines.push_back(endOf(error, stream.reason()));
  return events;
}

/// Why the events differ at their end where they may, as three ways of reading the rules have it; empty where they may not.
///
/// 1. For us a peer may not send the codes 1012 and 1013, which were given out after the protocol was written, nor those
///    from 5000, which the protocol does not define (section 7.4.2). The library takes them.
/// 2. A length of eight bytes with the top bit set is a broken rule for us (section 5.2), too long a message for the library.
/// 3. A message whose last fragment is empty and which ends inside a character passes the library, which checks text
///    only when bytes come. It is not UTF-8, so it is a fault (section 8.1).
inline std::string_view allowedDifference(std::string_view bytes, const FrameEvents& ours,
                                          const std::string& theirs) {
  const std::string& fault = ours.lines.back();
  if (fault == "fault 1002" && (ours.told == 1012 || ours.told == 1013 || ours.told >= 5000)) return "code";
  const auto byteAt = [&](std::size_t fromEnd) {
    return static_cast<unsigned char>(bytes[ours.used - fromEnd]);
  };
  if (fault == "fault 1002" && theirs == "fault 1009" && ours.used >= 10 && byteAt(9) == 127 &&
      byteAt(8) >= 0x80) {
    return "top bit";
  }
  if (fault == "fault 1007" && theirs.starts_with("text ") && !isUtf8(std::string_view(theirs).substr(5)) &&
      byteAt(2) == 0x80 && byteAt(1) == 0) {
    return "empty end";
  }
  return {};
}

/// What is wrong; absent when both readers tell the same.
inline std::optional<std::string> compareFrameReaders(std::string_view bytes, const FrameFeeding& feeding) {
  const FrameEvents ours = readByUs(bytes, feeding);
  const FrameEvents whole = readByUs(bytes, {std::max<std::size_t>(bytes.size(), 1), feeding.limit});
  if (ours.lines != whole.lines) return "pieces make a difference";
  FrameEvents theirs = readByLibrary(bytes, feeding);
  const bool hasFault = !ours.lines.empty() && ours.lines.back().starts_with("fault");
  if (hasFault && theirs.lines.size() + 1 == ours.lines.size()) {
    // The library looks at a head when it is whole, and we when it is wrong. A head has 14 bytes at most.
    theirs = readByLibrary(std::string(bytes) + std::string(14, '\0'), feeding);
  }
  if (ours.lines == theirs.lines) return std::nullopt;
  const std::size_t last = ours.lines.size() - 1;
  if (hasFault && theirs.lines.size() > last &&
      std::equal(theirs.lines.begin(), theirs.lines.begin() + static_cast<std::ptrdiff_t>(last),
                 ours.lines.begin()) &&
      !allowedDifference(bytes, ours, theirs.lines[last]).empty()) {
    return std::nullopt;
  }
  std::string complaint = "ours:";
  for (const std::string& line : ours.lines) complaint += " [" + line.substr(0, 200) + "]";
  complaint += " theirs:";
  for (const std::string& line : theirs.lines) complaint += " [" + line.substr(0, 200) + "]";
  return complaint;
}

}  // namespace orv::test
