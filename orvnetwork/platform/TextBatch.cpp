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

}  // namespace orv
