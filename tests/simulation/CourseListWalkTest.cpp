#include "CourseListWalk.h"

#include <tests/support/Environment.h>

#include <gtest/gtest.h>

#include <iostream>

namespace orv::course_list_walk_test {
namespace {

// ORV_WALK_SEED=n walks from another seed, ORV_WALK_STEPS=n goes further.
class CourseListWalkTest : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(CourseListWalkTest, ListsFollowByTheirChangesAndComeToWhatTheServerLists) {
  const auto seed = test::numberFromEnvironment("ORV_WALK_SEED", GetParam());
  const auto steps = test::numberFromEnvironment("ORV_WALK_STEPS", 3'000);
  std::cout << "seed " << seed << ", " << steps << " steps" << std::endl;
  CourseListWalk walk(seed);
  for (std::uint64_t i = 0; i < steps && walk.complaints().empty(); ++i) walk.step();
  if (walk.complaints().empty()) walk.comeToRest();
  if (walk.complaints().empty()) walk.checkAgainstServer();
  std::cout << walk.summary() << std::endl;
  for (const auto& complaint : walk.complaints()) ADD_FAILURE() << "seed " << seed << ": " << complaint;
}

INSTANTIATE_TEST_SUITE_P(Seeds, CourseListWalkTest, ::testing::Range<std::uint64_t>(1, 9));

}  // namespace
}  // namespace orv::course_list_walk_test
