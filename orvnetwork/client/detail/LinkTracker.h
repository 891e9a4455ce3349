#pragma once

#include <orvnetwork/client/LinkSnapshot.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/client/Subscribers.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/client/detail/LinkSupervisor.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/transport/LinkReading.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orv {

/// Follows the link: makes a snapshot of each change and tells those who want to know.
class LinkTracker {
 public:
  explicit LinkTracker(bool supervised);
  ~LinkTracker();
  LinkTracker(const LinkTracker&) = delete;
  LinkTracker& operator=(const LinkTracker&) = delete;

  const LinkSnapshot& present() const { return present_; }
  /// Whether the link can be used, by the link itself and by what the supervisor has noted.
  bool isUp() const;
  Subscription add(std::function<void(const LinkChange&)> changed);
  Pending<> whenUp();
  void tryNow();

 private:
  static LinkReading read(bool wasWanted);
  LinkReading read() const { return read(wasWanted_); }
  void update();
  void answerThoseWhoWait();
  void attempt(LinkStarter starter);
  void waitToTry(Seconds span);

  LinkSnapshot snapshotOf(const LinkReading& reading) const;
  LinkState stateOf(const LinkReading& reading) const;
  std::optional<SteadyTime> nextAttempt(const LinkReading& reading) const;
  bool willRetry(const LinkReading& reading, const LinkSnapshot& link) const;
  void takeFailure(const LinkReading& reading, LinkSnapshot& link) const;

  LinkSupervisor supervisor_;
  Subscribers<LinkChange> subscribers_;
  std::vector<PendingSource<>> waiting_;  ///< for the link to be up
  LinkSnapshot present_;
  /// Whether a link was asked for since the beginning: before that nobody can have closed it on purpose.
  bool wasWanted_ = false;
  bool wasConfirmed_ = false;                 ///< as last read
  std::uint64_t attempts_ = 0;                ///< as last read
  std::uint64_t attemptsBefore_ = 0;          ///< those before the link was last up
  std::uint64_t failures_ = 0;                ///< as last read
  LinkStarter starting_ = LinkStarter::Link;  ///< whose the attempt is that is being started
  ObserverToken networkReports_;
  std::shared_ptr<Timer> canary_;
  std::optional<SteadyTime> canaryAt_;
};

}  // namespace orv
