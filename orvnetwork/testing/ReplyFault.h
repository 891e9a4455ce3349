#pragma once

#include <orvnetwork/data/Types.h>

namespace orv::testing {

/// What goes wrong with one reply of the simulated server.
struct ReplyFault {
  enum class Kind { None, Drop, Delay, Duplicate, Reorder, WrongTimestamp };

  Kind kind = Kind::None;
  Seconds delay{0};
  std::int64_t shift = 0;

  static ReplyFault none() { return {}; }
  /// It is never sent.
  static ReplyFault drop() { return {Kind::Drop, {}, 0}; }
  /// It is sent this much later.
  static ReplyFault late(Seconds delay) { return {Kind::Delay, delay, 0}; }
  /// It is sent twice.
  static ReplyFault duplicate() { return {Kind::Duplicate, {}, 0}; }
  /// It is held back until another reply of the same connection has been sent.
  static ReplyFault reorder() { return {Kind::Reorder, {}, 0}; }
  /// Its "s" is off by `shift`.
  static ReplyFault wrongTimestamp(std::int64_t shift = 1) { return {Kind::WrongTimestamp, {}, shift}; }
};

}  // namespace orv::testing
