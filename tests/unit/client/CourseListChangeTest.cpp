#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/detail/RowDiff.h>
#include <orvnetwork/testing/SeededRandom.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace orv::course_list_change_test {
namespace {

using Ranges = std::vector<CourseListRange>;
using Moves = std::vector<CourseListMove>;

CourseRows::Row makeRow(std::int64_t room) {
  auto course = std::make_shared<OrvCourseModel>();
  course->roomID = room;
  return course;
}

/// Rows by their rooms; those that were there are used again.
CourseRowsPointer rowsOf(const std::vector<std::int64_t>& rooms, const CourseRowsPointer& base = nullptr) {
  std::vector<CourseRows::Row> rows;
  for (const std::int64_t room : rooms) {
    const auto place = base ? base->indexOf(room) : std::nullopt;
    rows.push_back(place ? base->at(*place) : makeRow(room));
  }
  return std::make_shared<CourseRows>(std::move(rows));
}

CourseListChange changeOf(const std::vector<std::int64_t>& before, const std::vector<std::int64_t>& after) {
  const auto old = rowsOf(before);
  CourseListChange change = detail::diffOf(old, rowsOf(after, old));
  EXPECT_TRUE(detail::leadsThere(change));
  return change;
}

TEST(CourseListChange, OfNothingHasNoSteps) {
  const auto rows = rowsOf({1, 2, 3});
  const CourseListChange change = detail::diffOf(rows, rows);
  EXPECT_FALSE(change.changesRows());
  EXPECT_TRUE(detail::leadsThere(change));
}

TEST(CourseListChange, TellsWhatHasGoneFromTheLastToTheFirst) {
  const auto change = changeOf({1, 2, 3, 4, 5, 6, 7}, {1, 4, 7});
  EXPECT_EQ(change.removed, (Ranges{{4, 2}, {1, 2}}));
  EXPECT_EQ(change.inserted, Ranges{});
  EXPECT_EQ(change.moves, Moves{});
}

TEST(CourseListChange, TellsWhatHasComeFromTheFirstToTheLast) {
  const auto change = changeOf({1, 4, 7}, {1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_EQ(change.inserted, (Ranges{{1, 2}, {4, 2}, {7, 1}}));
  EXPECT_EQ(change.removed, Ranges{});
}

TEST(CourseListChange, TellsTheFewestMoves) {
  EXPECT_EQ(changeOf({1, 2, 3, 4, 5}, {5, 1, 2, 3, 4}).moves, (Moves{{4, 0}}));
  EXPECT_EQ(changeOf({1, 2, 3, 4, 5}, {2, 3, 4, 5, 1}).moves, (Moves{{0, 4}}));
  EXPECT_EQ(changeOf({1, 2, 3, 4, 5}, {1, 3, 2, 4, 5}).moves.size(), 1u);
  EXPECT_EQ(changeOf({1, 2, 3, 4, 5, 6, 7, 8}, {8, 1, 7, 2, 3, 4, 5, 6}).moves.size(), 2u);
}

TEST(CourseListChange, TellsMoreThanThreeMovesAsAnotherOrder) {
  EXPECT_FALSE(changeOf({1, 2, 3, 4, 5, 6, 7}, {7, 6, 5, 1, 2, 3, 4}).reordered);
  const auto change = changeOf({1, 2, 3, 4, 5, 6, 7, 8}, {8, 7, 6, 5, 1, 2, 3, 4});
  EXPECT_TRUE(change.reordered);
  EXPECT_EQ(change.moves, Moves{});
}

TEST(CourseListChange, MovesAmongWhatHasComeAndGone) {
  const auto change = changeOf({1, 2, 3, 4}, {9, 4, 1, 8, 3});
  EXPECT_EQ(change.removed, (Ranges{{1, 1}}));
  EXPECT_EQ(change.inserted, (Ranges{{0, 1}, {3, 1}}));
  EXPECT_FALSE(change.moves.empty());
}

TEST(CourseListChange, TellsUpdatedRowsByTheirNewIndex) {
  const auto before = rowsOf({1, 2, 3, 4, 5});
  const auto after = std::make_shared<CourseRows>(std::vector<CourseRows::Row>{
      makeRow(9), before->at(0), makeRow(2), makeRow(3), before->at(4), makeRow(4)});
  const auto change = detail::diffOf(before, after);
  EXPECT_TRUE(detail::leadsThere(change));
  EXPECT_EQ(change.updated, (Ranges{{2, 2}, {5, 1}}));
}

class CourseListChanges : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(CourseListChanges, LeadWhereTheyShould) {
  testing::SeededRandom random(GetParam());
  const auto pick = [&random](std::size_t below) { return static_cast<std::size_t>(random.next() % below); };
  CourseRowsPointer rows = rowsOf({});
  std::int64_t next = 0;
  int moved = 0, reordered = 0;
  for (int round = 0; round < 3000; ++round) {
    std::vector<CourseRows::Row> after(rows->all().begin(), rows->all().end());
    for (std::size_t deeds = pick(6); deeds > 0; --deeds) {
      const auto at = [&](std::size_t index) { return after.begin() + static_cast<std::ptrdiff_t>(index); };
      const std::size_t deed = after.empty() ? 0 : pick(5);
      if (deed == 0 && after.size() < 60) {
        after.insert(at(pick(after.size() + 1)), makeRow(++next));
      } else if (deed == 1) {
        after.erase(at(pick(after.size())));
      } else if (deed == 2 && !after.empty()) {
        auto& row = after[pick(after.size())];
        row = makeRow(row->roomID);
      } else if (deed == 3 && !after.empty()) {
        const auto row = after[pick(after.size())];
        after.erase(std::ranges::find(after, row));
        after.insert(at(pick(after.size() + 1)), row);
      } else if (pick(40) == 0) {
        std::ranges::reverse(after);
      }
    }
    const auto change = detail::diffOf(rows, std::make_shared<CourseRows>(after));
    ASSERT_TRUE(detail::leadsThere(change)) << "seed " << GetParam() << ", round " << round;
    ASSERT_LE(change.moves.size(), CourseListChange::kMostMoves);
    moved += change.moves.empty() ? 0 : 1;
    reordered += change.reordered ? 1 : 0;
    rows = change.after;
  }
  EXPECT_GT(moved, 100);
  EXPECT_GT(reordered, 10);
}

INSTANTIATE_TEST_SUITE_P(Seeds, CourseListChanges, ::testing::Values(1, 2, 3, 4));

}  // namespace
}  // namespace orv::course_list_change_test
