// One seed is one run, in every process: neither where things lie in memory, nor the environment, nor how fast the machine
// is has a say in the order.

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/testing/SeededRandom.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include "CourseListWalk.h"
#include "CourseWalk.h"
#include "LinkWalk.h"
#include "LocalCourseWalk.h"
#include "SessionWalk.h"
#include "TransportWalk.h"
#include <tests/support/ForkedRun.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv::same_seed_test {
namespace {

/// Walks for a while, and says in which order turns were taken.
template <typename Walk, auto... further>
std::string turnsOf(std::uint64_t seed) {
  constexpr int kSteps = 400;
  // Never destroyed: the library may call back until the process ends.
  auto& walk = *new Walk(seed, further...);
  for (int step = 0; step < kSteps; ++step) walk.step();
  const auto& platform = dynamic_cast<testing::SimulatedPlatform&>(Platform::current());
  return std::to_string(platform.stepsRun()) + " turns, " + std::to_string(platform.orderHash());
}

/// Has all that is allocated from now on lie elsewhere than in other processes.
void shiftMemory(std::size_t process) {
  using Blocks = std::vector<std::unique_ptr<char[]>>;
  static Blocks& kept = *new Blocks;
  testing::SeededRandom random(process);
  Blocks holes;
  for (int block = 0; block < 5000; ++block) {
    (random.oneIn(2) ? kept : holes).push_back(std::make_unique<char[]>(8 + random.below(600)));
  }
}

struct Run {
  const char* name;
  std::string (*turns)(std::uint64_t seed);
};

class SameSeed : public ::testing::TestWithParam<Run> {};

TEST_P(SameSeed, IsOneRunInEveryProcess) {
  constexpr std::size_t kProcesses = 4;
  std::set<std::string> bySeed;
  for (const std::uint64_t seed : {1U, 2U}) {
    std::set<std::string> runs;
    for (std::size_t process = 0; process < kProcesses; ++process) {
      runs.insert(test::runForked([&] {
        shiftMemory(process);
        ::setenv("HOME", ("/nowhere" + std::string(process * 11, 'x')).c_str(), 1);
        return GetParam().turns(seed);
      }));
    }
    EXPECT_EQ(runs.size(), 1u) << "seed " << seed << ": " << *runs.begin() << " and " << *runs.rbegin();
    EXPECT_FALSE(runs.begin()->starts_with("died: ")) << *runs.begin();
    bySeed.merge(runs);
  }
  EXPECT_GE(bySeed.size(), 2u) << "another seed is another run";
}

INSTANTIATE_TEST_SUITE_P(All, SameSeed,
                         ::testing::Values(Run{"Transport", turnsOf<TransportWalk>},
                                           Run{"Session", turnsOf<SessionWalk>},
                                           Run{"Courses", turnsOf<CourseWalk, CourseWalk::Changes::Wild>},
                                           Run{"LocalCourses", turnsOf<LocalCourseWalk>},
                                           Run{"Lists", turnsOf<CourseListWalk>},
                                           Run{"Link", turnsOf<LinkWalk>}),
                         [](const auto& run) { return std::string(run.param.name); });

}  // namespace
}  // namespace orv::same_seed_test
