#include "orvnetwork/api/QXAPIHelper.h"

#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <utility>

namespace orv {

void QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(const OptionalString& command,
                                                                       std::optional<json::object> values,
                                                                       CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock) {
  QXWebSocketMgr::standard().sendRequestItem(
      QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
          command, std::move(values), std::move(completeBlock), std::move(timeoutBlock)));
}

}  // namespace orv
