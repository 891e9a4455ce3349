#pragma once

// The frame heads of RFC 6455, section 5.2: two bytes, a length of 0, 2 or 8 more, a mask of 0 or 4, then the
// payload. The watcher reads along and changes nothing; bytes come cut anywhere. Of a close frame (opcode 8) the
// first two bytes of the payload, a number in network order, are the code.

#include <array>
#include <cstddef>
#include <cstdint>

namespace orv {

/// Follows the frame boundaries of an incoming WebSocket stream and remembers the code of the last close frame.
/// The protocol library keeps that code to itself when it refuses the frame, and the delegate is to be told.
class CloseFrameWatcher {
 public:
  /// Takes the next bytes of the stream, cut anywhere.
  void feed(const void* bytes, std::size_t size);

  /// The code of the last close frame, whatever its value; 0 when there was none, or no whole code in it.
  int code() const { return codeBytes_ == 2 ? code_ : 0; }

 private:
  std::size_t headerSize() const;
  void beginPayload();

  std::array<std::uint8_t, 14> header_{};
  std::size_t headerBytes_ = 0;
  std::uint64_t payloadLeft_ = 0;
  bool inCloseFrame_ = false;
  int code_ = 0;
  int codeBytes_ = 0;
};

}  // namespace orv
