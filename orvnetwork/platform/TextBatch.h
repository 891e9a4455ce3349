#pragma once

#include <orvnetwork/data/Export.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class WebSocket;

/// What a socket is beside `WebSocket` that can write several texts at once, which costs about as much as writing one.
class ORV_EXPORT TextBatchSocket {
 public:
  virtual ~TextBatchSocket() = default;

  /// Sends each text as a message of its own, in their order, like `WebSocket::send`. Any thread.
  /// @param texts none of them null
  virtual void sendTexts(std::vector<std::shared_ptr<const std::string>> texts) = 0;

  /// Sends the first ones of these texts if it can do so without keeping them, and tells how many those were: all, some or
  /// none. Any thread.
  virtual std::size_t sendFirst(std::span<const std::string_view> /*texts*/) { return 0; }
};

/// Sends texts in their order, each as a message of its own, and together where the socket can do that. Any thread.
///
///     std::vector<std::shared_ptr<const std::string>> texts;
///     for (const auto& request : requests) texts.push_back(request.text);
///     orv::sendTexts(socket, std::move(texts));
///
/// @param texts none of them null; a socket that is not open sends nothing
ORV_EXPORT void sendTexts(WebSocket& socket, std::vector<std::shared_ptr<const std::string>> texts);

/// The same with texts that stay their owner's: those that have to wait are copied. Any thread.
ORV_EXPORT void sendCopies(WebSocket& socket, std::span<const std::string_view> texts);

}  // namespace orv
