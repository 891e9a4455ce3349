#pragma once

#include <cstdint>
#include <string_view>

namespace orv {

/// Domain of the errors of `Client::start`.
inline constexpr std::string_view kClientErrorDomain = "OrvClient";

/// Why a `Client` did not start: the codes in the domain `kClientErrorDomain`. The description says it in words.
enum class ClientError : std::int64_t {
  BadServer = 1,        ///< the address of the server is none
  BadVersion = 2,       ///< version or build are missing, or are no plain text
  BadInstallation = 3,  ///< the identifier is no plain text, or the path of its file is not absolute
  BadHome = 4,          ///< the home is no folder and cannot be made
  HomeInUse = 5,        ///< the library works in another home already
  AlreadyStarted = 6,   ///< there is a client in this process
  WrongThread = 7,      ///< it was not called on the main thread
};

}  // namespace orv
