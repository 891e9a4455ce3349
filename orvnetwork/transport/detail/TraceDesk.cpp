#include "orvnetwork/transport/detail/TraceDesk.h"

#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/transport/detail/TraceText.h>

#include <string_view>
#include <utility>

namespace orv {

namespace {

std::string skippedText(std::uint64_t entries) {
  return std::to_string(entries) + (entries == 1 ? " entry is" : " entries are") +
         " missing: they came faster than they were taken";
}

/// The desk whose sink this thread is in.
thread_local const TraceDesk* innermostCall = nullptr;

WallTime traceTime() {
  return Platform::current().clock().wallNow();
}

}  // namespace

TraceDesk::TraceDesk() = default;
TraceDesk::~TraceDesk() = default;

void TraceDesk::set(TraceSink sink, TraceMode mode) {
  // Outlives the lock: what the former sink holds goes when nothing is locked.
  std::unique_ptr<Target> target;
  if (sink) target = std::make_unique<Target>(Target{std::move(sink), mode, 0});
  std::deque<Waiting> dropped;
  std::unique_lock lock(mutex_);
  // A thread is there from the first sink on.
  if (target && !drain_) drain_ = Platform::current().makeBackgroundDrain([this] { drain(); });
  isOn_ = target != nullptr;
  if (target) target->number = ++targets_;
  target_.swap(target);
  waiting_.swap(dropped);
  bytes_ = 0;
  skipped_ = 0;
  if (!isCalling_) return;
  // The call is a former sink's: none of the one that was set just now can have begun.
  if (innermostCall == this) {
    if (target) replacedInside_.push_back(std::move(target));
    return;
  }
  const auto end = std::make_shared<Semaphore>(0);
  callWaiters_.push_back(end);
  lock.unlock();
  end->wait();
}

void TraceDesk::flush() {
  BackgroundDrain* drain = nullptr;
  {
    const std::lock_guard lock(mutex_);
    drain = drain_.get();
  }
  if (drain != nullptr) drain->runNow();
}

void TraceDesk::message(TraceKind kind, std::uint64_t connection, std::shared_ptr<const std::string> text) {
  Waiting waiting{{kind, traceTime(), connection, text->size(), {}, false, {}, 0}, {}};
  if (text->size() > kLongestText) {
    waiting.entry.text = sizeText(text->size());
  } else {
    waiting.message = std::move(text);
  }
  note(std::move(waiting));
}

void TraceDesk::binary(std::uint64_t connection, std::size_t size) {
  note({{TraceKind::Received, traceTime(), connection, size, sizeText(size), false, {}, 0}, {}});
}

void TraceDesk::attempt(std::uint64_t connection, const OptionalString& url) {
  event(TraceKind::Attempt, connection, url ? addressText(*url) : "no address");
}

void TraceDesk::failure(std::uint64_t connection, const LinkFailure& failure) {
  note({{TraceKind::Failed, traceTime(), connection, 0, hideSecrets(failure.text), false,
         std::string(nameOf(failure.trouble)), 0},
        {}});
}

void TraceDesk::event(TraceKind kind, std::uint64_t connection, std::string text) {
  note({{kind, traceTime(), connection, 0, std::move(text), false, {}, 0}, {}});
}

void TraceDesk::note(Waiting waiting) {
  std::deque<Waiting> dropped;
  const std::lock_guard lock(mutex_);
  if (!target_) return;
  // Words about a connection may name a server.
  const TraceKind kind = waiting.entry.kind;
  const bool isMessage = kind == TraceKind::Sent || kind == TraceKind::Received;
  if (!isMessage && target_->mode == TraceMode::Shareable) waiting.entry.text.clear();
  bytes_ += waiting.bytes();
  waiting_.push_back(std::move(waiting));
  while (waiting_.size() > kMostEntries || bytes_ > kMostBytes) {
    bytes_ -= waiting_.front().bytes();
    dropped.push_back(std::move(waiting_.front()));
    waiting_.pop_front();
    ++skipped_;
  }
  drain_->nudge();
}

// What comes meanwhile is left for the next time, so that who waits for the end of this does not wait for ever.
void TraceDesk::drain() {
  std::size_t left = 0;
  {
    const std::lock_guard lock(mutex_);
    left = waiting_.size();
  }
  while (left > 0 && deliverNext()) --left;
  const std::lock_guard lock(mutex_);
  if (!waiting_.empty()) drain_->nudge();
}

bool TraceDesk::deliverNext() {
  std::uint64_t number = 0;
  TraceMode mode{};
  Waiting next;
  std::uint64_t skipped = 0;
  {
    const std::lock_guard lock(mutex_);
    if (waiting_.empty()) return false;
    number = target_->number;
    mode = target_->mode;
    skipped = std::exchange(skipped_, 0);
    next = std::move(waiting_.front());
    waiting_.pop_front();
    bytes_ -= next.bytes();
  }
  TraceEntry& entry = next.entry;
  if (skipped > 0) {
    TraceEntry gap;
    gap.time = entry.time;
    gap.text = skippedText(skipped);
    gap.skipped = skipped;
    call(number, gap);
  }
  if (next.message) {
    TraceText shown = traceTextOf(*next.message, mode);
    entry.text = std::move(shown.text);
    entry.isJson = shown.isJson;
  }
  call(number, entry);
  return true;
}

/// Does nothing for a sink that has been replaced since.
void TraceDesk::call(std::uint64_t number, const TraceEntry& entry) {
  const Target* target = nullptr;
  {
    const std::lock_guard lock(mutex_);
    if (!target_ || target_->number != number) return;
    target = target_.get();
    isCalling_ = true;
  }
  const TraceDesk* const outer = std::exchange(innermostCall, this);
  runGuarded("frame trace", [&] { target->sink(entry); });
  leaveCall();
  innermostCall = outer;
}

/// Sinks that were replaced inside the call go first: the end of one of them may replace another one.
void TraceDesk::leaveCall() {
  std::vector<std::shared_ptr<Semaphore>> waiters;
  for (bool isOver = false; !isOver;) {
    std::vector<std::unique_ptr<Target>> replaced;
    const std::lock_guard lock(mutex_);
    replaced.swap(replacedInside_);
    isOver = replaced.empty();
    if (!isOver) continue;
    isCalling_ = false;
    waiters.swap(callWaiters_);
  }
  for (const auto& waiter : waiters) waiter->signal();
}

}  // namespace orv
