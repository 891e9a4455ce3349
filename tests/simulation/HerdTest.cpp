// Many clients of one server that goes away and comes back: the supervisor's attempts are spread from the first one on.
// ORV_HERD_CLIENTS=n lets more of them live.

#include "Herd.h"

#include <tests/support/Environment.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

namespace orv::herd_test {
namespace {

class HerdWalk : public ::testing::TestWithParam<Absence> {
 protected:
  /// What the supervisors of so many clients may start within one second: the first window is 10 s wide, and waves overlap
  /// a little. Chance has its part.
  static std::size_t bound(std::size_t clients) {
    const double even = static_cast<double>(clients) / 10;
    return static_cast<std::size_t>(1.4 * even + 5 * std::sqrt(even));
  }
};

TEST_P(HerdWalk, ComesBackWithoutASupervisorThatMakesAStampede) {
  const auto clients = test::numberFromEnvironment("ORV_HERD_CLIENTS", 200);
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
