#include "orvnetwork/testing/Scheduler.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace orv::testing {

namespace {

// Its address tells threads apart.
thread_local char threadMark = 0;

constexpr SteadyTime kStart{std::chrono::hours(1)};

}  // namespace

Lane::Lane(std::shared_ptr<Scheduler> scheduler, LaneKind kind, std::string name)
    : scheduler_(std::move(scheduler)), kind_(kind), name_(std::move(name)) {}

Lane::~Lane() {
  std::erase(scheduler_->lanes_, this);
}

void Lane::post(Task task) {
  scheduler_->checkThread();
  tasks_.push_back(std::move(task));
  if (changed_) {
    changed_();
  }
}

void Lane::clear() {
  // What the tasks hold may post here while it goes away.
  std::deque<Task> spent;
  spent.swap(tasks_);
  spent.clear();
  if (changed_) {
    changed_();
  }
}

bool Lane::canStart() const {
  if (held_ || tasks_.empty()) {
    return false;
  }
  if (running_ == 0 || kind_ == LaneKind::Workers) {
    return true;
  }
  // A thread that is inside a task runs another one only when that task itself asks for it.
  return kind_ == LaneKind::Main && scheduler_->running_.back() == this;
}

Scheduler::Scheduler(std::uint64_t seed) : random_(seed), thread_(&threadMark), now_(kStart) {}

Scheduler::~Scheduler() = default;

std::shared_ptr<Scheduler> Scheduler::make(std::uint64_t seed) {
  std::shared_ptr<Scheduler> scheduler(new Scheduler(seed));
  scheduler->timers_ = scheduler->makeLane(LaneKind::Timers, "timers");
  return scheduler;
}

std::shared_ptr<Lane> Scheduler::makeLane(LaneKind kind, std::string name) {
  checkThread();
  std::shared_ptr<Lane> lane(new Lane(shared_from_this(), kind, std::move(name)));
  lanes_.push_back(lane.get());
  return lane;
}

Lane* Scheduler::pick() {
  candidates_.clear();
  std::ranges::copy_if(lanes_, std::back_inserter(candidates_), &Lane::canStart);
  if (candidates_.empty()) {
    return nullptr;
  }
  const auto choice = random_.below(candidates_.size());
  orderHash_ = (orderHash_ ^ (choice * 31 + candidates_.size())) * 0x100000001B3U;
  return candidates_[choice];
}

bool Scheduler::step() {
  checkThread();
  Lane* lane = pick();
  if (lane == nullptr) {
    return false;
  }
  runTask(*lane);
  return true;
}

bool Scheduler::runFirst(Lane& lane) {
  checkThread();
  if (lane.tasks_.empty()) {
    return false;
  }
  runTask(lane);
  return true;
}

void Scheduler::runTask(Lane& lane) {
  const auto keepLane = lane.shared_from_this();
  const auto keepThis = shared_from_this();
  Task task = std::move(lane.tasks_.front());
  lane.tasks_.pop_front();
  if (lane.changed_) {
    lane.changed_();
  }
  ++steps_;
  ++lane.running_;
  running_.push_back(&lane);
  runGuarded(lane.name_.c_str(), task);
  // What the task owns goes while it still counts as running, as on a real thread.
  task = Task();
  running_.pop_back();
  --lane.running_;
}

void Scheduler::settle(std::uint64_t stepLimit) {
  settleUntil([] { return false; }, stepLimit);
}

bool Scheduler::settleUntil(const std::function<bool()>& done, std::uint64_t stepLimit) {
  for (std::uint64_t steps = 0;; ++steps) {
    if (done()) {
      return true;
    }
    if (steps == stepLimit && pick() != nullptr) {
      reportLivelock(steps);
    }
    if (!step()) {
      return false;
    }
  }
}

void Scheduler::reportLivelock(std::uint64_t steps) const {
  std::string message =
      "livelock: " + std::to_string(steps) + " tasks ran at one moment and more are ready; waiting:";
  for (const Lane* lane : lanes_) {
    if (!lane->tasks_.empty()) {
      message += " " + lane->name_ + "=" + std::to_string(lane->tasks_.size());
    }
  }
  throw std::runtime_error(message);
}

std::optional<SteadyTime> Scheduler::nextDue() const {
  if (delayed_.empty()) {
    return std::nullopt;
  }
  return std::max(now_, delayed_.begin()->first.first);
}

void Scheduler::moveTo(SteadyTime when) {
  checkThread();
  const auto before = now_;
  now_ = std::max(now_, when);
  for (auto at = delayed_.upper_bound({before, ~DelayService::Handle(0)});
       at != delayed_.end() && at->first.first <= now_; ++at) {
    timers_->post([this] { postFirstDue(); });
  }
}

DelayService::Handle Scheduler::runAt(SteadyTime when, Executor& executor, Task task) {
  checkThread();
  const auto handle = ++lastHandle_;
  delayed_.emplace(DelayedKey{when, handle}, Delayed{&executor, std::move(task)});
  dueTimes_.emplace(handle, when);
  if (when <= now_ && timers_ != nullptr) {
    timers_->post([this] { postFirstDue(); });
  }
  return handle;
}

void Scheduler::cancel(DelayService::Handle handle) {
  checkThread();
  const auto found = dueTimes_.find(handle);
  if (found == dueTimes_.end()) {
    return;
  }
  // Destroyed last: what the task holds may come back here.
  const auto spent = delayed_.extract(DelayedKey{found->second, handle});
  dueTimes_.erase(found);
}

void Scheduler::postFirstDue() {
  const auto first = delayed_.begin();
  if (first == delayed_.end() || first->first.first > now_) {
    return;  // It was cancelled after it had become due.
  }
  const auto handle = first->first.second;
  Delayed due = std::move(first->second);
  delayed_.erase(first);
  dueTimes_.erase(handle);
  due.executor->post(std::move(due.task));
}

bool Scheduler::isMainCurrent() const {
  return &threadMark == thread_ && (running_.empty() || running_.back()->kind_ == LaneKind::Main);
}

void Scheduler::shutDown() {
  // Tasks own lanes and lanes own the scheduler, so what waits is dropped until nothing new appears.
  const auto keepThis = shared_from_this();
  for (bool found = true; found;) {
    found = false;
    std::map<DelayedKey, Delayed> spent;
    spent.swap(delayed_);
    dueTimes_.clear();
    found = !spent.empty();
    spent.clear();
    const auto waiting = std::ranges::find_if(lanes_, [](const Lane* lane) { return lane->size() > 0; });
    if (waiting != lanes_.end()) {
      found = true;
      const auto keepLane = (*waiting)->shared_from_this();
      keepLane->clear();
    }
  }
  timers_.reset();
}

void Scheduler::checkThread() const {
  if (&threadMark != thread_) {
    std::fputs("The simulated platform was used on a second thread; all of a simulation runs on one.\n",
               stderr);
    std::abort();
  }
}

}  // namespace orv::testing
