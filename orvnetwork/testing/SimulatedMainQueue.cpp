#include "orvnetwork/testing/SimulatedMainQueue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

namespace orv::testing {

/// A descriptor that a host's real loop can watch.
class SimulatedMainQueue::WakeUp {
 public:
  WakeUp() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  WakeUp(const WakeUp&) = delete;
  WakeUp& operator=(const WakeUp&) = delete;
  ~WakeUp() { close(descriptor_); }

  int descriptor() const { return descriptor_; }

  void setReadable(bool readable) {
    if (readable == readable_) {
      return;
    }
    readable_ = readable;
    eventfd_t count = 0;
    [[maybe_unused]] const int result =
        readable ? eventfd_write(descriptor_, 1) : eventfd_read(descriptor_, &count);
  }

 private:
  const int descriptor_;
  bool readable_ = false;
};

SimulatedMainQueue::SimulatedMainQueue(std::shared_ptr<Scheduler> scheduler)
    : scheduler_(std::move(scheduler)), lane_(scheduler_->makeLane(LaneKind::Main, "main queue")) {
  lane_->setObserver([this] { laneChanged(); });
}

SimulatedMainQueue::~SimulatedMainQueue() {
  lane_->setObserver(nullptr);
}

void SimulatedMainQueue::post(Task task) {
  lane_->post(std::move(task));
}

void SimulatedMainQueue::run() {
  while (!stopRequested_) {
    if (scheduler_->step()) {
      continue;
    }
    const auto due = scheduler_->nextDue();
    if (!due || *due <= scheduler_->now()) {
      break;
    }
    scheduler_->moveTo(*due);
  }
  stopRequested_ = false;
}

void SimulatedMainQueue::stop() {
  scheduler_->checkThread();
  stopRequested_ = true;
}

std::size_t SimulatedMainQueue::drain() {
  scheduler_->checkThread();
  if (!isCurrent()) {
    std::fputs("drain() was called outside the main thread.\n", stderr);
    std::abort();
  }
  ++draining_;
  std::size_t count = 0;
  for (auto left = lane_->size(); left > 0 && scheduler_->runFirst(*lane_); --left) {
    ++count;
  }
  --draining_;
  // What was posted meanwhile begins to wait now.
  waiting_ = false;
  laneChanged();
  return count;
}

int SimulatedMainQueue::wakeUpDescriptor() {
  scheduler_->checkThread();
  if (!wakeUp_) {
    wakeUp_ = std::make_unique<WakeUp>();
    wakeUp_->setReadable(lane_->size() > 0);
  }
  return wakeUp_->descriptor();
}

void SimulatedMainQueue::setWaker(std::function<void()> waker) {
  scheduler_->checkThread();
  waker_ = std::move(waker);
  if (waker_ && lane_->size() > 0) {
    runGuarded("main queue waker", std::function(waker_));
  }
}

void SimulatedMainQueue::laneChanged() {
  const bool waits = lane_->size() > 0;
  if (wakeUp_) {
    wakeUp_->setReadable(waits);
  }
  if (draining_ > 0) {
    return;
  }
  const bool begins = waits && !waiting_;
  waiting_ = waits;
  if (begins && waker_) {
    runGuarded("main queue waker", std::function(waker_));
  }
}

}  // namespace orv::testing
