#include "orvnetwork/transport/UnreadReply.h"

#include <orvnetwork/transport/detail/CurrentReply.h>
#include <orvnetwork/transport/detail/ReplyFrame.h>

#include <optional>
#include <utility>

namespace orv {

UnreadReply::UnreadReply(std::shared_ptr<const ReplyFrame> frame)
    : frame_(std::move(frame)), index_(frame_->index()) {}

UnreadReply::UnreadReply(const json::object& values)
    : values_(std::make_shared<const json::object>(values)) {}

std::optional<JsonView> UnreadReply::view() const {
  return index_ != nullptr ? std::optional(index_->root(frame_->unreadText())) : std::nullopt;
}

const json::object& UnreadReply::values() const {
  return values_ != nullptr ? *values_ : frame_->dictionary();
}

void UnreadReplyBlock::operator()(const std::shared_ptr<QXRequestItem>&, bool success,
                                  const json::object& reply) const {
  auto current = CurrentReply::get();
  block(success, current != nullptr ? UnreadReply(std::move(current)) : UnreadReply(reply));
}

bool UnreadReplyBlock::is(const CompleteBlock& callback) {
  return callback.target<UnreadReplyBlock>() != nullptr;
}

}  // namespace orv
