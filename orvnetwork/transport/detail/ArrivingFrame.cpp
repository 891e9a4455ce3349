#include "orvnetwork/transport/detail/ArrivingFrame.h"

#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/transport/detail/FrameHead.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace orv {

namespace {

using WholeFrame = std::shared_ptr<const ReplyFrame>;

/// A message that goes as its text although it is long.
struct IndexedFrame {
  FrameHead head;
  std::shared_ptr<const JsonIndex> index;
};

/// Absent where nobody wants it so, or the message is out of the ordinary.
std::optional<IndexedFrame> indexFrame(std::string_view message, SteadyTime now,
                                       const FrameReaders& readers) {
  if (!readers.any()) return std::nullopt;
  auto index = JsonIndex::read(message);
  if (index == nullptr) return std::nullopt;
  const auto head = FrameHead::read(message, *index, now);
  if (!head || !readers.contains(head->timestamp)) return std::nullopt;
  return IndexedFrame{*head, std::move(index)};
}

WholeFrame binaryMessage(SteadyTime arrivedAt) {
  auto unreadable = std::make_shared<ReplyFrame>();
  unreadable->arrivedAt = arrivedAt;
  unreadable->error = {"OrvFrame", 3, "a binary message"};
  return unreadable;
}

}  // namespace

std::any prepareFrame(std::string_view message, const FrameReaders& readers) {
  const SteadyTime now = Platform::current().clock().steadyNow();
  if (const auto head = FrameHead::read(message, now)) return *head;
  if (auto indexed = indexFrame(message, now, readers)) return *std::move(indexed);
  return ReplyFrame::read(message, now);
}

std::size_t sizeOfPreparedFrame(const std::any& prepared) {
  if (!prepared.has_value()) return 0;
  // Beside its values a frame takes its own place and those of what shares it.
  constexpr std::size_t kFrameItself = sizeof(ReplyFrame) + 64;
  const auto* const indexed = std::any_cast<IndexedFrame>(&prepared);
  if (indexed != nullptr) return kFrameItself + indexed->index->memory();
  const auto* const whole = std::any_cast<WholeFrame>(&prepared);
  return kFrameItself + (whole != nullptr ? (*whole)->memory : 0);
}

std::shared_ptr<const ReplyFrame> takeFrame(WebSocketMessage& message) {
  if (const auto* const head = std::any_cast<FrameHead>(&message.prepared)) {
    return ReplyFrame::ofHead(*head, std::move(message.payload));
  }
  if (auto* const indexed = std::any_cast<IndexedFrame>(&message.prepared)) {
    return ReplyFrame::ofHead(indexed->head, std::move(message.payload), std::move(indexed->index));
  }
  if (const auto* const whole = std::any_cast<WholeFrame>(&message.prepared)) return *whole;
  const SteadyTime now = Platform::current().clock().steadyNow();
  return message.isText ? ReplyFrame::read(message.payload, now) : binaryMessage(now);
}

}  // namespace orv
