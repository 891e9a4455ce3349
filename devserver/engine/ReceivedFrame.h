#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace orv::devserver {

/// One frame as a client sent it.
struct ReceivedFrame {
  std::uint64_t sequence = 0;      ///< 1 for the first frame of the server object's life
  std::uint64_t connectionId = 0;  ///< the connection that it came on
  std::chrono::system_clock::time_point time;
  bool binary = false;  ///< a binary frame
  std::string text;     ///< the payload
};

}  // namespace orv::devserver
