#pragma once

#include "devserver/faults/WireFaults.h"

#include <boost/json/object.hpp>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::devserver {

namespace json = boost::json;

/// How "s" of a reply is spoilt.
enum class TimestampFault {
  Unknown,  ///< a number that no request has had
  Text,     ///< text that is no number
  Missing,  ///< no "s" at all
};

/// What the server does with a new connection. The control address is always served.
enum class ConnectionMode {
  Accept,
  Refuse,  ///< reset as soon as it has asked for the WebSocket
  Stall,   ///< TCP is accepted, the WebSocket handshake is never answered
  Reject,  ///< the handshake is answered by an HTTP error status
};

/// The misbehaviour that is in force. Every operation may be called from any thread and takes effect
/// for what the server handles afterwards.
///
/// Where several faults of one kind fit a reply, the one that was set first applies; faults of different
/// kinds add up. `command` empty means every command. `count` is the number of replies (or requests) that
/// the fault is good for. 1,000 faults of replies may be in force, with 1 MiB of commands and texts; one more throws
/// std::invalid_argument.
///
///     server.faults().delayReplies(std::chrono::seconds(2), "Course.Get.Items");
///     server.faults().clear();
class Faults {
 public:
  static constexpr std::size_t kForever = std::numeric_limits<std::size_t>::max();

  /// Replies wait for `delay` before they go out.
  void delayReplies(std::chrono::milliseconds delay, std::string command = {}, std::size_t count = kForever);
  /// Requests are carried out, their replies are thrown away.
  void dropReplies(std::size_t count = 1, std::string command = {});
  /// Each reply goes out `copies` times more.
  void duplicateReplies(std::size_t count = 1, std::string command = {}, std::size_t copies = 1);
  /// The next `count` replies are held and then sent in reverse order. `clear` sends what is held.
  void reorderReplies(std::size_t count, std::string command = {});
  /// Spoils "s" of the next replies.
  void spoilTimestamp(TimestampFault kind, std::size_t count = 1, std::string command = {});
  /// The next requests are not carried out but answered with this code and text.
  void failRequests(int code, std::string text, std::size_t count = 1, std::string command = {});
  /// Silent: everything is read, nothing is carried out or answered, "PING" included.
  void setSilent(bool silent) { silent_ = silent; }
  /// The answer to "PING"; absent: none. The right answer is "PONG".
  void setPingAnswer(std::optional<std::string> answer);
  /// What happens to new connections; `httpStatus` is for `Reject`.
  void setConnectionMode(ConnectionMode mode, unsigned httpStatus = 503);
  /// The next `links` connections that write `bytes` more bytes (the answer to the handshake counts) are
  /// cut there.
  void cutAfterBytes(std::uint64_t bytes, std::size_t links = 1) { wire_.cutAfter(bytes, links); }
  /// Every write to a socket takes one byte.
  void setOneByteWrites(bool on) { wire_.setOneByteWrites(on); }
  /// Ends every fault.
  void clear();

  /// What is in force, as JSON; empty when the server behaves.
  json::object describe() const;

  // What follows is for the server itself.

  struct Failure {
    int code = 0;
    std::string text;
  };
  struct ReplyPlan {
    bool drop = false;
    bool hold = false;         ///< keep it back for the reverse order
    bool releaseHeld = false;  ///< it is the last one to be held
    std::size_t copies = 1;
    std::chrono::milliseconds delay{0};
    std::optional<TimestampFault> timestamp;
  };
  struct Admission {
    ConnectionMode mode = ConnectionMode::Accept;
    unsigned httpStatus = 503;
  };
  std::optional<Failure> takeFailure(std::string_view command);
  ReplyPlan planReply(std::string_view command);
  bool silent() const { return silent_; }
  std::optional<std::string> pingAnswer() const;
  Admission admission() const;
  WireFaults& wire() { return wire_; }
  void setOnClear(std::function<void()> callback);

 private:
  enum class Kind { Delay, Drop, Duplicate, Reorder, Timestamp, Failure };
  struct Rule {
    Kind kind{};
    std::string command;
    std::size_t count = 1;
    std::chrono::milliseconds delay{0};
    std::size_t copies = 1;
    TimestampFault timestamp{};
    Failure failure;
    std::size_t bytes() const { return command.size() + failure.text.size(); }
  };

  void add(Rule rule);
  Rule* find(Kind kind, std::string_view command);
  void spend(Kind kind, std::string_view command);
  static json::object describeRule(const Rule& rule);

  mutable std::mutex mutex_;
  std::vector<Rule> rules_;
  std::atomic<bool> anyRule_{false};
  std::atomic<bool> silent_{false};
  std::optional<std::string> pingAnswer_{"PONG"};
  Admission admission_;
  std::function<void()> onClear_;
  WireFaults wire_;
};

}  // namespace orv::devserver
