#include "orvnetwork/api/detail/Sending.h"

#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <utility>

namespace orv {

void sendCommand(OptionalString command, std::optional<json::object> values, CompleteBlock completeBlock,
                 TimeoutBlock timeoutBlock) {
  QXWebSocketMgr::standard().sendRequestItem(
      QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
          std::move(command), std::move(values), std::move(completeBlock), std::move(timeoutBlock)));
}

}  // namespace orv
