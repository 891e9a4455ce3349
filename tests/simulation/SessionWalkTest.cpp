#include "SessionWalk.h"

#include <tests/support/Environment.h>

#include <gtest/gtest.h>

#include <iostream>

namespace orv::session_walk_test {
namespace {

// ORV_WALK_SEED=n walks from another seed, ORV_WALK_STEPS=n goes further.
class SessionWalkTest : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(SessionWalkTest, MemoryAndFileHoldTheUserWhomTheHostStored) {
  const auto seed = test::numberFromEnvironment("ORV_WALK_SEED", GetParam());
  const auto steps = test::numberFromEnvironment("ORV_WALK_STEPS", 5'000);
  std::cout << "seed " << seed << ", " << steps << " steps" << std::endl;
  // Never destroyed: the library may call back until the process ends.
  auto& walk = *new SessionWalk(seed);
  for (std::uint64_t i = 0; i < steps && walk.complaints().empty(); ++i) walk.step();
  if (walk.complaints().empty()) walk.comeToRest();
  if (walk.complaints().empty()) walk.checkAtRest();
  std::cout << walk.summary() << std::endl;
  for (const auto& complaint : walk.complaints()) ADD_FAILURE() << "seed " << seed << ": " << complaint;
}

INSTANTIATE_TEST_SUITE_P(Seeds, SessionWalkTest, ::testing::Values(1, 2, 3, 4));

}  // namespace
}  // namespace orv::session_walk_test
