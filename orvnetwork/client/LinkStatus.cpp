#include "orvnetwork/client/LinkStatus.h"

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/detail/LinkTracker.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <utility>

namespace orv {

LinkStatus::LinkStatus(bool supervised) : tracker_(std::make_unique<LinkTracker>(supervised)) {}

LinkStatus::~LinkStatus() {
  if (traces_) QXWebSocketMgr::standard().setFrameTrace({});
}

const LinkSnapshot& LinkStatus::snapshot() const {
  detail::expectMainThread("LinkStatus");
  return tracker_->present();
}

bool LinkStatus::isUp() const {
  detail::expectMainThread("LinkStatus::isUp");
  return tracker_->isUp();
}

Subscription LinkStatus::onChanged(Callback changed) {
  return tracker_->add(std::move(changed));
}

Pending<> LinkStatus::whenUp() {
  detail::expectMainThread("LinkStatus::whenUp");
  return tracker_->whenUp();
}

void LinkStatus::tryNow() {
  detail::expectMainThread("LinkStatus::tryNow");
  tracker_->tryNow();
}

LinkStatistics LinkStatus::statistics() const {
  detail::expectMainThread("LinkStatus::statistics");
  return QXWebSocketMgr::standard().statistics();
}

void LinkStatus::setFrameTrace(TraceSink sink, TraceMode mode) {
  detail::expectMainThread("LinkStatus::setFrameTrace");
  traces_ = static_cast<bool>(sink);
  QXWebSocketMgr::standard().setFrameTrace(std::move(sink), mode);
}

}  // namespace orv
