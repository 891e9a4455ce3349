#include "orvnetwork/transport/detail/ArrivingFrame.h"

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/transport/detail/FrameHead.h>

#include <string>
#include <utility>

namespace orv {

namespace {

using WholeFrame = std::shared_ptr<const ReplyFrame>;

WholeFrame binaryMessage(SteadyTime arrivedAt) {
  auto unreadable = std::make_shared<ReplyFrame>();
  unreadable->arrivedAt = arrivedAt;
  unreadable->error = {"OrvFrame", 3, "a binary message"};
  return unreadable;
}

}  // namespace

std::any prepareFrame(std::string_view message) {
  const SteadyTime now = Platform::current().clock().steadyNow();
  if (const auto head = FrameHead::read(message, now)) return *head;
  return ReplyFrame::read(message, now);
}

std::size_t sizeOfPreparedFrame(const std::any& prepared) {
  if (!prepared.has_value()) return 0;
  // Beside its values a frame takes its own place and those of what shares it.
  constexpr std::size_t kFrameItself = sizeof(ReplyFrame) + 64;
  const auto* const whole = std::any_cast<WholeFrame>(&prepared);
  return kFrameItself + (whole != nullptr ? (*whole)->memory : 0);
}

std::shared_ptr<const ReplyFrame> takeFrame(WebSocketMessage& message) {
  if (const auto* const head = std::any_cast<FrameHead>(&message.prepared)) {
    return ReplyFrame::ofHead(*head, std::move(message.payload));
  }
  if (const auto* const whole = std::any_cast<WholeFrame>(&message.prepared)) return *whole;
  const SteadyTime now = Platform::current().clock().steadyNow();
  return message.isText ? ReplyFrame::read(message.payload, now) : binaryMessage(now);
}

}  // namespace orv
