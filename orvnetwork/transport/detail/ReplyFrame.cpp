#include "orvnetwork/transport/detail/ReplyFrame.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/data/LooseRead.h>

#include <string>
#include <utility>

namespace orv {

namespace {

std::shared_ptr<const ReplyFrame> notAFrame(Error error, SteadyTime arrivedAt) {
  auto frame = std::make_shared<ReplyFrame>();
  frame->arrivedAt = arrivedAt;
  frame->error = std::move(error);
  return frame;
}

}  // namespace

std::shared_ptr<const ReplyFrame> ReplyFrame::read(std::string_view message, SteadyTime arrivedAt) {
  auto parsed = parseJsonWithin(message, kMostMemory);
  if (!parsed) return notAFrame(std::move(parsed).error(), arrivedAt);
  const auto* dictionary = parsed->value.if_object();
  if (dictionary == nullptr) {
    return notAFrame({"OrvFrame", 1, "the message is not a dictionary"}, arrivedAt);
  }
  const auto* values = member(*dictionary, "v");
  if (values != nullptr && !values->is_object() && !values->is_null()) {
    return notAFrame({"OrvFrame", 2, "\"v\" is not a dictionary"}, arrivedAt);
  }

  auto frame = std::make_shared<ReplyFrame>();
  frame->arrivedAt = arrivedAt;
  frame->command = looseString(member(*dictionary, "C"));
  frame->timestamp = truncateToInt64(looseDouble(member(*dictionary, "s")));
  if (values != nullptr && values->is_object()) frame->ret = looseInt32(member(values->get_object(), "ret"));
  frame->root_ = std::move(parsed->value);
  frame->memory = parsed->bytes;
  return frame;
}

std::shared_ptr<const ReplyFrame> ReplyFrame::ofHead(const FrameHead& head, std::string message,
                                                     std::shared_ptr<const JsonIndex> index) {
  auto frame = std::make_shared<ReplyFrame>();
  frame->arrivedAt = head.arrivedAt;
  frame->timestamp = head.timestamp;
  if (head.commandAt != 0) frame->command.emplace(message, head.commandAt, head.commandSize);
  frame->unread_ = std::move(message);
  frame->index_ = std::move(index);
  return frame;
}

const std::shared_ptr<const JsonIndex>& ReplyFrame::index() const {
  if (index_ == nullptr && !unread_.empty()) index_ = JsonIndex::read(unread_);
  return index_;
}

// A text that has a head can be read, as long as there is memory.
void ReplyFrame::readValues() const {
  auto parsed = parseJsonWithin(unread_, kMostMemory);
  root_ = parsed && parsed->value.is_object() ? std::move(parsed->value) : json::value(json::object());
  // Another thread may be reading by the index.
  if (index_ == nullptr) unread_ = {};
}

}  // namespace orv
