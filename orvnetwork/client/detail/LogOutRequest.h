#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <memory>

namespace orv::detail {

/// A log-out that can be taken back. The link may hold a request for want of a session, and would send it when the next
/// user has one: a log-out that nobody waits for any more must not be sent then. Main thread.
class LogOutRequest {
 public:
  LogOutRequest() = default;
  LogOutRequest(const LogOutRequest&) = delete;
  LogOutRequest& operator=(const LogOutRequest&) = delete;
  /// From now on nothing is sent.
  ~LogOutRequest();

  /// Sends it. Once.
  Pending<Reply> send();

 private:
  std::shared_ptr<QXRequestItem> item_;
};

}  // namespace orv::detail
