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
  if (auto queue = std::move(queue_)) turnEnded(std::move(queue));
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
  postNext(shared_from_this());
}

void SerialQueue::postNext(std::shared_ptr<SerialQueue> queue) {
  Executor& target = queue->target_;
  target.post([queue = std::move(queue)]() mutable { runNext(std::move(queue)); });
}

void SerialQueue::runNext(std::shared_ptr<SerialQueue> queue) {
  Entry entry;
  {
    const std::lock_guard lock(queue->mutex_);
    entry = std::move(queue->entries_.front());
    queue->entries_.pop_front();
  }
  const char* const label = queue->label_.c_str();
  if (entry.keeping) {
    // The turn may be given back while the task still runs: what is left here keeps the queue until then.
    Turn turn(queue);
    runGuarded(label, [&] { entry.keeping(std::move(turn)); });
    entry = Entry();
  } else {
    // The turn ends with this scope even when the task throws, and after the task itself has been destroyed.
    const Turn turn(std::move(queue));
    runGuarded(label, entry.task);
    entry = Entry();
  }
}

void SerialQueue::turnEnded(std::shared_ptr<SerialQueue> queue) {
  {
    const std::lock_guard lock(queue->mutex_);
    queue->busy_ = !queue->entries_.empty();
    if (!queue->busy_) return;
  }
  // One task a visit to the target, so that its other work gets its share in between.
  postNext(std::move(queue));
}

}  // namespace orv
