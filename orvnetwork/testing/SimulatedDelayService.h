#pragma once

#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/testing/Scheduler.h>

#include <memory>

namespace orv::testing {

/// Delayed tasks in virtual time.
class ORV_EXPORT SimulatedDelayService final : public DelayService {
 public:
  explicit SimulatedDelayService(std::shared_ptr<Scheduler> scheduler) : scheduler_(std::move(scheduler)) {}

  Handle runAt(SteadyTime when, Executor& executor, Task task) override {
    return scheduler_->runAt(when, executor, std::move(task));
  }
  void cancel(Handle handle) override { scheduler_->cancel(handle); }

 private:
  const std::shared_ptr<Scheduler> scheduler_;
};

}  // namespace orv::testing
