#include "LinkWalk.h"

#include <tests/support/Environment.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>

namespace orv::link_walk_test {
namespace {

// ORV_WALK_SEED=n walks from another seed, ORV_WALK_STEPS=n goes further.
class LinkWalkTest : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(LinkWalkTest, EveryChangeIsToldAndTheLinkComesBack) {
  constexpr std::uint64_t kStepsBetweenRests = 25;
  const auto seed = test::numberFromEnvironment("ORV_WALK_SEED", GetParam());
  const auto steps = test::numberFromEnvironment("ORV_WALK_STEPS", 5'000);
  std::cout << "seed " << seed << ", " << steps << " steps" << std::endl;
  // Never destroyed: the library may call back until the process ends.
  auto& walk = *new LinkWalk(seed);
  for (std::uint64_t i = 1; i <= steps && walk.complaints().empty(); ++i) {
    walk.step();
    if (i % kStepsBetweenRests == 0) walk.comeToRest();
  }
  std::cout << walk.summary() << std::endl;
  for (const auto& complaint : walk.complaints()) ADD_FAILURE() << "seed " << seed << ": " << complaint;
}

INSTANTIATE_TEST_SUITE_P(Seeds, LinkWalkTest, ::testing::Values(1, 2, 3, 4));

}  // namespace
}  // namespace orv::link_walk_test
