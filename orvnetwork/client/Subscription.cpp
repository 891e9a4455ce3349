#include "orvnetwork/client/Subscription.h"

#include <orvnetwork/client/MainThread.h>

#include <utility>

namespace orv {

detail::Withdrawable::~Withdrawable() = default;

Subscription::Subscription(std::shared_ptr<detail::Withdrawable> registered) noexcept
    : registered_(std::move(registered)) {}

Subscription& Subscription::operator=(Subscription&& other) noexcept {
  // Taken first: what is withdrawn may destroy this subscription's owner.
  const Subscription replaced(std::exchange(registered_, std::move(other.registered_)));
  return *this;
}

void Subscription::reset() noexcept {
  if (!registered_) return;
  detail::expectMainThread("a Subscription");
  const auto withdrawn = std::exchange(registered_, nullptr);
  withdrawn->withdraw();
}

}  // namespace orv
