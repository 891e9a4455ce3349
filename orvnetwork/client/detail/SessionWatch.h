#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/client/SessionInfo.h>
#include <orvnetwork/client/Subscribers.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/session/SessionRenewal.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::detail {

/// Knows how the session stands, from what the layers below tell, and tells who has subscribed. Asks for a renewal where
/// nobody else would for minutes.
class SessionWatch : public std::enable_shared_from_this<SessionWatch> {
 public:
  /// Whom the server takes a session for.
  struct Identity {
    OptionalString uID, token;
    static Identity of(const OrvUserInfoModel& user) { return {user.uID.get(), user.token.get()}; }
    bool operator==(const Identity&) const = default;
  };

  SessionWatch() = default;
  /// Begins to listen.
  void open();
  /// The user manager is there.
  void loaded();
  /// Nobody is told any more.
  void close();

  const SessionInfo& info() const { return info_; }
  Subscription add(std::function<void(const SessionChange&)> callback);
  /// Answered when the link is up the next time.
  Pending<> linkUp();

  /// The server has logged this user in; they are going to be stored.
  void expect(const Identity& identity) { expected_ = identity; }
  /// They are stored, on the link on which they were logged in.
  void confirm(const Identity& identity);
  /// Looks at everything anew.
  void look();

 private:
  /// What was heard of the session of the user who is stored.
  enum class Verdict { None, Good, Refused, TakenOver };

  void observe(std::string_view name, void (SessionWatch::*heard)());
  void userChanged();
  void linkOpened();
  void takenOver(const json::object* frame);
  void renewalEnded(const SessionRenewal& renewal);
  void requestParked();
  void renewSoon();
  void renewWithin(Seconds spread);

  std::shared_ptr<OrvUserInfoModel> storedUser() const;
  SessionState stateFor(bool isStored) const;
  SessionInfo presentFor(const OrvUserInfoModel* stored) const;

  SessionInfo info_;
  Identity identity_;
  std::optional<Identity> expected_;
  Verdict verdict_ = Verdict::None;
  std::string reason_;
  OtherDevice otherDevice_;
  bool isLoaded_ = false;

  std::shared_ptr<Timer> renewal_;
  Seconds askedSpread_{0};
  std::optional<SteadyTime> askedAt_;

  std::optional<Subscribers<SessionChange>> subscribers_{std::in_place};
  std::vector<PendingSource<>> linkWaiters_;
  std::vector<ObserverToken> tokens_;
};

}  // namespace orv::detail
