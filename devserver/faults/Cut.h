#pragma once

#include <cstdint>
#include <string>

namespace orv::devserver {

/// How a connection is cut.
///
///     server.cut({.kind = orv::devserver::Cut::Kind::Close, .code = 1001, .reason = "going away"});
struct Cut {
  enum class Kind {
    Fin,    ///< TCP end of stream without a close frame
    Reset,  ///< TCP reset; output that is still waiting is lost
    Close,  ///< close frame, then the closing handshake
  };
  Kind kind = Kind::Fin;
  std::uint16_t code = 1000;  ///< close code; 0: a close frame without a body
  std::string reason{};       ///< at most 123 bytes of UTF-8
};

}  // namespace orv::devserver
