#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/SentRequest.h>

#include <memory>
#include <utility>

namespace orv::detail {

/// A request that can be taken back, and is with this. The link holds a request for want of a session, however long, and
/// sends it when the next user has one: what nobody waits for any more must not be sent then. Main thread.
///
///     RevocableRequest request;
///     auto asked = request.send([] { return ask<&QXAPIHelper::logoutWithCompleteBlock_timeoutBlock>(); });
class RevocableRequest {
 public:
  RevocableRequest() = default;
  RevocableRequest(const RevocableRequest&) = delete;
  RevocableRequest& operator=(const RevocableRequest&) = delete;
  ~RevocableRequest() { takeBack(); }

  /// Calls `asking`, which sends one request and returns what waits for its answer. Takes the former request back.
  template <typename Asking>
  Pending<Reply> send(Asking asking) {
    takeBack();
    const SentRequest sent;
    auto asked = asking();
    // No answer is there so soon: nothing was sent then, and what was noted is somebody else's.
    if (!asked.isReady()) item_ = sent.item();
    return asked;
  }
  /// From now on nothing is sent. Give up waiting first: the answer does not come any more.
  void takeBack() {
    if (const auto item = std::exchange(item_, {}).lock()) orv::takeBack(*item);
  }

 private:
  std::weak_ptr<QXRequestItem> item_;  // what the link lets go of has come to its end
};

}  // namespace orv::detail
