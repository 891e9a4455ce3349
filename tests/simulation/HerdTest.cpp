// Many clients of one server that goes away and comes back: the supervisor's attempts are spread from the first one on.
// ORV_HERD_CLIENTS=n lets more of them live.

#include "Herd.h"

#include <tests/support/Environment.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace orv::herd_test {
namespace {

/// A sanitizer looks at each client's life; that there are enough of them to be counted is seen without it.
#ifdef __SANITIZE_ADDRESS__
constexpr std::uint64_t kClients = 50;
#else
constexpr std::uint64_t kClients = 200;
#endif

class HerdWalk : public ::testing::TestWithParam<Absence> {
 protected:
  /// What the supervisors of so many clients may start within one second: the first window is 10 s wide, and waves overlap
  /// a little. Chance has its part.
  static std::size_t bound(std::size_t clients) {
    const double even = static_cast<double>(clients) / 10;
    return static_cast<std::size_t>(1.4 * even + 5 * std::sqrt(even));
  }
};

/// Clients who are signed in and look at a list. The session is asked for as soon as a link is up, by a rule of the layers
/// below, and by nobody else; lists are spread.
TEST_P(HerdWalk, AsksForListsSpreadAndForEachSessionOnce) {
  const auto clients = test::numberFromEnvironment("ORV_HERD_CLIENTS", kClients);
  std::printf("%s\n", HerdFigures::heading().c_str());
  for (const double seconds : {0.0, 20.0}) {
    const Herd herd{GetParam(), seconds, true};
    const auto lives = herd.live(clients);
    const HerdFigures figures(lives);
    std::printf("%s\n", figures.row(herd).c_str());
    std::size_t askedTwice = 0;
    for (const HerdLife& life : lives) {
      ASSERT_GE(life.openings.size(), 1u);
      ASSERT_EQ(life.renewals.size(), life.openings.size()) << "one for each link";
      for (std::size_t link = 0; link < life.openings.size(); ++link) {
        EXPECT_NEAR(life.renewals[link], life.openings[link], 0.1);
      }
      ASSERT_GE(life.reloads.size(), life.openings.size()) << "one for each link";
      askedTwice += life.reloads.size() - life.openings.size();
    }
    // Chance may let a list ask before the session is there; the request is then sent again.
    EXPECT_LE(askedTwice, clients / 50);
    // All may have their links at one moment; the window of lists that are looked at is 2 s wide.
    const double even = static_cast<double>(clients) / 2;
    EXPECT_LE(static_cast<double>(figures.mostReloads), 1.1 * even + 3 * std::sqrt(even));
    EXPECT_LE(figures.mostOfSupervisor, bound(clients));
  }
}

TEST_P(HerdWalk, ComesBackWithoutASupervisorThatMakesAStampede) {
  const auto clients = test::numberFromEnvironment("ORV_HERD_CLIENTS", kClients);
  std::printf("%s\n", HerdFigures::heading().c_str());
  for (const double seconds : {0.0, 3.0, 20.0, 120.0}) {
    const Herd herd{GetParam(), seconds};
    const HerdFigures figures(herd.live(clients));
    std::printf("%s\n", figures.row(herd).c_str());
    EXPECT_LE(figures.mostOfSupervisor, bound(clients));
    // The longest wait is 61.5 s, behind 10 s without a confirmation, or behind an attempt that hangs for 60 s.
    EXPECT_LT(figures.lastBack, 135);
    if (GetParam() == Absence::Refuses) {
      EXPECT_EQ(figures.supervisorsAttempts, 0) << "the schedule has a timer armed, and nobody else acts";
    }
  }
}

std::string wordFor(const ::testing::TestParamInfo<Absence>& row) {
  switch (row.param) {
    case Absence::Refuses:
      return "Refuses";
    case Absence::Drops:
      return "Drops";
    case Absence::Mute:
      return "IsMute";
    case Absence::Hangs:
      break;
  }
  return "Hangs";
}

INSTANTIATE_TEST_SUITE_P(Server, HerdWalk,
                         ::testing::Values(Absence::Refuses, Absence::Drops, Absence::Mute, Absence::Hangs),
                         wordFor);

}  // namespace
}  // namespace orv::herd_test
