#pragma once

// How requests and replies find each other: a request is filed under its timestamp, sent, and taken out by the reply
// with the same "s", or after 10 s. Codes 1000, 1001 and 10031 park it instead; a successful "User.Post.Session"
// sends what is parked again, in order, with a fresh time-out. A request's callbacks are called once at most, one of
// them.

#include <orvnetwork/platform/SerialQueue.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/detail/FrameReaders.h>
#include <orvnetwork/transport/detail/LinkCounters.h>
#include <orvnetwork/transport/detail/ReplyFrame.h>
#include <orvnetwork/transport/detail/TimeoutList.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace orv {

/// A request on its way into the table.
struct SubmittedRequest {
  std::shared_ptr<QXRequestItem> item;
  SteadyTime at{};  // when that was asked for
};

/// The requests that wait for a reply, and those that wait for a session.
///
/// Everything here happens one step at a time on a serial queue whose target is the main queue, and a step
/// lasts until the callback that it makes has returned: while a callback runs, nothing else of the table
/// happens, even if the callback runs the host's loop. So no lock guards the table and no thread is switched
/// for it.
///
/// Two things grow with what the host does and are not bounded here, since a request must never be lost: the
/// table (a request leaves it after 10 s at the latest) and the held requests (they wait for a session, or to be taken
/// back: see `takeBack`). Replies that
/// arrive while a callback runs the host's loop wait for its return; they keep their share of what may wait for the
/// main thread, so that the socket is not read for more than that.
class RequestTable {
 public:
  /// How long a request waits for its reply.
  static constexpr std::chrono::seconds kRequestTimeout{10};
  /// Time-outs that fall due closer together than this share one wake-up: at thousands of requests a second
  /// each would otherwise cost a thread switch. A time-out is never early, and a lone one is on time.
  static constexpr std::chrono::milliseconds kAlarmSpacing{5};

  /// So many requests that are submitted one after another on the main thread are filed and sent together at most.
  static constexpr std::size_t kMostTogether = 64;

  /// `transmit` puts the texts of requests on the wire, in their order, `resend` sends a request anew from the start,
  /// `parked` is called when one is held for want of a session, and `timedOut` when one had no reply in time, before its
  /// callback does. All are called on the main thread. `counters` must outlive it.
  RequestTable(std::function<void(const std::vector<SubmittedRequest>&)> transmit,
               std::function<void(const std::shared_ptr<QXRequestItem>&)> resend,
               std::function<void()> parked, std::function<void()> timedOut, LinkCounters& counters);

  /// Files the request, arms its time-out and transmits it, soon: together with those that were submitted just before and
  /// just after it on the main thread, when nothing else is to be done in between. Any thread.
  void submit(std::shared_ptr<QXRequestItem> item);

  /// Matches a reply with its request, soon. Any thread.
  /// @param share the message's share of what may wait for the main thread; held until the reply has been dealt with
  void answer(std::shared_ptr<const ReplyFrame> reply, std::shared_ptr<void> share);

  /// Which of the requests that wait for a reply take it unread. For the thread that reads the socket; lives as long as
  /// the last who holds it.
  const std::shared_ptr<FrameReaders>& frameReaders() const { return frameReaders_; }

  /// How many requests wait for a reply, how many for a session, and how many time-outs are armed. Any thread;
  /// exact on the main thread.
  std::size_t outstandingCount() const { return outstandingCount_; }
  std::size_t parkedCount() const { return parkedCount_; }
  std::size_t armedCount() const { return armedCount_; }

 private:
  using ItemPointer = std::shared_ptr<QXRequestItem>;
  static constexpr std::size_t kFewParked = 16;

  void submitHere(SubmittedRequest request);
  void fileTogether();
  void fileAll(const std::vector<SubmittedRequest>& requests);
  void file(const SubmittedRequest& request);
  void armTimeout(std::int64_t timestamp, SteadyTime due);
  void setAlarm();
  void onAlarm();
  void expireDue(std::vector<std::int64_t> due, std::size_t next, SerialQueue::Turn turn);
  void expire(const SubmittedRequest& request);
  void complete(const std::shared_ptr<const ReplyFrame>& frame);
  void park(const ItemPointer& item);
  void dropTakenBack();
  void resendParked();
  void remove(std::int64_t timestamp);
  void publishCounts();

  const std::function<void(const std::vector<SubmittedRequest>&)> transmit_;
  const std::function<void(const ItemPointer&)> resend_;
  const std::function<void()> parked_, timedOut_;
  LinkCounters& counters_;
  const std::shared_ptr<SerialQueue> requestDataSyncQueue_;
  const std::shared_ptr<FrameReaders> frameReaders_ = std::make_shared<FrameReaders>();

  // Counts what was posted to the queue and is no part of requests that go together.
  std::atomic<std::uint64_t> otherSteps_{0};

  // Main thread only.
  // Requests whose steps wait on the queue, how many go with each step, and what `otherSteps_` was with the last one.
  std::deque<SubmittedRequest> submitted_;
  std::deque<std::size_t> together_;
  std::vector<SubmittedRequest> emptyBatch_;
  std::uint64_t otherStepsBefore_ = 0;
  std::unordered_map<std::int64_t, SubmittedRequest> requestData_;
  std::vector<ItemPointer> sessionRequiredRequests_;
  std::size_t dropAt_ = kFewParked;
  TimeoutList timeouts_;
  bool alarmSet_ = false;
  SteadyTime lastAlarm_{};
  SteadyTime freeSince_{};

  std::atomic<std::size_t> outstandingCount_{0};
  std::atomic<std::size_t> parkedCount_{0};
  std::atomic<std::size_t> armedCount_{0};
};

}  // namespace orv
