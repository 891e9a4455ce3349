#include "orvnetwork/transport/detail/LinkCounters.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

namespace orv {

namespace {

std::int64_t countOf(SteadyTime at) {
  return at.time_since_epoch().count();
}

void addStep(StepTime& step, std::optional<Seconds> took) {
  if (!took) return;
  ++step.count;
  step.sum += *took;
  step.longest = std::max(step.longest, *took);
}

void addSteps(LinkSteps& steps, const ConnectReport& report, std::optional<Seconds> confirm,
              std::optional<Seconds> whole) {
  addStep(steps.name, report.name);
  addStep(steps.connect, report.connect);
  addStep(steps.proxy, report.proxy);
  addStep(steps.tls, report.tls);
  addStep(steps.upgrade, report.upgrade);
  addStep(steps.confirm, confirm);
  addStep(steps.whole, whole);
}

}  // namespace

void LinkCounters::requestSent(std::size_t bytes, SteadyTime submittedAt) {
  requestFrames_.add(1);
  requestBytes_.add(bytes);
  lastSent_.store(countOf(submittedAt), std::memory_order_relaxed);
}

void LinkCounters::received(std::size_t bytes, SteadyTime at) {
  receivedFrames_.add(1);
  receivedBytes_.add(bytes);
  lastReceived_.store(countOf(at), std::memory_order_relaxed);
}

void LinkCounters::requestTimedOut(SteadyTime::duration span) {
  timeouts_.add(1);
  requests_.count(span, generation());
}

void LinkCounters::pongCame(SteadyTime at) {
  const std::int64_t sent = pingSentAt_.exchange(kNever);
  if (sent != kNever) pings_.count(SteadyTime::duration(countOf(at) - sent), generation());
}

void LinkCounters::textSent(std::string_view text, SteadyTime at) {
  textFrames_.fetch_add(1, std::memory_order_relaxed);
  textBytes_.fetch_add(text.size(), std::memory_order_relaxed);
  lastSent_.store(countOf(at), std::memory_order_relaxed);
  if (text != "PING") return;
  // Only the first one that is not answered yet is measured.
  std::int64_t none = kNever;
  pingSentAt_.compare_exchange_strong(none, countOf(at));
}

void LinkCounters::attemptBegins(SteadyTime at, std::optional<LinkTrouble> ofTheFormer) {
  if (ofTheFormer) failed(*ofTheFormer);
  pingSentAt_ = kNever;
  const std::lock_guard lock(mutex_);
  if (link_.ups > 0) {
    link_ = {};
    atBegin_ = sums();
    ++generation_;
  }
  attemptedAt_ = at;
  openedAt_.reset();
  for (Rare* rare : {&link_, &total_}) {
    if (!rare->begun) rare->begun = at;
    ++rare->attempts;
  }
}

void LinkCounters::opened(SteadyTime at) {
  const std::lock_guard lock(mutex_);
  openedAt_ = at;
}

void LinkCounters::up(SteadyTime at, const ConnectReport& report) {
  const std::lock_guard lock(mutex_);
  const auto since = [at](std::optional<SteadyTime> begin) {
    return begin ? std::optional<Seconds>(at - *begin) : std::nullopt;
  };
  for (Rare* rare : {&link_, &total_}) {
    ++rare->ups;
    addSteps(rare->steps, report, since(openedAt_), since(attemptedAt_));
  }
}

void LinkCounters::failed(LinkTrouble trouble) {
  const std::lock_guard lock(mutex_);
  ++link_.failures[trouble];
  ++total_.failures[trouble];
}

LinkCounters::Sums LinkCounters::sums() const {
  Sums now;
  now.sentFrames = requestFrames_.get() + textFrames_.load(std::memory_order_relaxed);
  now.sentBytes = requestBytes_.get() + textBytes_.load(std::memory_order_relaxed);
  now.receivedFrames = receivedFrames_.get();
  now.receivedBytes = receivedBytes_.get();
  now.timeouts = timeouts_.get();
  now.equalTimestamps = equalTimestamps_.get();
  now.strayReplies = strayReplies_.get();
  now.pushes = pushes_.get();
  now.unreadable = unreadable_.get();
  now.requests = requests_.values();
  now.pings = pings_.values();
  return now;
}

std::optional<SteadyTime> LinkCounters::moment(const std::atomic<std::int64_t>& at) {
  const std::int64_t count = at.load(std::memory_order_relaxed);
  return count == kNever ? std::nullopt : std::optional(SteadyTime(SteadyTime::duration(count)));
}

std::optional<SteadyTime> LinkCounters::lastReceived() const {
  return moment(lastReceived_);
}

LinkFigures LinkCounters::figures(const Rare& rare, const Sums& now, const Sums& before) const {
  const bool isTotal = &rare == &total_;
  LinkFigures all;
  all.begun = rare.begun;
  all.attempts = rare.attempts;
  all.ups = rare.ups;
  all.failures = rare.failures;
  all.steps = rare.steps;
  all.sent = {now.sentFrames - before.sentFrames, now.sentBytes - before.sentBytes, {}};
  if (all.sent.frames > 0) all.sent.last = moment(lastSent_);
  all.received = {now.receivedFrames - before.receivedFrames, now.receivedBytes - before.receivedBytes, {}};
  if (all.received.frames > 0) all.received.last = moment(lastReceived_);
  all.requests =
      now.requests.since(before.requests, isTotal ? requests_.longest() : requests_.longestOf(generation()));
  all.pings = now.pings.since(before.pings, isTotal ? pings_.longest() : pings_.longestOf(generation()));
  all.timeouts = now.timeouts - before.timeouts;
  all.equalTimestamps = now.equalTimestamps - before.equalTimestamps;
  all.strayReplies = now.strayReplies - before.strayReplies;
  all.pushes = now.pushes - before.pushes;
  all.unreadable = now.unreadable - before.unreadable;
  return all;
}

LinkStatistics LinkCounters::read(SteadyTime now) const {
  LinkStatistics statistics;
  statistics.readAt = now;
  const std::lock_guard lock(mutex_);
  const Sums sums = this->sums();
  statistics.link = figures(link_, sums, atBegin_);
  statistics.total = figures(total_, sums, {});
  return statistics;
}

}  // namespace orv
