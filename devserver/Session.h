#pragma once

#include <string>

namespace orv::devserver {

/// Who has signed in on one connection. Lives on the server's I/O thread.
struct Session {
  std::string uID;    ///< user id; empty: nobody has signed in
  std::string token;  ///< the token that the session stands on

  bool open() const { return !uID.empty(); }
};

}  // namespace orv::devserver
