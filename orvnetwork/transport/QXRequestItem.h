#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <functional>
#include <memory>

namespace orv {

class QXRequestItem;

/// Called on the main thread when the reply to a request has come: with the request, whether "v"."ret" of the
/// reply is 0 (a missing one counts as 0), and the whole reply frame ("C", "s", "v"). The frame lives only as
/// long as the call; copy what is to be kept, which is then like any other value (`keepReply` keeps all of it). May be
/// empty. What it holds is
/// destroyed on the main thread.
using CompleteBlock =
    std::function<void(const std::shared_ptr<QXRequestItem>& item, bool success, const json::object& reply)>;

/// Called with the request when no reply came within 10 s (on the main thread), or at once, on the caller's
/// thread, when the link was not open at the time of sending. May be empty.
using TimeoutBlock = std::function<void(const std::shared_ptr<QXRequestItem>& item)>;

/// One request to the server: its identifier, its command, the finished text of its frame and the caller's
/// two callbacks. Built on the caller's thread and not changed afterwards.
class ORV_EXPORT QXRequestItem {
 public:
  /// The request's identifier: microseconds since 1970 plus a jitter of 0 to 999. It keys the table of
  /// outstanding requests and is the "s" of the frame. Two items may collide; then the later one replaces the
  /// earlier one in the table.
  std::int64_t timestamp = 0;
  /// The dotted command name, for example "User.Post.Login".
  OptionalString command;
  /// The text that is sent; absent when the values could not be written as JSON. Once the item has been sent it
  /// must not be changed: the main thread reads it.
  OptionalString jsonString;
  /// Is called with the reply. May be empty.
  CompleteBlock completeBlock;
  /// Is called when none came. May be empty.
  TimeoutBlock timeoutBlock;

  virtual ~QXRequestItem() = default;

  /// A new identifier: now on the wall clock in microseconds, truncated, plus a random number below 1000.
  std::int64_t genTimestamp() const;

  /// An item with exactly these fields; no frame is built. Any thread.
  /// @param timestamp the identifier, taken as it is
  /// @param command the command; may be absent
  /// @param jsonString the text to be sent; absent: nothing is sent, and the time-out comes
  /// @param completeBlock is called with the reply; may be empty
  /// @param timeoutBlock is called when none came; may be empty
  static std::shared_ptr<QXRequestItem> initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
      std::int64_t timestamp, OptionalString command, OptionalString jsonString, CompleteBlock completeBlock,
      TimeoutBlock timeoutBlock);

  /// An item with a new identifier and the standard frame: "c", "r", "g", "a", "b", "s" (decimal text) and "v",
  /// pretty-printed. What is absent is left out of the frame. Values that JSON cannot tell, such as a number that
  /// is none, leave `jsonString` absent, and the console gets a line. Any thread.
  /// @param command goes out under "c"; absent: the frame has no "c"
  /// @param parameters goes out under "v" as it is, nulls included; absent: the frame has no "v"
  /// @param completeBlock is called with the reply; may be empty
  /// @param timeoutBlock is called when none came; may be empty
  static std::shared_ptr<QXRequestItem> initWithCommand_parameters_completeBlock_timeoutBlock(
      OptionalString command, std::optional<json::object> parameters, CompleteBlock completeBlock,
      TimeoutBlock timeoutBlock);

  /// An item with a new identifier and the compact frame: "c", "s" (a number) and "v", without any blank, tab
  /// or line feed. Blanks inside texts go too. Everything else, the parameters too, is as above; the values are
  /// also written to the console.
  static std::shared_ptr<QXRequestItem> initWithMeetingCommand_parameters_completeBlock_timeoutBlock(
      OptionalString command, std::optional<json::object> parameters, CompleteBlock completeBlock,
      TimeoutBlock timeoutBlock);

  /// The same request again: a new item of the receiver's own class with the same five fields. A class that
  /// derives from this one overrides it.
  virtual std::shared_ptr<QXRequestItem> copyWithZone() const;

 protected:
  QXRequestItem() = default;
  QXRequestItem(const QXRequestItem&) = default;
};

/// A frame to keep: inside its own completion callback the frame itself, shared instead of copied, anywhere else a copy.
/// Both stay as they are and may be read and dropped on any thread. Main thread.
/// @param reply what the completion callback was called with
ORV_EXPORT std::shared_ptr<const json::object> keepReply(const json::object& reply);

/// The item in a log line: its command and identifier.
ORV_EXPORT std::string describe(const std::shared_ptr<QXRequestItem>& item);

}  // namespace orv
