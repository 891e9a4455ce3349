#pragma once

namespace orv::cli {

/// What the program tells its caller.
enum class ExitCode : int {
  Success = 0,
  WrongUse = 1,  ///< wrong arguments, or the answer could not be written
  Refused = 2,   ///< the server's reply has another "ret" than 0
  NoReply = 3,   ///< time-out, no link, or interrupted
};

/// Of several requests the one that the caller should know first: wrong use, then no reply, then a
/// refusal.
constexpr ExitCode worse(ExitCode a, ExitCode b) {
  constexpr auto weight = [](ExitCode code) {
    switch (code) {
      case ExitCode::Success:
        return 0;
      case ExitCode::Refused:
        return 1;
      case ExitCode::NoReply:
        return 2;
      case ExitCode::WrongUse:
        return 3;
    }
    return 3;
  };
  return weight(a) < weight(b) ? b : a;
}

}  // namespace orv::cli
