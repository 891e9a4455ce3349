#include "orvnetwork/transport/detail/RequestTable.h"

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/SentRequest.h>
#include <orvnetwork/transport/UnreadReply.h>
#include <orvnetwork/transport/detail/CurrentReply.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

namespace orv {

namespace {

constexpr std::string_view kSessionCommand = "User.Post.Session";

/// Result codes that say: no session.
constexpr bool needsSession(std::int32_t ret) {
  return ret == 1000 || ret == 1001 || ret == 10031;
}

SteadyTime steadyNow() {
  return Platform::current().clock().steadyNow();
}

}  // namespace

RequestTable::RequestTable(std::function<void(const std::vector<SubmittedRequest>&)> transmit,
                           std::function<void(const ItemPointer&)> resend, std::function<void()> parked,
                           std::function<void()> timedOut, LinkCounters& counters)
    : transmit_(std::move(transmit)),
      resend_(std::move(resend)),
      parked_(std::move(parked)),
      timedOut_(std::move(timedOut)),
      counters_(counters),
      requestDataSyncQueue_(SerialQueue::make("orv.network.requestData", Platform::current().mainQueue())) {}

void RequestTable::submit(ItemPointer item) {
  SubmittedRequest request{std::move(item), steadyNow()};
  if (Platform::current().mainQueue().isCurrent()) return submitHere(std::move(request));
  ++otherSteps_;
  requestDataSyncQueue_->post([this, request = std::move(request)] { fileAll({request}); });
}

// A host that sends many requests at once has them filed and written together: the step of the first one takes along those
// behind it, as long as nothing else has been posted in between, which would come too late.
void RequestTable::submitHere(SubmittedRequest request) {
  submitted_.push_back(std::move(request));
  if (!together_.empty() && together_.back() < kMostTogether && otherSteps_ == otherStepsBefore_) {
    ++together_.back();
    return;
  }
  together_.push_back(1);
  otherStepsBefore_ = otherSteps_;
  requestDataSyncQueue_->post([this] { fileTogether(); });
}

void RequestTable::fileTogether() {
  const auto end = submitted_.begin() + static_cast<std::ptrdiff_t>(together_.front());
  together_.pop_front();
  // In a block that is kept: one of this size has the C library put all small free ones together.
  std::vector<SubmittedRequest> requests = std::exchange(emptyBatch_, {});
  requests.assign(std::make_move_iterator(submitted_.begin()), std::make_move_iterator(end));
  submitted_.erase(submitted_.begin(), end);
  fileAll(requests);
  requests.clear();
  emptyBatch_ = std::move(requests);
}

void RequestTable::fileAll(const std::vector<SubmittedRequest>& requests) {
  for (const SubmittedRequest& request : requests) file(request);
  publishCounts();
  transmit_(requests);
}

void RequestTable::file(const SubmittedRequest& request) {
  const std::int64_t timestamp = request.item->timestamp;
  const auto filed = requestData_.insert_or_assign(timestamp, request);
  if (!filed.second) counters_.placeTaken();
  frameReaders_->set(timestamp, UnreadReplyBlock::is(request.item->completeBlock));
  // A busy main thread does not lengthen the time-out; a callback that kept the table from being used does.
  armTimeout(timestamp, std::max(request.at, freeSince_) + kRequestTimeout);
}

void RequestTable::answer(std::shared_ptr<const ReplyFrame> reply, std::shared_ptr<void> share) {
  ++otherSteps_;
  requestDataSyncQueue_->post(
      [this, share = std::move(share), reply = std::move(reply)] { complete(reply); });
}

void RequestTable::armTimeout(std::int64_t timestamp, SteadyTime due) {
  timeouts_.arm(due, timestamp);
  if (!alarmSet_) setAlarm();
}

void RequestTable::setAlarm() {
  alarmSet_ = true;
  auto& platform = Platform::current();
  const auto when = std::max(timeouts_.nextDue(), lastAlarm_ + kAlarmSpacing);
  platform.delays().runAt(when, platform.mainQueue(), [this] { onAlarm(); });
}

void RequestTable::onAlarm() {
  alarmSet_ = false;
  lastAlarm_ = steadyNow();
  std::vector<std::int64_t> due;
  while (const auto timestamp = timeouts_.takeDue(lastAlarm_)) due.push_back(*timestamp);
  if (!timeouts_.empty()) setAlarm();
  publishCounts();
  if (due.empty()) return;
  auto shared = std::make_shared<std::vector<std::int64_t>>(std::move(due));
  ++otherSteps_;
  requestDataSyncQueue_->postKeepingTurn(
      [this, shared](SerialQueue::Turn turn) { expireDue(std::move(*shared), 0, std::move(turn)); });
}

// Most time-outs find their request answered long ago and cost a look-up. Each one that does not is a step of
// its own on the main queue, so that a mass of them leaves room for everything else there.
void RequestTable::expireDue(std::vector<std::int64_t> due, std::size_t next, SerialQueue::Turn turn) {
  constexpr std::size_t kMostLookUps = 4096;
  const auto last = std::min(due.size(), next + kMostLookUps);
  while (next < last) {
    const auto found = requestData_.find(due[next++]);
    if (found == requestData_.end()) continue;
    const SubmittedRequest request = found->second;
    expire(request);
    break;
  }
  if (next == due.size()) return;
  Platform::current().mainQueue().post([this, due = std::move(due), next, turn = std::move(turn)]() mutable {
    expireDue(std::move(due), next, std::move(turn));
  });
}

void RequestTable::expire(const SubmittedRequest& request) {
  const ItemPointer& item = request.item;
  // Before its callback, which may take its time.
  counters_.requestTimedOut(lastAlarm_ - request.at);
  timedOut_();
  QXFileLog::standard().log("#WebSocketWithBlock# TIMEOUT %ld\n%@", item->timestamp, item->jsonString);
  if (item->timeoutBlock) runGuarded("time-out callback", [&] { item->timeoutBlock(item); });
  remove(item->timestamp);
}

void RequestTable::complete(const std::shared_ptr<const ReplyFrame>& frame) {
  const ReplyFrame& reply = *frame;
  const auto found = requestData_.find(reply.timestamp);
  if (found == requestData_.end()) {
    counters_.strayReplyCame();
    QXFileLog::standard().log("### WebSocket Timeout ### %@", reply.command);
    return;
  }
  const ItemPointer item = found->second.item;
  counters_.requestAnswered(reply.arrivedAt - found->second.at);
  const bool isSession = reply.command == kSessionCommand;
  if (isSession && reply.succeeded()) resendParked();
  const bool isParked = needsSession(reply.ret) && !isSession && !isTakenBack(*item);
  if (isParked) {
    park(item);
  } else if (item->completeBlock) {
    const CurrentReply current(frame);
    runGuarded("completion callback", [&] {
      static const auto& none = *new json::object();
      const bool wantsValues = !UnreadReplyBlock::is(item->completeBlock);
      item->completeBlock(item, reply.succeeded(), wantsValues ? reply.dictionary() : none);
    });
  }
  remove(item->timestamp);
  if (isParked) parked_();
}

// Those that were taken back meanwhile go now, so that they do not pile up while there is no session.
void RequestTable::park(const ItemPointer& item) {
  if (sessionRequiredRequests_.size() >= dropAt_) {
    dropTakenBack();
    // The more there are, the more rarely all of them are looked at.
    dropAt_ = std::max(kFewParked, 2 * sessionRequiredRequests_.size());
  }
  sessionRequiredRequests_.push_back(item);
}

void RequestTable::dropTakenBack() {
  std::erase_if(sessionRequiredRequests_, [](const ItemPointer& parked) { return isTakenBack(*parked); });
}

void RequestTable::resendParked() {
  dropTakenBack();
  const auto parked = std::exchange(sessionRequiredRequests_, {});
  publishCounts();
  for (const auto& item : parked) resend_(item);
}

void RequestTable::remove(std::int64_t timestamp) {
  requestData_.erase(timestamp);
  frameReaders_->set(timestamp, false);
  freeSince_ = steadyNow();
  publishCounts();
}

void RequestTable::publishCounts() {
  outstandingCount_.store(requestData_.size(), std::memory_order_relaxed);
  parkedCount_.store(sessionRequiredRequests_.size(), std::memory_order_relaxed);
  armedCount_.store(timeouts_.size(), std::memory_order_relaxed);
}

}  // namespace orv
