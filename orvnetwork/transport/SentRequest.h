#pragma once

#include <orvnetwork/data/Export.h>

#include <memory>

namespace orv {

class QXRequestItem;

/// Notes the request that is sent on this thread while it lives: for those who call an operation that makes its own
/// request, and want to take that one back.
///
/// While the operation writes to the console the host may send requests of its own there. They count for nothing once the
/// operation has sent its request, or has found the link closed; an operation that sends nothing with its arguments leaves
/// the last one of them here.
///
///     const SentRequest sent;
///     QXAPIHelper::logoutWithCompleteBlock_timeoutBlock(complete, timeout);
///     logOut_ = sent.item();
class ORV_EXPORT SentRequest {
 public:
  SentRequest();
  SentRequest(const SentRequest&) = delete;
  SentRequest& operator=(const SentRequest&) = delete;
  ~SentRequest();

  /// The last one that was sent; null where none was, as on a closed link.
  const std::shared_ptr<QXRequestItem>& item() const { return item_; }

  /// For the link: this one is being sent; null: the one that was to be sent is not, since the link is closed.
  static void note(const std::shared_ptr<QXRequestItem>& item);

 private:
  SentRequest* const outer_;
  std::shared_ptr<QXRequestItem> item_;
};

/// Takes a request back: from now on it is not sent, neither callback is called, and the link does not hold it until there
/// is a session. What the server has got already it may carry out. The callbacks are destroyed before this returns. Main
/// thread; not from inside a callback of the request that uses what it holds afterwards.
ORV_EXPORT void takeBack(QXRequestItem& item);

/// Whether that was done, or the request has nothing to send and nobody to tell. Main thread.
ORV_EXPORT bool isTakenBack(const QXRequestItem& item);

}  // namespace orv
