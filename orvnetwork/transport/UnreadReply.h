#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <functional>
#include <memory>
#include <optional>

namespace orv {

struct ReplyFrame;

/// A reply frame of which no dictionary has been made: for replies with thousands of values that are looked at once, such
/// as a page of courses, which becomes records. Kept for as long as it is wanted; a copy shares it.
class ORV_EXPORT UnreadReply {
 public:
  /// For the link. Main thread.
  explicit UnreadReply(std::shared_ptr<const ReplyFrame> frame);
  /// One that is known by its values, which are copied. Any thread.
  explicit UnreadReply(const json::object& values);

  /// The frame, which is a dictionary, in its text; absent where the text is out of the ordinary or has been read already,
  /// as that of a refusal has: then there are `values`. It lives as long as this and its copies. Any thread.
  std::optional<JsonView> view() const;
  /// The frame as the dictionary that a `CompleteBlock` gets. Where there is a `view` it is made by the first call, on the
  /// main thread; else any thread.
  const json::object& values() const;

 private:
  std::shared_ptr<const ReplyFrame> frame_;
  std::shared_ptr<const JsonIndex> index_;
  std::shared_ptr<const json::object> values_;
};

/// A completion callback that takes the reply in this way. It goes wherever a `CompleteBlock` goes:
///
///     QXAPIHelper::getMyCourseWithStart_limit_completeBlock_timeoutBlock(
///         1, 30,
///         UnreadReplyBlock{[](bool success, UnreadReply reply) {
///           if (!success) return show(reply.values());
///           workers.post([reply = std::move(reply)] { take(reply); });
///         }},
///         timeoutBlock);
struct ORV_EXPORT UnreadReplyBlock {
  /// Called on the main thread, as a `CompleteBlock` is. Must not be empty.
  std::function<void(bool success, UnreadReply reply)> block;

  /// For the link.
  void operator()(const std::shared_ptr<QXRequestItem>& item, bool success, const json::object& reply) const;
  /// Whether a callback is one.
  static bool is(const CompleteBlock& callback);
};

}  // namespace orv
