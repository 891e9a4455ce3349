#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/transport/LinkFailure.h>

#include <map>
#include <optional>

namespace orv {

/// The messages of one direction.
struct LinkTraffic {
  /// How many messages; 0 before the first one.
  std::uint64_t frames = 0;
  /// The bytes of their texts. What TLS and the WebSocket protocol put around them does not count.
  std::uint64_t bytes = 0;
  /// When the last one was given to the socket, or read by it; absent before the first one. A request that has waited for a
  /// busy main thread has the time at which it was made.
  std::optional<SteadyTime> last{};
};

/// How long answers were waited for. p50 and p99 are right to 3.2 %, and below 32 µs to the microsecond; 134 s and all above
/// are one. The others are exact.
struct RoundTrips {
  /// How many were measured; 0 before the first one.
  std::uint64_t count = 0;
  /// All of them together; 0 before the first one.
  Seconds sum{0};
  /// What half of them took at most; absent before the first one.
  std::optional<Seconds> p50{};
  /// What 99 of 100 took at most; absent before the first one.
  std::optional<Seconds> p99{};
  /// The one that took longest; absent before the first one.
  std::optional<Seconds> longest{};
};

/// One step of the way to a link that is up.
struct StepTime {
  /// How many links have needed it; 0 before the first one.
  std::uint64_t count = 0;
  /// What it took all of them together; 0 before the first one.
  Seconds sum{0};
  /// What it took longest; 0 before the first one.
  Seconds longest{0};
};

/// The steps of links that have come up: what an attempt took that has failed is not in it, but in
/// `QXWebSocketMgr::connectReport` as long as it is the last one. A step that no link has needed has count 0.
struct LinkSteps {
  StepTime name;     ///< the look-up of the name
  StepTime connect;  ///< the connection to an address
  StepTime proxy;    ///< the talk with the proxy
  StepTime tls;      ///< the handshake of TLS
  StepTime upgrade;  ///< the change from HTTP to WebSocket
  StepTime confirm;  ///< from the open socket to the first "PONG"
  StepTime whole;    ///< from the beginning of the attempt to the first "PONG"
};

/// What was counted in some span of time.
struct LinkFigures {
  /// When the span began: with the first attempt. Absent before it.
  std::optional<SteadyTime> begun{};
  /// How many attempts to connect were begun; 0 before the first one.
  std::uint64_t attempts = 0;
  /// How many of them have come up; 0 before the first one.
  std::uint64_t ups = 0;
  /// How often an attempt or a link has ended for which reason; a reason that there was not is not in it, and it is empty
  /// while nothing has failed. What was replaced by another attempt before it has told its end counts as `NoAnswer` where the
  /// socket was not open yet, as `Unconfirmed` where the server had not answered "PING", and as `Lost` where it was closed
  /// already; a good link that is replaced does not count. `NoNetwork` counts once for each link or attempt
  /// that the loss of the network has closed. What the host closes itself does not count.
  std::map<LinkTrouble, std::uint64_t> failures{};
  /// What the way took; all 0 before the link was first up.
  LinkSteps steps;

  /// What went to the server: requests, "PING" and what a host sends with `QXWebSocketMgr::send`. Each counts when it is
  /// given to an open socket; whether it arrives is not known.
  LinkTraffic sent;
  /// What came from the server, of every kind. Messages of a socket that has been replaced do not count.
  LinkTraffic received;

  /// From `sendRequestItem` to the arrival of the reply in this process. A busy main thread makes them longer by what a
  /// request waits before it goes out, not by what its reply waits for. A request that timed out counts with the time that it
  /// has waited, 10 s or somewhat more: without them a server that hangs would look quick. One that was refused for want of a
  /// session counts each time that it is answered. One whose place was taken does not count.
  RoundTrips requests;
  /// From a "PING" to its "PONG". Where several are on their way the first "PONG" belongs to the first of them, and the
  /// others are not measured.
  RoundTrips pings;

  /// Requests without a reply in time; 0 before the first one.
  std::uint64_t timeouts = 0;
  /// Requests that took the place of an outstanding one, as their identifier was the same; 0 before the first one.
  std::uint64_t equalTimestamps = 0;
  /// Replies for which no request has waited: they came too late, or nobody has asked; 0 before the first one.
  std::uint64_t strayReplies = 0;
  /// Messages that the server has pushed, known and dropped ones among them; 0 before the first one.
  std::uint64_t pushes = 0;
  /// Messages that were no frame and no "PONG": dropped; 0 before the first one.
  std::uint64_t unreadable = 0;
};

/// What has passed on the link: a plain value. Sums and counts, no rates: two of them and the time between them make one.
///
///     const orv::LinkStatistics now = orv::QXWebSocketMgr::standard().statistics();
///     if (now.link.requests.p99 > orv::Seconds(2)) hint.show("the network is slow");
///     report.attach(writeJsonCompact(orv::jsonOf(now)).valueOr(""));
///
/// It is read without a lock that a frame would wait for. On the main thread it is exact. On another one each figure is
/// right by itself, and of figures that belong together one may be a frame ahead of the other.
struct LinkStatistics {
  /// When it was read.
  SteadyTime readAt{};
  /// The present link, or the last one: from the first attempt after a link that was up to the end of the next one that is.
  /// So it keeps the attempts that failed on the way, and when the link is lost all of it stays until the next attempt.
  LinkFigures link;
  /// Since the process began.
  LinkFigures total;
  /// Requests that wait for a reply at this moment.
  std::size_t outstanding = 0;
  /// Requests that wait for a session at this moment.
  std::size_t parked = 0;
};

/// All of it as a dictionary with "link", "total", "outstanding" and "parked": for a log, a report, or another program.
/// Times are milliseconds; what is absent there is null here, and moments are told as the time that has passed since
/// ("lastAgo", "begunAgo"). It holds nothing of what the frames said. Any thread.
ORV_EXPORT json::object jsonOf(const LinkStatistics& statistics);

}  // namespace orv
