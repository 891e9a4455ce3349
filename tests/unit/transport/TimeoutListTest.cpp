#include <orvnetwork/transport/detail/TimeoutList.h>

#include <gtest/gtest.h>

namespace orv::timeout_list_test {
namespace {

constexpr SteadyTime at(int seconds) {
  return SteadyTime(std::chrono::seconds(seconds));
}

TEST(TimeoutList, GivesOutWhatIsDueInTheOrderArmed) {
  TimeoutList list;
  EXPECT_TRUE(list.empty());
  list.arm(at(10), 1);
  list.arm(at(10), 2);
  list.arm(at(11), 3);
  EXPECT_EQ(list.nextDue(), at(10));
  EXPECT_EQ(list.takeDue(at(9)), std::nullopt);
  EXPECT_EQ(list.takeDue(at(10)), 1);
  EXPECT_EQ(list.takeDue(at(10)), 2);
  EXPECT_EQ(list.takeDue(at(10)), std::nullopt);
  EXPECT_EQ(list.size(), 1u);
  EXPECT_EQ(list.takeDue(at(99)), 3);
  EXPECT_EQ(list.takeDue(at(99)), std::nullopt);
}

TEST(TimeoutList, KeepsTwoTimeoutsOfOneRequestApart) {
  TimeoutList list;
  list.arm(at(10), 7);
  list.arm(at(12), 7);
  EXPECT_EQ(list.takeDue(at(10)), 7);
  EXPECT_EQ(list.takeDue(at(11)), std::nullopt);
  EXPECT_EQ(list.takeDue(at(12)), 7);
}

}  // namespace
}  // namespace orv::timeout_list_test
