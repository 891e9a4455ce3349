#include "LocalCourseWalk.h"

#include <tests/support/Environment.h>

#include <gtest/gtest.h>

#include <iostream>

namespace orv::local_course_walk_test {
namespace {

// ORV_WALK_SEED=n walks from another seed, ORV_WALK_STEPS=n goes further.
class LocalCourseWalkTest : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(LocalCourseWalkTest, ListsMemoryAndFilesAreAsTheModelSays) {
  const auto seed = test::numberFromEnvironment("ORV_WALK_SEED", GetParam());
  const auto steps = test::numberFromEnvironment("ORV_WALK_STEPS", 6'000);
  std::cout << "seed " << seed << ", " << steps << " steps" << std::endl;
  LocalCourseWalk walk(seed);
  for (std::uint64_t i = 0; i < steps && walk.complaints().empty(); ++i) walk.step();
  walk.checkAll();
  std::cout << walk.summary() << std::endl;
  for (const auto& complaint : walk.complaints()) ADD_FAILURE() << "seed " << seed << ": " << complaint;
}

INSTANTIATE_TEST_SUITE_P(Seeds, LocalCourseWalkTest, ::testing::Values(1, 2, 3, 4));

}  // namespace
}  // namespace orv::local_course_walk_test
