#pragma once

#include <orvnetwork/data/Types.h>

namespace orv::testing {

/// What goes wrong with one reply of the simulated server.
///
///     server.faultNextReply(ReplyFault::late(Seconds(11)));   // after the request's own limit of 10 s
///     server.setFaultChooser([random = SeededRandom(seed)](const json::object&) mutable {
///       return random.oneIn(5) ? ReplyFault::drop() : ReplyFault::none();
///     });
struct ReplyFault {
  /// One for each of the functions below; use those, since they fill in what belongs to the kind.
  enum class Kind { None, Drop, Delay, Duplicate, Reorder, WrongTimestamp };

  Kind kind = Kind::None;
  /// Of `Kind::Delay`: how much later the reply is sent, in virtual time.
  Seconds delay{0};
  /// Of `Kind::WrongTimestamp`: what is added to the reply's "s".
  std::int64_t shift = 0;

  /// The reply is sent as it is, and after it those that were held back.
  static ReplyFault none() { return {}; }
  /// It is never sent.
  static ReplyFault drop() { return {Kind::Drop, {}, 0}; }
  /// It is sent this much later. Other replies may overtake it. It is lost when the connection ends before.
  static ReplyFault late(Seconds delay) { return {Kind::Delay, delay, 0}; }
  /// It is sent twice.
  static ReplyFault duplicate() { return {Kind::Duplicate, {}, 0}; }
  /// It is held back until another reply of the same connection has been sent.
  /// `SimulatedServer::sendHeldReplies` sends it as well. It is lost when the connection ends.
  static ReplyFault reorder() { return {Kind::Reorder, {}, 0}; }
  /// Its "s" is off by `shift`. A text stays a text and a number a number; an "s" that is missing counts as 0.
  static ReplyFault wrongTimestamp(std::int64_t shift = 1) { return {Kind::WrongTimestamp, {}, shift}; }
};

}  // namespace orv::testing
