#include "orvnetwork/client/detail/LogOutRequest.h"

#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <string>
#include <string_view>
#include <utility>

namespace orv::detail {

namespace {

constexpr std::string_view kCommand = "User.Post.Logout";

}  // namespace

LogOutRequest::~LogOutRequest() {
  // Without a text nothing is sent.
  if (item_) item_->jsonString.reset();
}

Pending<Reply> LogOutRequest::send() {
  const auto source = std::make_shared<PendingSource<Reply>>();
  auto pending = source->pending();
  item_ = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      std::string(kCommand), json::object(),
      [source](const auto&, bool, const json::object& frame) { source->answer(Reply(keepReply(frame))); },
      [source](const auto&) {
        source->answer(Reply(ReplyOutcome::TimedOut, "the server does not answer", std::string(kCommand)));
      });
  QXWebSocketMgr::standard().sendRequestItem(item_);
  return pending;
}

}  // namespace orv::detail
