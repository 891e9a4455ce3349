#include "orvnetwork/api/QXAPIHelper.h"

#include <orvnetwork/api/detail/Sending.h>

#include <optional>
#include <utility>

namespace orv {

void QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(const OptionalString& command,
                                                                       std::optional<json::object> values,
                                                                       CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock) {
  sendCommand(command, std::move(values), std::move(completeBlock), std::move(timeoutBlock));
}

}  // namespace orv
