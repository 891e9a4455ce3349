#pragma once

#include <orvnetwork/client/LinkSnapshot.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/transport/FrameTrace.h>
#include <orvnetwork/transport/LinkStatistics.h>

#include <functional>
#include <memory>
#include <string>

namespace orv {

class Client;
class LinkTracker;

/// The link to the server as a host sees it: one state, why it is not up, and word of every change.
///
///     orv::LinkStatus& link = client->link();
///     shown_ = link.onChanged([this](const orv::LinkChange& change) {
///       if (change.now.isUp()) return banner_.hide();
///       banner_.showAfter(orv::Seconds(1), change.now.sentence());   // a short loss is not worth a word
///     });
///
/// Every change is told, also those that no notification tells: a link that was reset, one that a request has replaced, a
/// server that does not answer any more. "Up" alone clears a failure: an attempt that begins is no better than one that
/// has failed.
///
/// The link comes back by a schedule of its own: at once, after 5 s, after 15 s, then every 30 s. Where that stalls (an
/// attempt that fails within 1.5 s of its start is followed by none; a server that opens the link and never answers "PING"
/// is waited for without end; one that is silent afterwards as well) a supervisor starts an attempt, unless it was switched
/// off (`ClientOptions::supervised`). It never acts where the schedule has an attempt planned or under way. Its attempts
/// wait 1.5 s and a random time on top, 10 s at most before the first one, twice as much each time, up to 60 s. They
/// begin anew at 10 s only after the link was up for 10 s. So thousands of hosts whose server was away do not come back at
/// the same moment.
///
/// A link that is up and may have died is asked by the supervisor with one "PING", and given up where nothing comes for
/// 10 s: after a report of the network, which may bring another address, and when two requests have timed out with no
/// message between them. Without that a silent server is noticed 45 s after its last message.
///
/// The `Client` has one. Main thread: it is called there and calls back there. Nothing in it waits.
class ORV_EXPORT LinkStatus {
 public:
  /// Is called with a change. What it throws is logged on the console. One that runs a loop of its own is called in it too.
  using Callback = std::function<void(const LinkChange& change)>;

  LinkStatus(const LinkStatus&) = delete;
  LinkStatus& operator=(const LinkStatus&) = delete;
  ~LinkStatus();

  /// How the link stands; valid until it changes, which it does in turns of the main queue and in calls of the layers below.
  const LinkSnapshot& snapshot() const;
  LinkState state() const { return snapshot().state; }
  /// Whether a request can be sent now. It asks the link itself, so it is right also inside a notification of the layers
  /// below, before the change is told.
  bool isUp() const;
  /// The snapshot in one line: `LinkSnapshot::sentence`.
  std::string sentence() const { return snapshot().sentence(); }
  /// Whether the link comes up, or comes back, without anybody's doing: `LinkSnapshot::willRetry`.
  bool willRetry() const { return snapshot().willRetry; }

  /// Calls `changed` with every change from now on, each in a turn of the main queue after the one that caused it, and
  /// once in the next turn with how things stand now: `before` and `now` are the same then. Two snapshots that follow each
  /// other are never the same otherwise.
  /// @return keeps the callback; destroying it, from inside the callback too, ends it for good
  [[nodiscard]] Subscription onChanged(Callback changed);

  /// Waits for the link to be up; where it is up already the answer comes in the next turn. Give it a `deadline` where
  /// somebody looks on, since it waits as long as there is no link.
  ///
  ///     auto up = client->link().whenUp().deadline(orv::Seconds(10));
  ///     if (co_await up != orv::PendingEnd::Finished) co_return show(client->link().sentence());
  ///
  /// By the time of the answer the link may be lost again: then a request says so.
  [[nodiscard]] Pending<> whenUp();

  /// Makes one attempt now, as when a person does not want to wait; it changes nothing of the waits that follow when it
  /// fails. An attempt that is under way for 1.5 s or longer is given up for it. Within 1.5 s of the last one it waits until
  /// these have passed, and does nothing when that one is still under way. Does nothing while the link is up. A link that
  /// was closed on purpose is opened again, and without a network it is tried all the same.
  void tryNow();

  /// What has passed on the link: counts, round trips, and what the way to the server took. Cheap enough to be asked for each
  /// second.
  LinkStatistics statistics() const;

  /// Gives each message of either direction, and what happens to the link, to `sink`, secrets hidden. The sink is called on
  /// a thread of the trace's own, on the main thread only where that calls `QXWebSocketMgr::flushFrameTrace`; all the rest is
  /// as with `QXWebSocketMgr::setFrameTrace`. An empty sink ends the trace, and so does the end of the client: what waits for
  /// the sink then is gone, unless it was flushed before, and a call of the sink that is under way is waited for. So a sink
  /// does not wait for the main thread.
  ///
  ///     auto file = orv::TraceFile::open(path);
  ///     if (file) client->link().setFrameTrace(orv::TraceFile::sinkOf(*file), orv::TraceMode::Shareable);
  void setFrameTrace(TraceSink sink, TraceMode mode = TraceMode::SecretsHidden);

 private:
  friend class Client;
  explicit LinkStatus(bool supervised);

  const std::unique_ptr<LinkTracker> tracker_;
  bool traces_ = false;
};

}  // namespace orv
