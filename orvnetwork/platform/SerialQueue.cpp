#include "orvnetwork/platform/SerialQueue.h"

#include <utility>

namespace orv {

SerialQueue::Turn& SerialQueue::Turn::operator=(Turn&& other) noexcept {
  if (this != &other) {
    release();
    queue_ = std::move(other.queue_);
  }
  return *this;
}

void SerialQueue::Turn::release() {
  if (auto queue = std::move(queue_)) queue->turnEnded();
}

std::shared_ptr<SerialQueue> SerialQueue::make(std::string label, Executor& target) {
  return std::shared_ptr<SerialQueue>(new SerialQueue(std::move(label), target));
}

void SerialQueue::post(Task task) {
  enqueue({std::move(task), nullptr});
}

void SerialQueue::postKeepingTurn(std::function<void(Turn)> task) {
  enqueue({Task(), std::move(task)});
}

std::size_t SerialQueue::size() const {
  const std::lock_guard lock(mutex_);
  return entries_.size() + (busy_ ? 1 : 0);
}

void SerialQueue::enqueue(Entry entry) {
  {
    const std::lock_guard lock(mutex_);
    entries_.push_back(std::move(entry));
    if (busy_) return;
    busy_ = true;
  }
  target_.post([self = shared_from_this()] { self->runNext(); });
}

void SerialQueue::runNext() {
  Entry entry;
  {
    const std::lock_guard lock(mutex_);
    entry = std::move(entries_.front());
    entries_.pop_front();
  }
  // The turn ends with this scope even when the task throws, and after the task itself has been destroyed.
  Turn turn(shared_from_this());
  if (entry.keeping) {
    runGuarded(label_.c_str(), [&] { entry.keeping(std::move(turn)); });
  } else {
    runGuarded(label_.c_str(), entry.task);
  }
  entry = Entry();
}

void SerialQueue::turnEnded() {
  {
    const std::lock_guard lock(mutex_);
    busy_ = !entries_.empty();
    if (!busy_) return;
  }
  // One task a visit to the target, so that its other work gets its share in between.
  target_.post([self = shared_from_this()] { self->runNext(); });
}

}  // namespace orv
