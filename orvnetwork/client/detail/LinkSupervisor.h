#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/transport/LinkFailure.h>
#include <orvnetwork/transport/LinkReading.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace orv {

/// Watches over the link: it notices what does not go on by itself, and starts an attempt then.
///
/// | what it sees | how long it looks on |
/// |---|---|
/// | no socket, and no timer that would make one | not at all |
/// | a socket that connects and does not end | 65 s: it has 60 s by itself |
/// | an open socket whose server has not answered the first "PING" | 10 s |
/// | a link on which nothing comes any more | 45 s from the last message on: "PING" is sent every 30 s |
/// | a link that is in doubt | 10 s, after a "PING" of its own |
///
/// A link comes into doubt by a report of the network, which may have another address now that the link does not have, and
/// by two requests that time out one after the other with no message between them. While the "PING" is not answered there
/// is no second one.
///
/// Then the trouble is noted, and the attempt waits some random time. Whatever changes meanwhile withdraws it. Time in
/// which the process stood still does not count, and where the main thread was busy it looks on for 10 s more from then
/// on. Main thread.
class LinkSupervisor {
 public:
  struct Actions {
    /// How the link stands.
    std::function<LinkReading()> read;
    /// Something was noted: `trouble()` and `nextAttempt()` are new.
    std::function<void()> noted;
    /// Has to start an attempt.
    std::function<void()> attempt;
    /// Has to send something over the link, which is up, that the server answers at once.
    std::function<void()> ask;
  };

  /// @param acts whether it starts attempts and asks; else it only notes
  LinkSupervisor(bool acts, Actions actions);
  ~LinkSupervisor();
  LinkSupervisor(const LinkSupervisor&) = delete;
  LinkSupervisor& operator=(const LinkSupervisor&) = delete;

  /// How the link stands now. To be called after each change.
  void follow(const LinkReading& reading);
  /// The system has reported something of the network, the status that it had before or another one.
  void networkReported();

  /// What is wrong with a link that says nothing of it by itself; absent while all is well.
  const std::optional<LinkFailure>& trouble() const { return trouble_; }
  /// When it will start an attempt; absent where it need not.
  std::optional<SteadyTime> nextAttempt() const { return nextAttempt_; }
  /// Whether it starts attempts.
  bool acts() const { return acts_; }

  /// The most that the wait before an attempt has on top of the shortest one.
  /// @param attempts how many of its attempts came before without a link that lasted
  static Seconds spread(std::uint64_t attempts);

 private:
  enum class Kind { Fine, Stalled, Connecting, Confirming, Up };
  struct Sight {
    Kind kind = Kind::Fine;
    std::uint64_t attempts = 0;
    bool operator==(const Sight&) const = default;
  };

  static Kind kindOf(const LinkReading& reading);
  static Seconds patienceWith(Kind kind);
  static std::optional<LinkFailure> troubleOf(Kind kind);
  static SteadyTime now();
  bool isAsSeen(const LinkReading& reading) const;
  void takeIn(const LinkReading& reading);
  void doubt();
  void forgetAttemptsOfALastingLink();
  void rest();
  void lookOn(SteadyTime since);
  SteadyTime since(const LinkReading& reading) const;
  /// Looks again then, and goes on with `look` if everything is as it was.
  void lookAgainAt(SteadyTime at, void (LinkSupervisor::*look)());
  void lookLast();
  void lookOnceMore();
  void lookForHalfAndThen(void (LinkSupervisor::*look)());
  void note();
  void planAttempt();
  void act();

  const bool acts_;
  const Actions actions_;
  Sight sight_;
  std::uint64_t messages_ = 0;
  std::uint64_t timeouts_ = 0;        ///< as last read
  std::uint64_t timeoutsBefore_ = 0;  ///< those before the last message or the present link
  bool isAsked_ = false;              ///< and no message has come since
  bool isLastLook_ = false;
  SteadyTime upSince_{};
  std::uint64_t attempts_ = 0;  ///< its own since a link lasted
  SteadyTime lookAt_{};         ///< when it was to look again
  std::optional<LinkFailure> trouble_;
  std::optional<SteadyTime> nextAttempt_;
  std::shared_ptr<Timer> timer_;
};

}  // namespace orv
