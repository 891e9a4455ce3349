#include <orvnetwork/platform/native/websocket/AddressRace.h>

#include "RacingHost.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <random>
#include <string>

namespace orv::address_race_test {
namespace {

using test::RacedAddress;
using test::RacedLookup;
using test::RacingHost;
using test::readLookup;

/// What the look-ups find, and what the race makes of it; see `readLookup` and `RacingHost::story`.
struct RaceCase {
  const char* what;
  const char* sixth;
  const char* fourth;
  const char* story;
};

constexpr RaceCase kCases[] = {
    // One address.
    {"the only address connects", "none", "@0 10", "0 f0, 10 won f0"},
    {"the only address is refused", "none", "@0 x10", "0 f0, 10 lost POSIX 111"},
    {"the only address fails at once", "none", "@0 !101", "0 f0, 0 lost POSIX 101"},
    {"the only address is silent: somebody else ends it", "none", "@0 -", "0 f0"},
    {"a delay is no time-out: 30 seconds are waited for", "none", "@0 30000", "0 f0, 30000 won f0"},

    // Both families.
    {"the sixth version goes first, whichever answer comes first", "@20 5", "@10 5", "20 s0, 25 won s0"},
    {"at the same moment too", "@10 5", "@10 5", "10 s0, 15 won s0"},
    {"the families take turns", "@0 - - -", "@0 - - 10",
     "0 s0, 250 f0, 500 s1, 750 f1, 1000 s2, 1250 f2, 1260 won f2"},
    {"the rest of the longer family follows", "@0 -", "@0 - - 10",
     "0 s0, 250 f0, 500 f1, 750 f2, 760 won f2"},
    {"a dead first address costs 250 ms", "@0 -", "@0 5", "0 s0, 250 f0, 255 won f0"},
    {"one that takes 300 ms is still taken", "@0 300", "@0 -", "0 s0, 250 f0, 300 won s0"},
    {"the first that connects wins, not the first that began", "@0 1000", "@0 10",
     "0 s0, 250 f0, 260 won f0"},
    {"earlier tries live on to the end", "@0 900 -", "@0 - -", "0 s0, 250 f0, 500 s1, 750 f1, 900 won s0"},

    // Failures.
    {"a refused address makes room for the next at once", "@0 x10", "@0 5", "0 s0, 10 f0, 15 won f0"},
    {"so does one that is unreachable", "@10 !101 !101", "@5 20", "10 s0, 10 f0, 30 won f0"},
    {"and one that fails while an older one goes on", "@0 - -", "@0 !101 10",
     "0 s0, 250 f0, 250 s1, 500 f1, 510 won f1"},
    {"a failure of an older try begins the next one too", "@0 x300 -", "@0 - 10",
     "0 s0, 250 f0, 300 s1, 550 f1, 560 won f1"},
    {"the span counts from the last beginning", "@0 x100", "@0 - 10", "0 s0, 100 f0, 350 f1, 360 won f1"},
    {"all are refused", "@0 x10 x10", "@0 x10 x10", "0 s0, 10 f0, 20 s1, 30 f1, 40 lost POSIX 111"},
    {"refused says more than unreachable, though it came first", "@0 x10", "@0 u10",
     "0 s0, 10 f0, 20 lost POSIX 111"},
    {"and though it came last", "@0 u10 !101", "@0 u10 x10", "0 s0, 10 f0, 20 s1, 20 f1, 30 lost POSIX 111"},
    {"of two that say as much the first counts", "@0 !101", "@0 u10", "0 s0, 0 f0, 10 lost POSIX 101"},
    {"the last to fail is an old one", "@0 x900", "@0 x10", "0 s0, 250 f0, 900 lost POSIX 111"},

    // Look-ups.
    {"the sixth version does not wait for the fourth", "@10 5", "@5000 5", "10 s0, 15 won s0"},
    {"the fourth waits 50 ms for the sixth", "never", "@10 5", "60 f0, 65 won f0"},
    {"but not for one that is known to have nothing", "@10 ?-5", "@20 5", "20 f0, 25 won f0"},
    {"nor any longer once that is known", "@30 ?-5", "@10 5", "30 f0, 35 won f0"},
    {"nor for one that is there", "@30 5", "@10 5", "30 s0, 35 won s0"},
    {"late addresses join", "@200 5", "@10 -", "60 f0, 310 s0, 315 won s0"},
    {"late ones begin at once when their time has come long ago", "@900 5", "@10 -",
     "60 f0, 900 s0, 905 won s0"},
    {"and when everything has failed", "@900 5", "@10 x10", "60 f0, 900 s0, 905 won s0"},
    {"a failure of one family is no end while the other is looked up", "@10 x10", "@800 20",
     "10 s0, 800 f0, 820 won f0"},
    {"a failed look-up is none either", "@10 ?-2", "@800 20", "800 f0, 820 won f0"},
    {"a race is won though a name server is silent", "@10 20", "never", "10 s0, 30 won s0"},
    {"a silent name server leaves all as it is", "never", "never", ""},
    {"no such name", "@10 ?-2", "@20 ?-2", "20 lost OrvNameLookup -2"},
    {"no such name says more than no address", "@10 ?-5", "@20 ?-2", "20 lost OrvNameLookup -2"},
    {"and more than no answer", "@10 ?-3", "@20 ?-2", "20 lost OrvNameLookup -2"},
    {"no answer says more than no address", "@10 ?-5", "@20 ?-3", "20 lost OrvNameLookup -3"},
    {"an address that is refused says more than names", "@10 x10", "@20 ?-3", "10 s0, 20 lost POSIX 111"},
    {"one that nothing leads to says less than a name server that does not answer", "@10 !101", "@20 ?-3",
     "10 s0, 20 lost OrvNameLookup -3"},
    {"but more than that there is no other address", "@10 !101", "@20 ?-5", "10 s0, 20 lost POSIX 101"},
    {"answers without an address", "@10", "@20", "20 lost OrvNameLookup -2"},

    // Bounds.
    {"the seventh takes the place of the oldest", "@0 - - - -", "@0 - - - 10",
     "0 s0, 250 f0, 500 s1, 750 f1, 1000 s2, 1250 f2, 1500 drops s0, 1500 s3, 1750 drops f0, 1750 f3, 1760 "
     "won f3"},
    {"one that failed makes room too", "@0 - - - -", "@0 x10 - - 10",
     "0 s0, 250 f0, 260 s1, 510 f1, 760 s2, 1010 f2, 1260 s3, 1510 drops s0, 1510 f3, 1520 won f3"},

    // Moments.
    {"two connect in one turn", "@0 260", "@0 10", "0 s0, 250 f0, 260 won s0"},
    {"one connects in the turn in which the next begins", "@0 250", "@0 10", "0 s0, 250 f0, 250 won s0"},
};

TEST(AddressRace, TriesAddressesInTheRightOrderAtTheRightTime) {
  for (const RaceCase& one : kCases) {
    RacingHost host(readLookup(one.sixth), readLookup(one.fourth));
    host.runAll();
    EXPECT_EQ(host.story(), one.story) << one.what;
    EXPECT_EQ(host.complaint(), "") << one.what;
  }
}

/// The same, where an address was good the last time.
struct PreferenceCase {
  const char* what;
  const char* preferred;
  const char* sixth;
  const char* fourth;
  const char* story;
};

constexpr PreferenceCase kPreferenceCases[] = {
    {"a family that is dead costs nothing the second time", "f0", "@0 -", "@0 5", "0 f0, 5 won f0"},
    {"one in the middle of its family goes first", "s2", "@0 - - 5 -", "@0 -", "0 s2, 5 won s2"},
    {"the families take turns behind it, the other one next", "f1", "@0 - -", "@0 - - 5",
     "0 f1, 250 s0, 500 f0, 750 s1, 1000 f2, 1005 won f2"},
    {"it is tried once only", "s1", "@0 x1 x1", "none", "0 s1, 1 s0, 2 lost POSIX 111"},
    {"one that has become dead costs 250 ms", "f0", "@0 5", "@0 -", "0 f0, 250 s0, 255 won s0"},
    {"one that is refused now costs nothing", "f0", "@0 5", "@0 x1", "0 f0, 1 s0, 6 won s0"},
    {"the other family waits for its look-up", "f0", "@10 5", "@40 5", "40 f0, 45 won f0"},
    {"but for 50 ms only", "f0", "@10 20", "@90 5", "60 s0, 80 won s0"},
    {"nor when that has failed", "f0", "@10 5", "@30 ?-2", "30 s0, 35 won s0"},
    {"nor when it is not found any more", "f7", "@30 5", "@10 5", "30 s0, 35 won s0"},
    {"one of the sixth version that is not found changes nothing", "s7", "@0 -", "@0 5",
     "0 s0, 250 f0, 255 won f0"},
};

TEST(AddressRace, BeginsWithTheAddressThatWasGoodTheLastTime) {
  for (const PreferenceCase& one : kPreferenceCases) {
    RacingHost host(readLookup(one.sixth), readLookup(one.fourth));
    host.prefer(one.preferred);
    host.runAll();
    EXPECT_EQ(host.story(), one.story) << one.what;
    EXPECT_EQ(host.complaint(), "") << one.what;
  }
}

TEST(AddressRace, ThatAddressCountsWhereverItStandsInALongList) {
  RaceLimits limits;
  limits.addressesOfFamily = 2;
  RacingHost host(readLookup("@0 x1 x1 x1 x1"), readLookup("none"), limits);
  host.prefer("s3");
  host.runAll();
  EXPECT_EQ(host.story(), "0 s3, 1 s0, 2 lost POSIX 111");
}

TEST(AddressRace, CanBeGivenUpAtAnyMoment) {
  for (const RaceCase& one : kCases) {
    for (int steps = 0;; ++steps) {
      RacingHost host(readLookup(one.sixth), readLookup(one.fourth));
      const bool wasLast = !host.step(steps);
      const bool hadEnded = host.hasEnded();
      host.cancel();
      EXPECT_FALSE(host.isTimerArmed()) << one.what << " after " << steps;
      EXPECT_TRUE(hadEnded || host.open().empty()) << one.what << " after " << steps;
      const int calls = host.calls();
      host.runAll();
      EXPECT_EQ(host.calls(), calls) << one.what << " after " << steps << " steps goes on: " << host.story();
      EXPECT_EQ(host.complaint(), "") << one.what << " after " << steps;
      if (wasLast) break;
    }
  }
}

TEST(AddressRace, TakesNoMoreAddressesThanItsBound) {
  RaceLimits limits;
  limits.addressesOfFamily = 2;
  RacingHost host(readLookup("@0 x1 x1 10"), readLookup("@0 x1 x1 10"), limits);
  host.runAll();
  EXPECT_EQ(host.story(), "0 s0, 1 f0, 2 s1, 3 f1, 4 lost POSIX 111");
}

TEST(AddressRace, AnAddressThatWasGivenUpForOthersCountsAsSilent) {
  RaceLimits limits;
  limits.triesAtOnce = 1;
  RacingHost host(readLookup("@0 -"), readLookup("@0 !101"), limits);
  host.runAll();
  EXPECT_EQ(host.story(), "0 s0, 250 drops s0, 250 f0, 250 lost POSIX 110");
  EXPECT_EQ(host.complaint(), "");
}

TEST(AddressRace, WaitsOnWhenATimerComesEarly) {
  RacingHost host(readLookup("@0 -"), readLookup("@0 5"));
  host.letTimersComeEarly();
  host.runAll();
  EXPECT_EQ(host.story(), "0 s0, 250 f0, 255 won f0");
  EXPECT_EQ(host.complaint(), "");
}

TEST(AddressRace, HasTheSpansOfTheRecommendation) {
  const RaceLimits limits;
  EXPECT_EQ(limits.nextTry, Seconds(0.25));
  EXPECT_EQ(limits.firstFamily, Seconds(0.05));
  EXPECT_EQ(limits.triesAtOnce, 6u);
  EXPECT_EQ(limits.addressesOfFamily, 16u);
}

RacedLookup anyLookup(std::mt19937& random) {
  const auto any = [&random](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
  constexpr int kErrors[] = {ECONNREFUSED, ENETUNREACH, EHOSTUNREACH, ETIMEDOUT};
  RacedLookup lookup;
  if (any(10) > 0) lookup.answersAt = any(400);
  if (any(5) == 0) lookup.error = -2 - any(4);
  for (int left = any(12); left > 0; --left) {
    RacedAddress address;
    switch (any(5)) {
      case 0:
        address.connects = any(2'000);
        break;
      case 1:
      case 2:
        address.fails = any(600);
        break;
      case 3:
        address.failsInside = true;
        break;
      default:
        break;
    }
    address.error = kErrors[any(4)];
    lookup.addresses.push_back(address);
  }
  return lookup;
}

/// Whether there is a way that a race of no bound at all could win.
bool couldWin(const RacedLookup& lookup) {
  if (!lookup.answersAt || lookup.error != 0) return false;
  for (const RacedAddress& address : lookup.addresses) {
    if (address.connects) return true;
  }
  return false;
}

TEST(AddressRace, NeverStallsAndLeavesNothingBehindWhateverHappens) {
  int won = 0;
  for (unsigned seed = 1; seed <= 20'000; ++seed) {
    std::mt19937 random(seed);
    const RacedLookup sixth = anyLookup(random);
    const RacedLookup fourth = anyLookup(random);
    RaceLimits limits;
    limits.triesAtOnce = 30;
    RacingHost host(sixth, fourth, limits);
    const std::string number = std::to_string(random() % 12);
    if (random() % 2 == 0) host.prefer((random() % 2 == 0 ? "s" : "f") + number);
    host.runAll();
    ASSERT_EQ(host.complaint(), "") << "seed " << seed << ": " << host.story();
    ASSERT_FALSE(host.isTimerArmed()) << "seed " << seed;
    const bool canWin = couldWin(sixth) || couldWin(fourth);
    const bool hasWon = host.story().find("won") != std::string::npos;
    ASSERT_EQ(hasWon, canWin) << "seed " << seed << ": " << host.story();
    won += hasWon ? 1 : 0;
    // Without an end it waits for an address or a name server that is silent, and for nothing of its own.
    const bool isAnyoneSilent = !host.open().empty() || !sixth.answersAt || !fourth.answersAt;
    ASSERT_TRUE(host.hasEnded() || isAnyoneSilent) << "seed " << seed << ": " << host.story();

    RacingHost bounded(sixth, fourth);
    bounded.runAll();
    ASSERT_EQ(bounded.complaint(), "") << "seed " << seed << ": " << bounded.story();
  }
  EXPECT_GT(won, 5'000);
  EXPECT_LT(won, 19'000);
}

}  // namespace
}  // namespace orv::address_race_test
