#include "CourseWalk.h"

#include <tests/support/Environment.h>

#include <gtest/gtest.h>

#include <iostream>

namespace orv::course_walk_test {
namespace {

// ORV_WALK_SEED=n walks from another seed, ORV_WALK_STEPS=n goes further.
class CourseWalkTest : public ::testing::TestWithParam<std::uint64_t> {
 protected:
  static void walk(CourseWalk::Changes changes) {
    const auto seed = test::numberFromEnvironment("ORV_WALK_SEED", GetParam());
    const auto steps = test::numberFromEnvironment("ORV_WALK_STEPS", 4'000);
    std::cout << "seed " << seed << ", " << steps << " steps" << std::endl;
    // Never destroyed: the library may call back until the process ends.
    auto& walk = *new CourseWalk(seed, changes);
    for (std::uint64_t i = 0; i < steps && walk.complaints().empty(); ++i) walk.step();
    if (walk.complaints().empty()) walk.comeToRest();
    if (walk.complaints().empty()) walk.checkAgainstServer();
    std::cout << walk.summary() << std::endl;
    for (const auto& complaint : walk.complaints()) ADD_FAILURE() << "seed " << seed << ": " << complaint;
  }
};

TEST_P(CourseWalkTest, CatalogueComesToWhatTheServerLists) {
  walk(CourseWalk::Changes::Calm);
}

TEST_P(CourseWalkTest, RequestsEndOnceThoughUsersChangeAtAnyTime) {
  walk(CourseWalk::Changes::Wild);
}

// 19: a range whose page makes the list no longer waits at the end. 115: an answer comes at the moment when a sum of
// seconds is rounded up.
INSTANTIATE_TEST_SUITE_P(Seeds, CourseWalkTest, ::testing::Values(1, 2, 3, 4, 19, 115));

}  // namespace
}  // namespace orv::course_walk_test
