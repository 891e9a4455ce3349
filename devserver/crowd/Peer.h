#pragma once

#include "devserver/crowd/Session.h"
#include "devserver/faults/Cut.h"

#include <chrono>
#include <cstdint>
#include <string_view>

namespace orv::devserver {

/// One open WebSocket connection as the logic of the server sees it. I/O thread only.
class Peer {
 public:
  virtual ~Peer() = default;

  /// Sends one text frame. The bytes go out as they are, valid UTF-8 or not.
  virtual void sendText(std::string_view text) = 0;
  /// Sends one binary frame.
  virtual void sendBinary(std::string_view bytes) = 0;
  /// Puts bytes on the wire that need not be a frame at all.
  virtual void sendWire(std::string_view bytes) = 0;
  /// Ends the connection.
  virtual void cut(const Cut& cut) = 0;

  std::uint64_t id = 0;  ///< unique in the life of the server object
  std::chrono::system_clock::time_point since;
  Session session;
};

}  // namespace orv::devserver
