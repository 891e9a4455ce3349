#pragma once

#include <chrono>
#include <cstdint>
#include <set>
#include <string>

namespace orv::devserver {

/// Who has signed in on one connection, and where they are. Lives on the server's I/O thread.
struct Session {
  std::string uID;                                ///< user id; empty: nobody has signed in
  std::string token;                              ///< the token that the session stands on
  std::chrono::steady_clock::time_point since{};  ///< of the last sign-in
  std::set<std::int64_t> rooms{};                 ///< rooms that the connection has entered
  std::int64_t liveRoom = 0;                      ///< the room that the connection broadcasts from; 0: none

  std::string lastUser{};  ///< who was signed in before the session ended

  bool open() const { return !uID.empty(); }
  /// Ends the session; who signs in again finds the rooms as they were.
  void end() {
    if (open()) lastUser = uID;
    uID.clear();
    token.clear();
  }
};

}  // namespace orv::devserver
