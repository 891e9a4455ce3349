#include "orvnetwork/testing/SimulatedDelayService.h"

#include <memory>
#include <optional>
#include <utility>

namespace orv::testing {

DelayService::Handle SimulatedDelayService::runAt(SteadyTime when, Executor& executor, Task task) {
  if (const auto waiting = std::exchange(waiting_, std::nullopt)) {
    scheduler_->cancel(waiting->handle);
    scheduledAs_[waiting->handle] =
        scheduler_->runAt(waiting->when, *waiting->executor, [task = waiting->task] { (*task)(); });
  }
  if (failIn_ == 0 || --failIn_ > 0) {
    return scheduler_->runAt(when, executor, std::move(task));
  }
  ++failures_;
  const auto held = std::make_shared<Task>(std::move(task));
  const Handle handle = scheduler_->runAt(SteadyTime::max(), executor, [held] { (*held)(); });
  waiting_ = Waiting{handle, when, &executor, held};
  return handle;
}

void SimulatedDelayService::cancel(Handle handle) {
  scheduler_->cancel(handle);
  if (waiting_ && waiting_->handle == handle) {
    waiting_.reset();
  }
  if (const auto found = scheduledAs_.extract(handle)) {
    scheduler_->cancel(found.mapped());
  }
}

}  // namespace orv::testing
