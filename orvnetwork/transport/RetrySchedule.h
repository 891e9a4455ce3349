#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// Pauses between automatic attempts to reconnect, in seconds: before the second attempt after a failure, before the
/// third, and before each that follows.
/// The steady clock counts. When the network becomes reachable again, an attempt is made at once, whatever pause runs.
inline constexpr double kAutoReconnectTimeout_First = 5.0;
inline constexpr double kAutoReconnectTimeout_Second = 15.0;
inline constexpr double kAutoReconnectTimeout_Loop = 30.0;

/// How much time lies between two attempts at least, in seconds: `QXWebSocketMgr::reconnect` does nothing before.
inline constexpr double kReconnectPause = 1.5;

/// What follows a failure of the link: an attempt at once, or one after the pause of that name.
/// Each of the three pauses has a timer of its own in `QXWebSocketMgr`.
enum class RetryStep { Immediate, First, Second, Loop };

/// The step after a failure, by the number of automatic attempts since the link was last up: at once, after
/// 5 s, after 15 s, and from then on every 30 s without end. Any thread.
/// @param attempts the one that has just failed included, if it was an automatic one
/// @return which step; never none, since there is no last attempt
///
///     retryStepAfter(0)   // Immediate: no automatic attempt since the link was last up
///     retryStepAfter(1)   // First: 5 s
///     retryStepAfter(2)   // Second: 15 s
///     retryStepAfter(3)   // Loop: 30 s, as for every number above
constexpr RetryStep retryStepAfter(std::int64_t attempts) {
  switch (attempts) {
    case 0:
      return RetryStep::Immediate;
    case 1:
      return RetryStep::First;
    case 2:
      return RetryStep::Second;
    default:
      return RetryStep::Loop;
  }
}

}  // namespace orv
