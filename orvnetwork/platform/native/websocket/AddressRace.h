#pragma once

// RFC 8305, "Happy Eyeballs": which address is tried when. The families take turns, the sixth version first, unless an
// address is known that was good the last time: that one is first, and its family. The next try begins 250 ms after the
// last one began, or at once when one fails; those that began earlier live on, and the first that connects wins. So a
// delay is no time-out: how long the whole may take is for somebody else to say.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/native/websocket/SocketAddress.h>

#include <array>
#include <cstddef>
#include <deque>
#include <optional>
#include <vector>

namespace orv {

/// Spans and bounds of a race. The defaults are the ones meant for use; tests change them.
struct RaceLimits {
  /// How long after a try the next one begins.
  Seconds nextTry{0.25};
  /// How long the other family's addresses wait for those of the family that goes first, when these are still looked up.
  Seconds firstFamily{0.05};
  /// How many tries are under way at most: for one more the oldest is given up.
  std::size_t triesAtOnce = 6;
  /// How many addresses of a family are tried at most.
  std::size_t addressesOfFamily = 16;
};

/// One race for a connection among the addresses of a host. It decides; a `Runner` does. All calls come on one thread.
/// The end, `raceWon` or `raceLost`, comes once, and nothing after it; none comes after `cancel`. Then no try is under
/// way, but the one that won, and no timer is armed.
class AddressRace {
 public:
  /// What the race has done for it.
  class Runner {
   public:
    virtual SteadyTime now() = 0;
    /// `timeCame` is to be called then. There is one timer: a new time takes the place of the old one.
    virtual void armTimer(SteadyTime when) = 0;
    virtual void disarmTimer() = 0;

    /// Starts to connect to an address; tries are numbered from 0. What comes of it is told by `tryConnected` or
    /// `tryFailed`, always after this call. Returns an error when there is nothing to wait for.
    virtual std::optional<Error> beginTry(std::size_t number, const SocketAddress& address) = 0;
    /// Closes what a try has opened; the race takes no more notice of it.
    /// @param error why; absent when another one won or the race was cancelled
    virtual void dropTry(std::size_t number, const std::optional<Error>& error) = 0;

    /// The try of this number is the connection.
    virtual void raceWon(std::size_t number) = 0;
    /// There is no address left, and this says most of why.
    virtual void raceLost(const Error& error) = 0;

   protected:
    ~Runner() = default;
  };

  explicit AddressRace(Runner& runner, RaceLimits limits = {}) : runner_(runner), limits_(limits) {}

  /// This one is tried first if a look-up finds it. To be called before any has answered.
  void prefer(IpFamily family, const SocketAddress& address) { preferred_ = Preferred{family, address}; }
  /// A look-up for this family is under way: the race is not lost before it has ended.
  void lookupBegan(IpFamily family) { lookups_[indexOf(family)] = true; }
  /// What a look-up has found, in the order in which to try it; those that are known already are left out.
  void addressesCame(IpFamily family, const std::vector<SocketAddress>& addresses);
  void lookupFailed(IpFamily family, Error error);

  void tryConnected(std::size_t number);
  void tryFailed(std::size_t number, Error error);
  void timeCame();

  /// Gives everything up, without a word.
  void cancel();

 private:
  struct Preferred {
    IpFamily family;
    SocketAddress address;
  };

  static std::size_t indexOf(IpFamily family) { return static_cast<std::size_t>(family); }
  static IpFamily otherThan(IpFamily family) {
    return family == IpFamily::Fourth ? IpFamily::Sixth : IpFamily::Fourth;
  }
  IpFamily firstFamily() const { return preferred_ ? preferred_->family : IpFamily::Sixth; }
  bool isWaiting(IpFamily family) const { return !waiting_[indexOf(family)].empty(); }
  bool isLookedUp(IpFamily family) const { return lookups_[indexOf(family)]; }

  void goOn();
  SteadyTime whenNext() const;
  void beginNext();
  void add(IpFamily family, const SocketAddress& address);
  void takePreferred(IpFamily family, const std::vector<SocketAddress>& found);
  SocketAddress takeNext();
  void makeRoom();
  bool takeFromRunning(std::size_t number);
  void setTimer(std::optional<SteadyTime> when);
  void end();
  void lose();

  Runner& runner_;
  const RaceLimits limits_;
  std::array<bool, 2> lookups_{};
  std::array<std::deque<SocketAddress>, 2> waiting_;
  std::array<std::vector<SocketAddress>, 2> known_;
  std::array<std::optional<SteadyTime>, 2> came_;
  std::optional<Preferred> preferred_;
  std::vector<std::size_t> running_;  // in the order in which they began
  std::size_t begun_ = 0;
  std::optional<IpFamily> lastFamily_;
  SteadyTime nextAt_{};
  std::optional<SteadyTime> armedFor_;
  std::optional<Error> connectError_;
  std::optional<Error> lookupError_;
  bool ended_ = false;
};

}  // namespace orv
