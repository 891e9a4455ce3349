#pragma once

#include <orvnetwork/data/Types.h>

#include "cli/doctor/Finding.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv::cli::doctor {

/// The routes of this machine that lead out of it.
struct NetworkFacts {
  /// Names of the interfaces, such as "wlan0"; empty: no route.
  std::vector<std::string> narrow{};  ///< IPv4
  std::vector<std::string> wide{};    ///< IPv6
  /// Whether the server is on this machine, which needs none.
  bool isServerHere = false;
  /// Whether a connection to the server has come about, by a route to its own network.
  bool isServerReached = false;
};
Finding judgeNetwork(const NetworkFacts& facts);

/// The user who is stored, and what the server says of their session.
struct SignInFacts {
  enum class Stored { Nobody, Somebody, Damaged, Unreadable };
  Stored stored = Stored::Nobody;
  std::string userID{};
  /// "ret" of the reply; absent: none came.
  std::optional<std::int64_t> code{};
  /// What the server said.
  std::string words{};
  /// Whether it said, before or behind the reply, that another device has taken over.
  bool isTakenOver = false;
  double milliseconds = 0;
};
Finding judgeSession(const SignInFacts& facts);

/// The folder in which everything is kept.
struct HomeFacts {
  std::string folder{};
  bool exists = true;
  /// Whether files can be made there, or, where it is missing, where it would be made.
  bool isWritable = true;
  std::string user{};
  unsigned mode = 0700;
  /// What other users can change there, and what they can read though it is the library's alone.
  std::vector<std::string> writtenByOthers{};
  std::vector<std::string> readByOthers{};
  std::uint64_t freeBytes = 0;
  /// Files that were damaged and set aside, below the folder.
  std::vector<std::string> setAside{};
  /// Other programs that have files of it open: "4711 (classroom)".
  std::vector<std::string> usedBy{};
};
Finding judgeHome(const HomeFacts& facts);

struct LogFacts {
  std::string folder{};
  std::uint64_t bytes = 0;
  std::size_t files = 0;
};
Finding judgeLog(const LogFacts& facts);

}  // namespace orv::cli::doctor
