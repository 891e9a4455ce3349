#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/api/Sending.h>
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

void sendCommand(std::string_view command, Values values, CompleteBlock completeBlock,
                 TimeoutBlock timeoutBlock) {
  QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(
      std::string(command), values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

Object deviceGuid() {
  return QXWebSocketMgr::standard().globalUUID();
}

}  // namespace orv
