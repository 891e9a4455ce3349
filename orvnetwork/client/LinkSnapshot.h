#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/transport/LinkFailure.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// Where the link to the server is.
enum class LinkState {
  Stopped,     ///< nobody wants one: it was closed on purpose, or its `Client` is gone
  Offline,     ///< there is no network; the link comes back with it
  Connecting,  ///< an attempt is under way
  Confirming,  ///< the socket is open, but the server has not answered "PING", or does not answer any more
  Up,          ///< requests can be sent
  Waiting,     ///< between two attempts, or for the first report of the network
};

/// Its name, for a program that reads what another one writes: "stopped", "offline" and so on. Any thread.
ORV_EXPORT std::string_view nameOf(LinkState state) noexcept;

/// Who has started an attempt.
enum class LinkStarter {
  Nobody,  ///< there was no attempt yet
  Link,  ///< the link by itself: its schedule, a report of the network, a request that found it closed, a log-out
  Supervisor,  ///< the supervisor, where the schedule had stalled or the server was silent
  Person,      ///< `LinkStatus::tryNow`
};

/// Its name: "nobody", "link", "supervisor", "person". Any thread.
ORV_EXPORT std::string_view nameOf(LinkStarter starter) noexcept;

/// All that there is to know of the link at one moment: a plain value that can be kept, copied and read on any thread.
///
///     const orv::LinkSnapshot link = client->link().snapshot();
///     if (!link.isUp() && link.failure) show(link.failure->text);
struct ORV_EXPORT LinkSnapshot {
  LinkState state = LinkState::Stopped;
  /// When this state began, on the steady clock (`Platform::current().clock()`); each attempt begins one of its own.
  SteadyTime since{};
  /// When the next attempt is made unless something happens before; absent where none is planned.
  std::optional<SteadyTime> until;
  /// How many attempts there were since the link was last up, the present one included. While the link is up: how many
  /// it took.
  std::uint64_t attempt = 0;
  /// Whose the last attempt was.
  LinkStarter starter = LinkStarter::Nobody;
  /// Why there is no link: what the last attempt or the last link ended with. It stays while the next attempts are made,
  /// also when the network comes back, and is cleared only when the link is up. Absent while nothing went wrong.
  std::optional<LinkFailure> failure;
  /// Whether the link comes up, or comes back after a loss, without anybody's doing. False for a link that is stopped, and
  /// where nothing is planned and nobody supervises it.
  bool willRetry = false;

  /// Whether requests can be sent.
  bool isUp() const noexcept { return state == LinkState::Up; }
  /// Whether the failure is one that attempts alone will hardly mend, such as a wrong address or a bad certificate: somebody
  /// has to look. Attempts are made all the same.
  bool needsPerson() const noexcept;
  /// All of it in one line for a log and a person, without a full stop, for example
  /// `waiting 5 s for attempt 2: the connection was refused`. Control characters are blanks.
  std::string sentence() const;

  bool operator==(const LinkSnapshot&) const = default;
};

/// One change of the link, with how it stood before it.
struct LinkChange {
  LinkSnapshot before;
  LinkSnapshot now;

  /// Whether the link could be used before and cannot now.
  bool isLoss() const noexcept { return before.isUp() && !now.isUp(); }
};

}  // namespace orv
