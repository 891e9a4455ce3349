#include "orvnetwork/testing/detail/Pipe.h"

#include <algorithm>
#include <chrono>
#include <deque>

namespace orv::testing {

void Pipe::push(Seconds latency, Task arrival) {
  const auto delay = std::chrono::round<std::chrono::nanoseconds>(std::max(latency, Seconds::zero()));
  lastArrival_ = std::max(lastArrival_, scheduler_.now() + delay);
  arrivals_.push_back(std::move(arrival));
  schedule(lastArrival_);
}

void Pipe::schedule(SteadyTime when) {
  Task arrival = [self = shared_from_this()] { self->deliverNext(); };
  if (when <= scheduler_.now()) {
    lane_->post(std::move(arrival));
  } else {
    scheduler_.runAt(when, *lane_, std::move(arrival));
  }
}

void Pipe::setBlocked(bool blocked) {
  blocked_ = blocked;
  for (; !blocked_ && missed_ > 0; --missed_) {
    schedule(scheduler_.now());
  }
}

void Pipe::clear() {
  std::deque<Task> spent;
  spent.swap(arrivals_);
  missed_ = 0;
}

void Pipe::deliverNext() {
  // After `clear` there are more appointments than arrivals, and an early one may carry a later arrival; a
  // link that was cleared is never used again, so that does not matter.
  if (arrivals_.empty()) {
    return;
  }
  if (blocked_) {
    ++missed_;
    return;
  }
  Task arrival = std::move(arrivals_.front());
  arrivals_.pop_front();
  arrival();
}

}  // namespace orv::testing
