#pragma once

#include <orvnetwork/data/Task.h>

#include <vector>

namespace orv {

/// What an executor is besides that takes several tasks at once.
class BatchExecutor {
 public:
  /// Queues the tasks like `Executor::post`, in their order and with nothing between them; whoever runs them is woken once, if
  /// at all, when all of them are there. `tasks` is empty afterwards and keeps its room. Any thread.
  virtual void postAll(std::vector<Task>& tasks) = 0;

 protected:
  ~BatchExecutor() = default;
};

}  // namespace orv
