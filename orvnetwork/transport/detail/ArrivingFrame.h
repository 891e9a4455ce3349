#pragma once

// A message's way from the socket's thread to the main thread: what the former makes of it, and what the latter takes from
// that. Small ones go as their texts with a head, and so do those that somebody will read as texts; all others as values.

#include <orvnetwork/platform/WebSocket.h>
#include <orvnetwork/transport/detail/FrameReaders.h>
#include <orvnetwork/transport/detail/ReplyFrame.h>

#include <any>
#include <cstddef>
#include <memory>
#include <string_view>

namespace orv {

/// What is made of a text message as soon as it is there. Any thread.
/// @param readers who want no values of the reply to their request
std::any prepareFrame(std::string_view message, const FrameReaders& readers);

/// What that takes of memory until the main thread has dealt with it, in bytes. Values that are read only when they are
/// asked for do not count: there are those of one frame at a time. Any thread.
std::size_t sizeOfPreparedFrame(const std::any& prepared);

/// The frame of a message, which may lose its payload to it: then it is the frame's `unreadText`. A message that nobody has
/// prepared is read here. Main thread.
std::shared_ptr<const ReplyFrame> takeFrame(WebSocketMessage& message);

}  // namespace orv
