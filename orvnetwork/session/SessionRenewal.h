#pragma once

#include <orvnetwork/data/Types.h>

#include <cstdint>

namespace orv {

/// How a renewal of the session has ended, for the user and the token that are stored. See
/// `QXUserInfoMgr::watchRenewals`.
struct SessionRenewal {
  enum class End {
    Renewed,     ///< the server knows the session; the user was brought up to date
    Refused,     ///< the server has refused
    Unanswered,  ///< no answer came
  };

  End end = End::Unanswered;
  /// "v"."ret" of the reply; 0 without one.
  std::int64_t code = 0;
  /// "v"."err" where it is a text.
  OptionalString error{};
  /// Whether the refusal has ended the refreshing of the session.
  bool isOver = false;
};

}  // namespace orv
