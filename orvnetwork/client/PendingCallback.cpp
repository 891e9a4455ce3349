#include "orvnetwork/client/PendingCallback.h"

#include <orvnetwork/client/MainThread.h>

#include <utility>

namespace orv {

PendingCallback::PendingCallback(std::shared_ptr<detail::PendingCore> core) noexcept
    : core_(std::move(core)) {}

PendingCallback& PendingCallback::operator=(PendingCallback&& other) noexcept {
  const PendingCallback replaced(std::exchange(core_, std::move(other.core_)));
  return *this;
}

PendingCallback::~PendingCallback() {
  if (!core_) return;
  detail::expectMainThread("a PendingCallback");
  core_->withdraw();
}

void PendingCallback::cancel() {
  detail::expectMainThread("PendingCallback::cancel");
  if (const auto core = core_) core->cancel();
}

void PendingCallback::deadline(Seconds fromNow) {
  detail::expectMainThread("PendingCallback::deadline");
  if (core_) core_->setDeadline(fromNow);
}

void PendingCallback::stopOn(std::stop_token token) {
  detail::expectMainThread("PendingCallback::stopOn");
  if (core_) core_->stopOn(std::move(token));
}

bool PendingCallback::isWaiting() const noexcept {
  return core_ && core_->isFollowed();
}

}  // namespace orv
