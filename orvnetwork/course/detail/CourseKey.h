#pragma once

#include <orvnetwork/data/LooseRead.h>

#include <string>
#include <string_view>

namespace orv {

/// The key of a course in every list, cache and file name: its room's identifier in decimal.
inline std::string courseKey(std::int64_t roomID) {
  return std::to_string(roomID);
}

/// The room that a key names: its leading integer, 0 when there is none.
inline std::int64_t roomIDOfKey(std::string_view key) {
  return int64FromText(key);
}

/// The entry of a local course in the queue that local and recorded courses share.
inline std::string localQueueKey(std::string_view key) {
  return std::string("l-").append(key);
}

/// The entry of a recorded course in that queue.
inline std::string cloudQueueKey(std::string_view key) {
  return std::string("c-").append(key);
}

/// The course key of an entry: what stands behind its last "-", so that the sign of a negative room is lost;
/// the whole entry when there is none.
inline std::string_view courseKeyOfQueueKey(std::string_view queueKey) {
  return queueKey.substr(queueKey.rfind('-') + 1);
}

}  // namespace orv
