#include "orvnetwork/platform/TextBatch.h"

#include <orvnetwork/platform/WebSocket.h>

#include <memory>
#include <string>

namespace orv {

void sendTexts(WebSocket& socket, std::span<const std::string_view> texts) {
  if (texts.empty()) return;
  if (auto* const together = dynamic_cast<TextBatchSocket*>(&socket)) return together->sendTexts(texts);
  for (const auto text : texts) socket.send(std::make_shared<const std::string>(text));
}

}  // namespace orv
