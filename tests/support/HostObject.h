#pragma once

#include <orvnetwork/platform/MainQueue.h>

#include <atomic>
#include <utility>

namespace orv::test {

/// What becomes of a host's objects: how many there are, and how many ended on another thread than main.
struct HostObjectCounts {
  std::atomic<int> alive{0};
  std::atomic<int> endedOnMain{0};
  std::atomic<int> endedElsewhere{0};
};

/// Stands for an object that a host's closure holds. Copies count by themselves; what was moved out of is none.
class HostObject {
 public:
  explicit HostObject(HostObjectCounts& counts) : counts_(&counts) { ++counts_->alive; }
  HostObject(const HostObject& other) : counts_(other.counts_) {
    if (counts_ != nullptr) ++counts_->alive;
  }
  HostObject(HostObject&& other) noexcept : counts_(std::exchange(other.counts_, nullptr)) {}
  HostObject& operator=(const HostObject&) = delete;
  ~HostObject() {
    if (counts_ == nullptr) return;
    --counts_->alive;
    ++(MainQueue::instance().isCurrent() ? counts_->endedOnMain : counts_->endedElsewhere);
  }

 private:
  HostObjectCounts* counts_;
};

}  // namespace orv::test
