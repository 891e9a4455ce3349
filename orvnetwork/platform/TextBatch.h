#pragma once

#include <orvnetwork/data/Export.h>

#include <span>
#include <string_view>

namespace orv {

class WebSocket;

/// What a socket is beside `WebSocket` that can write several texts at once, which costs about as much as writing one.
class ORV_EXPORT TextBatchSocket {
 public:
  virtual ~TextBatchSocket() = default;

  /// Sends each text as a message of its own, in their order, like `WebSocket::send`. Any thread.
  /// @param texts stay their owner's: those that have to wait are copied
  virtual void sendTexts(std::span<const std::string_view> texts) = 0;
};

/// Sends texts in their order, each as a message of its own, and together where the socket can do that. Any thread.
///
///     std::vector<std::string_view> texts;
///     for (const auto& request : requests) texts.push_back(request.text);
///     orv::sendTexts(socket, texts);
///
/// @param texts stay their owner's: those that have to wait are copied; a socket that is not open sends nothing
ORV_EXPORT void sendTexts(WebSocket& socket, std::span<const std::string_view> texts);

}  // namespace orv
