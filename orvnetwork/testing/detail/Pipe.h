#pragma once

#include <orvnetwork/testing/Scheduler.h>

#include <deque>
#include <memory>
#include <string>

namespace orv::testing {

/// One direction of a link: what is pushed arrives in order, each piece after its latency.
class Pipe final : public std::enable_shared_from_this<Pipe> {
 public:
  Pipe(Scheduler& scheduler, std::string name)
      : scheduler_(scheduler), lane_(scheduler.makeLane(LaneKind::Link, std::move(name))) {}

  /// Runs `arrival` on the pipe's lane after `latency`, and not before what was pushed earlier.
  void push(Seconds latency, Task arrival);
  /// While blocked nothing arrives; what was pushed arrives when the pipe is free again.
  void setBlocked(bool blocked);
  bool isBlocked() const { return blocked_; }
  bool isEmpty() const { return arrivals_.empty(); }
  /// Forgets what is under way.
  void clear();

 private:
  void schedule(SteadyTime when);
  void deliverNext();

  Scheduler& scheduler_;
  const std::shared_ptr<Lane> lane_;
  std::deque<Task> arrivals_;
  SteadyTime lastArrival_{};
  std::size_t missed_ = 0;  // arrivals whose time came while the pipe was blocked
  bool blocked_ = false;
};

}  // namespace orv::testing
