#include "orvnetwork/course/detail/PageTicket.h"

#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/platform/Platform.h>

#include <atomic>
#include <utility>

namespace orv {

struct PageTicket::Watch {
  explicit Watch(Task task) : lost(std::move(task)) {}

  std::weak_ptr<PageTicket> ticket;
  std::atomic<bool> isAnswered{false};
  /// The next look.
  std::atomic<DelayService::Handle> look{0};
  Task lost;
};

std::shared_ptr<PageTicket> PageTicket::make(Task lost) {
  auto watch = std::make_shared<Watch>(std::move(lost));
  const std::shared_ptr<PageTicket> ticket(new PageTicket(watch));
  watch->ticket = ticket;
  lookLater(watch);
  return ticket;
}

void PageTicket::answered() {
  if (!watch_->isAnswered.exchange(true)) Platform::current().delays().cancel(watch_->look);
}

void PageTicket::look(const std::shared_ptr<Watch>& watch) {
  if (watch->isAnswered) return;
  if (!watch->ticket.expired()) return lookLater(watch);
  watch->lost();
}

void PageTicket::lookLater(const std::shared_ptr<Watch>& watch) {
  Platform& platform = Platform::current();
  watch->look = platform.delays().runAt(platform.clock().steadyNow() + kLookEvery, platform.mainQueue(),
                                        [watch] { look(watch); });
}

}  // namespace orv
