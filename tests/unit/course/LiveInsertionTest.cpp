#include <orvnetwork/course/detail/LiveInsertion.h>

#include <gtest/gtest.h>

#include <vector>

namespace orv::live_insertion_test {
namespace {

/// A course with a start time, one without, and one without a record.
constexpr LiveCourseStart timed(std::int64_t startTime) {
  return {.startTimeEnable = 1, .startTime = startTime};
}
constexpr LiveCourseStart untimed(std::int64_t startTime = 0) {
  return {.startTimeEnable = 0, .startTime = startTime};
}
constexpr std::nullopt_t kUnknown = std::nullopt;

using Entries = std::vector<std::optional<LiveCourseStart>>;

struct Insertion {
  std::size_t index;
  /// How many entries were looked at.
  std::size_t looked;
  bool operator==(const Insertion&) const = default;
};

void PrintTo(const Insertion& insertion, std::ostream* out) {
  *out << "index " << insertion.index << ", looked at " << insertion.looked;
}

Insertion insertion(const LiveCourseStart& added, std::uint64_t status, const Entries& entries) {
  std::size_t looked = 0;
  const std::size_t index = liveInsertionIndex(added, status, entries.size(), [&](std::size_t at) {
    EXPECT_EQ(at, looked) << "entries are looked at in order, each once";
    ++looked;
    return entries[at];
  });
  return {index, looked};
}

TEST(LiveInsertion, IntoAnEmptyListIsAtItsStart) {
  EXPECT_EQ(insertion(timed(5), 1, {}), (Insertion{0, 0}));
  EXPECT_EQ(insertion(untimed(), 3, {}), (Insertion{0, 0}));
}

TEST(LiveInsertion, OfStatusOneAscendsByStartTime) {
  const Entries entries{timed(10), timed(20), timed(30)};
  EXPECT_EQ(insertion(timed(5), 1, entries), (Insertion{0, 1})) << "the earliest comes first";
  EXPECT_EQ(insertion(timed(25), 1, entries), (Insertion{2, 3}));
  EXPECT_EQ(insertion(timed(20), 1, entries), (Insertion{1, 2})) << "in front of an equal one";
  EXPECT_EQ(insertion(timed(31), 1, entries), (Insertion{3, 3}));
}

TEST(LiveInsertion, OfEveryOtherStatusDescendsByStartTime) {
  const Entries entries{timed(30), timed(20), timed(10)};
  for (const std::uint64_t status : {0u, 2u, 3u, 4u, 5u}) {
    EXPECT_EQ(insertion(timed(99), status, entries), (Insertion{0, 1})) << "the latest comes first";
    EXPECT_EQ(insertion(timed(25), status, entries), (Insertion{1, 2}));
    EXPECT_EQ(insertion(timed(20), status, entries), (Insertion{2, 3})) << "behind an equal one";
    EXPECT_EQ(insertion(timed(5), status, entries), (Insertion{3, 3}));
  }
}

TEST(LiveInsertion, PutsACourseWithoutAStartTimeInFrontOfThoseThatHaveOne) {
  const Entries entries{timed(30), timed(20)};
  EXPECT_EQ(insertion(untimed(), 1, entries), (Insertion{0, 1}));
  EXPECT_EQ(insertion(untimed(), 2, entries), (Insertion{0, 1}));
}

TEST(LiveInsertion, PassesACourseWithAStartTimeOverThoseThatHaveNone) {
  const Entries entries{untimed(1), untimed(99), timed(20)};
  EXPECT_EQ(insertion(timed(10), 1, entries), (Insertion{2, 3}));
  EXPECT_EQ(insertion(timed(30), 2, entries), (Insertion{2, 3}));
  EXPECT_EQ(insertion(timed(10), 2, entries), (Insertion{3, 3}));
}

TEST(LiveInsertion, OrdersCoursesWithoutAStartTimeByTheTimeThatTheyStillHave) {
  EXPECT_EQ(insertion(untimed(15), 1, {untimed(10), untimed(20)}), (Insertion{1, 2}));
  EXPECT_EQ(insertion(untimed(15), 2, {untimed(20), untimed(10)}), (Insertion{1, 2}));
  EXPECT_EQ(insertion(untimed(0), 1, {untimed(0)}), (Insertion{0, 1}));
  EXPECT_EQ(insertion(untimed(0), 2, {untimed(0)}), (Insertion{1, 1}));
}

TEST(LiveInsertion, TellsOtherValuesOfTheFlagApart) {
  const LiveCourseStart odd{.startTimeEnable = 2, .startTime = 10};
  EXPECT_EQ(insertion(odd, 1, {timed(99)}), (Insertion{1, 1})) << "differing, and the new one is not 0";
  EXPECT_EQ(insertion(untimed(), 1, {odd}), (Insertion{0, 1}));
  EXPECT_EQ(insertion(odd, 1, {odd}), (Insertion{0, 1}));
}

TEST(LiveInsertion, PassesOverCoursesWithoutARecord) {
  EXPECT_EQ(insertion(timed(5), 1, {kUnknown, timed(10)}), (Insertion{1, 2}));
  EXPECT_EQ(insertion(timed(5), 1, {kUnknown, kUnknown}), (Insertion{2, 2}));
}

}  // namespace
}  // namespace orv::live_insertion_test
