#include <orvnetwork/data/Task.h>

#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace orv::task_test {
namespace {

TEST(Task, IsEmptyUntilItIsGivenWork) {
  Task task;
  EXPECT_FALSE(task);
  task = Task([] {});
  EXPECT_TRUE(task);
}

TEST(Task, OwnsWhatCannotBeCopied) {
  int seen = 0;
  Task task([&, owned = std::make_unique<int>(7)] { seen = *owned; });
  Task moved(std::move(task));
  EXPECT_FALSE(task);
  moved();
  EXPECT_EQ(seen, 7);
}

TEST(Task, KeepsLargeClosuresToo) {
  std::array<long, 64> numbers{};
  numbers[63] = 9;
  long seen = 0;
  Task task([&seen, numbers] { seen = numbers[63]; });
  Task moved;
  moved = std::move(task);
  moved();
  EXPECT_EQ(seen, 9);
}

template <std::size_t extra>
void destroysItsClosureOnce() {
  auto counter = std::make_shared<int>(0);
  {
    Task task([counter, padding = std::array<char, extra>()] { (void)padding; });
    EXPECT_EQ(counter.use_count(), 2);
    Task moved(std::move(task));
    EXPECT_EQ(counter.use_count(), 2);
    moved = Task();
    EXPECT_EQ(counter.use_count(), 1);
  }
  EXPECT_EQ(counter.use_count(), 1);
}

TEST(Task, DestroysItsClosureOnceWhereverItLies) {
  destroysItsClosureOnce<1>();
  destroysItsClosureOnce<500>();
}

}  // namespace
}  // namespace orv::task_test
