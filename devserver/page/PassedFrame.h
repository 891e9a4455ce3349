#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace orv::devserver {

/// One thing that passed between the server and a client, as the page shows it.
struct PassedFrame {
  enum class Kind {
    Opened,     ///< the connection began; not a frame
    Closed,     ///< the connection ended; not a frame
    Ping,       ///< "PING" from the client
    Request,    ///< a request that could be read
    Unread,     ///< a text frame of the client that was not looked into: the server is silent
    Malformed,  ///< a text frame of the client that is no request
    BinaryIn,   ///< a binary frame of the client
    Pong,       ///< the answer to "PING"
    Reply,      ///< the answer to a request
    Push,       ///< a text frame that nobody asked for
    BinaryOut,  ///< a binary frame of the server
    Wire,       ///< bytes between two frames
  };
  /// What a fault did to it; bits.
  enum Fault : unsigned {
    kDropped = 1,       ///< it did not go out
    kDelayed = 2,       ///< it waited
    kReordered = 4,     ///< it was held for the reverse order
    kCopy = 8,          ///< it is a further copy
    kWrongStamp = 16,   ///< its "s" is spoilt
    kErrorCode = 32,    ///< its code is not the command's own
    kUnanswered = 64,   ///< the server is silent
    kWrongAnswer = 128  ///< another answer to "PING"
  };
  /// Bytes of one frame that are kept; of a longer one only the beginning is shown.
  static constexpr std::size_t kMaxKept = 128u << 10;

  /// Bytes of a command that are kept; none that a server knows has so many.
  static constexpr std::size_t kMaxCommand = 200;

  std::uint64_t number = 0;  ///< 1 for the first one of the server object's life
  std::chrono::system_clock::time_point time;
  Kind kind{};
  std::uint64_t connection = 0;
  std::string user;     ///< who was signed in there; empty: nobody
  std::string command;  ///< of a request or reply, or its beginning; otherwise empty
  std::size_t size = 0;
  std::string bytes;                                      ///< the payload, or its beginning
  std::optional<int> code;                                ///< "ret" of a reply
  std::optional<std::chrono::microseconds> sinceRequest;  ///< of an answer
  unsigned faults = 0;

  bool incoming() const { return kind >= Kind::Ping && kind <= Kind::BinaryIn; }
};

}  // namespace orv::devserver
