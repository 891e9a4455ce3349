#include <orvnetwork/dates/icu/LeasePool.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace orv::lease_pool_test {
namespace {

using Pool = LeasePool<std::string, int>;

int numberLeased(Pool& pool, const std::string& key, int fresh) {
  return *pool.lease(key, [&] { return std::make_unique<int>(fresh); });
}

TEST(LeasePool, GivesBackWhatRestsUnderTheKey) {
  Pool pool(4);
  EXPECT_EQ(numberLeased(pool, "a", 1), 1);
  EXPECT_EQ(numberLeased(pool, "a", 2), 1);
  EXPECT_EQ(numberLeased(pool, "b", 3), 3);
  EXPECT_EQ(numberLeased(pool, "a", 4), 1);
  EXPECT_EQ(pool.made(), 2u);
  EXPECT_EQ(pool.atRest(), 2u);
}

TEST(LeasePool, MakesASecondOneWhileTheFirstIsOut) {
  Pool pool(4);
  const auto first = pool.lease("a", [] { return std::make_unique<int>(1); });
  const auto second = pool.lease("a", [] { return std::make_unique<int>(2); });
  EXPECT_EQ(*first, 1);
  EXPECT_EQ(*second, 2);
  EXPECT_EQ(pool.atRest(), 0u);
}

TEST(LeasePool, LetsGoOfTheOneThatRestedLongest) {
  Pool pool(2);
  numberLeased(pool, "a", 1);
  numberLeased(pool, "b", 2);
  numberLeased(pool, "a", 3);
  numberLeased(pool, "c", 4);
  EXPECT_EQ(pool.atRest(), 2u);
  EXPECT_EQ(numberLeased(pool, "a", 5), 1);
  EXPECT_EQ(numberLeased(pool, "b", 6), 6);
}

TEST(LeasePool, KeepsNothingThatCouldNotBeMade) {
  Pool pool(2);
  {
    const auto none = pool.lease("a", [] { return std::unique_ptr<int>(); });
    EXPECT_FALSE(none);
  }
  EXPECT_EQ(pool.atRest(), 0u);
  EXPECT_EQ(numberLeased(pool, "a", 1), 1);
}

TEST(LeasePool, NeverLendsOneObjectToTwoThreads) {
  Pool pool(3);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&pool] {
      for (int round = 0; round < 2000; ++round) {
        const auto lease = pool.lease(round % 2 == 0 ? "a" : "b", [] { return std::make_unique<int>(0); });
        const int before = *lease;
        *lease = before + 1;
        EXPECT_EQ(*lease, before + 1);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_LE(pool.atRest(), 3u);
}

}  // namespace
}  // namespace orv::lease_pool_test
