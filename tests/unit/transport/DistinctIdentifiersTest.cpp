#include <orvnetwork/transport/DistinctIdentifiers.h>

#include <tests/support/LinkFixture.h>

#include <cstdint>
#include <optional>
#include <set>
#include <thread>
#include <vector>

namespace orv::distinct_identifiers_test {
namespace {

using DistinctIdentifiersOf = LinkFixture;

TEST(DistinctIdentifiers, TakesTheNextOneThatIsFree) {
  const DistinctIdentifiers distinct;
  EXPECT_EQ(DistinctIdentifiers::take(1'000'000), 1'000'000);
  EXPECT_EQ(DistinctIdentifiers::take(1'000'000), 1'000'001);
  EXPECT_EQ(DistinctIdentifiers::take(1'000'002), 1'000'002);
  EXPECT_EQ(DistinctIdentifiers::take(1'000'000), 1'000'003);
}

TEST(DistinctIdentifiers, KnowsThoseThatWereTakenWithoutCare) {
  EXPECT_EQ(DistinctIdentifiers::take(2'000'000), 2'000'000);
  EXPECT_EQ(DistinctIdentifiers::take(2'000'000), 2'000'000);
  const DistinctIdentifiers distinct;
  EXPECT_EQ(DistinctIdentifiers::take(2'000'000), 2'000'001);
}

TEST(DistinctIdentifiers, CareEndsWithTheOutermost) {
  {
    const DistinctIdentifiers outer;
    { const DistinctIdentifiers inner; }
    EXPECT_EQ(DistinctIdentifiers::take(3'000'000), 3'000'000);
    EXPECT_EQ(DistinctIdentifiers::take(3'000'000), 3'000'001);
  }
  EXPECT_EQ(DistinctIdentifiers::take(3'000'000), 3'000'000);
}

TEST(DistinctIdentifiers, EndsWhereNoneIsFree) {
  const DistinctIdentifiers distinct;
  std::set<std::int64_t> taken;
  for (int i = 0; i < 4096; ++i) taken.insert(DistinctIdentifiers::take(4'000'000));
  EXPECT_EQ(taken.size(), 4096u);
  EXPECT_GE(DistinctIdentifiers::take(4'000'000), 4'000'000);
}

TEST(DistinctIdentifiers, ThreadsGetDifferentOnes) {
  constexpr int kThreads = 4, kEach = 500;
  std::vector<std::vector<std::int64_t>> taken(kThreads);
  std::vector<std::thread> threads;
  for (auto& mine : taken) {
    threads.emplace_back([&mine] {
      const DistinctIdentifiers distinct;
      for (int i = 0; i < kEach; ++i) mine.push_back(DistinctIdentifiers::take(5'000'000));
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<std::int64_t> all;
  for (const auto& mine : taken) all.insert(mine.begin(), mine.end());
  EXPECT_EQ(all.size(), static_cast<std::size_t>(kThreads * kEach));
}

/// Without it the rule of the link holds: two requests of one moment may be one to it.
TEST_F(DistinctIdentifiersOf, RequestsAreAsTheHostWantsThem) {
  std::set<std::int64_t> drawn, distinct;
  for (int i = 0; i < 300; ++i) drawn.insert(makeItem("Some.Thing")->timestamp);
  EXPECT_LT(drawn.size(), 300u);
  const DistinctIdentifiers care;
  for (int i = 0; i < 300; ++i) distinct.insert(makeItem("Some.Thing")->timestamp);
  EXPECT_EQ(distinct.size(), 300u);
}

}  // namespace
}  // namespace orv::distinct_identifiers_test
