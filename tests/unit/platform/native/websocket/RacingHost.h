#pragma once

// A host for AddressRace in virtual time: what its look-ups find and what becomes of each of its addresses.

#include <orvnetwork/platform/native/websocket/AddressRace.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv::test {

/// What becomes of one address, in milliseconds after the try has begun; neither for one that nobody answers.
struct RacedAddress {
  std::optional<int> connects;
  std::optional<int> fails;
  int error = 0;
  /// It fails within the very call that begins the try.
  bool failsInside = false;
};

/// What a look-up of one family finds, and when.
struct RacedLookup {
  bool isMade = true;
  std::optional<int> answersAt;
  int error = 0;  // of getaddrinfo; 0 for none
  std::vector<RacedAddress> addresses;
};

/// Runs one race and writes down what it does. Addresses are called s0, s1 … and f0, f1 … by their families. A try that
/// was dropped still tells what has become of it, as a socket's event does that was on its way already.
class RacingHost : private AddressRace::Runner {
 public:
  RacingHost(RacedLookup sixth, RacedLookup fourth, RaceLimits limits = {});
  RacingHost(const RacingHost&) = delete;
  RacingHost& operator=(const RacingHost&) = delete;

  /// Takes this many steps: answers, outcomes and times that come. False when there was nothing left to do.
  bool step(int count = 1);
  void runAll();
  void cancel() { race_.cancel(); }
  /// Has the race begin with an address that was good before: "s1", "f0".
  void prefer(const std::string& name);
  /// From now on each timer comes a millisecond early first.
  void letTimersComeEarly() { timersComeEarly_ = true; }

  /// "0 s0, 250 f0, 260 won f0": what began when, in milliseconds, and the end.
  std::string story() const { return story_; }
  bool hasEnded() const { return endings_ > 0; }
  /// What is wrong with how things stand; empty for nothing.
  std::string complaint() const;
  /// How many calls of the race's there were.
  int calls() const { return calls_; }
  /// Names of the tries that are open: begun, and neither failed nor dropped.
  const std::set<std::size_t>& open() const { return open_; }
  bool isTimerArmed() const { return timer_.has_value(); }
  std::size_t mostAtOnce() const { return mostAtOnce_; }
  std::size_t begun() const { return names_.size(); }

 private:
  using Happening = std::function<void()>;

  SteadyTime now() override { return SteadyTime(std::chrono::milliseconds(kStart + now_)); }
  void armTimer(SteadyTime when) override;
  void disarmTimer() override;
  std::optional<Error> beginTry(std::size_t number, const SocketAddress& address) override;
  void dropTry(std::size_t number, const std::optional<Error>& error) override;
  void raceWon(std::size_t number) override;
  void raceLost(const Error& error) override;

  void timerCame();
  void answer(IpFamily family, const RacedLookup& lookup);
  void at(int when, Happening happening) {
    happenings_.emplace(std::pair(when, order_++), std::move(happening));
  }
  void tell(const std::string& what);
  void complain(const std::string& what) { complaints_ += what + "; "; }

  static constexpr int kStart = 1'000'000;
  AddressRace race_;
  const RaceLimits limits_;
  std::map<std::string, RacedAddress> addresses_;
  int now_ = 0;
  int order_ = 0;
  std::map<std::pair<int, int>, Happening> happenings_;
  std::optional<int> timer_;
  std::optional<int> cameEarly_;
  bool timersComeEarly_ = false;
  std::vector<std::string> names_;
  std::set<std::size_t> open_;
  std::set<std::size_t> failed_;
  std::size_t mostAtOnce_ = 0;
  int endings_ = 0;
  int calls_ = 0;
  std::string story_;
  std::string complaints_;
};

/// Reads a look-up as it stands in a table: "@10 300 x20 u5 !101 -" answers after 10 ms with addresses of which the first
/// connects after 300 ms, the second is refused after 20, the third is unreachable after 5, the fourth fails with errno
/// 101 at once, and the last is silent. "@10 ?-5" fails with a code of getaddrinfo, "never" answers nothing, and "none"
/// is not made.
RacedLookup readLookup(const std::string& text);

}  // namespace orv::test
