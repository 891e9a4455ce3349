#include "orvnetwork/platform/TextBatch.h"

#include <orvnetwork/platform/WebSocket.h>

#include <utility>

namespace orv {

void sendTexts(WebSocket& socket, std::vector<std::shared_ptr<const std::string>> texts) {
  if (texts.size() > 1) {
    if (auto* const together = dynamic_cast<TextBatchSocket*>(&socket)) {
      return together->sendTexts(std::move(texts));
    }
  }
  for (auto& text : texts) socket.send(std::move(text));
}

void sendCopies(WebSocket& socket, std::span<const std::string_view> texts) {
  if (texts.empty()) return;
  if (auto* const together = dynamic_cast<TextBatchSocket*>(&socket)) {
    texts = texts.subspan(together->sendFirst(texts));
  }
  std::vector<std::shared_ptr<const std::string>> copies;
  copies.reserve(texts.size());
  for (const auto text : texts) copies.push_back(std::make_shared<const std::string>(text));
  sendTexts(socket, std::move(copies));
}

}  // namespace orv
