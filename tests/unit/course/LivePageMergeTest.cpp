#include <orvnetwork/course/detail/LivePageMerge.h>

#include "PageNotation.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <optional>
#include <set>

namespace orv::live_page_merge_test {
namespace {

using notation::descending;
using notation::fullPage;
using notation::Keys;
using notation::keys;
using notation::page;

/// Six lists, a cursor, which records are in memory, and what merges did to the records.
class LivePageMerge : public ::testing::Test, protected LiveMergeEffects {
 protected:
  static constexpr std::size_t kStatus = 2;

  bool findRecord(std::size_t item, const std::string& key, bool known) override {
    EXPECT_GE(item, nextItem);
    nextItem = item + 1;
    EXPECT_EQ(lists[kStatus].contains(key), known) << "the key is still where it was";
    effects.push_back((known ? "old " : "new ") + key);
    return inMemory.contains(key);
  }
  void storeRecord(std::size_t item, const std::string& key) override {
    EXPECT_EQ(item + 1, nextItem);
    EXPECT_FALSE(lists[kStatus].contains(key)) << "the key is out of its list and not yet back";
    if (inMemory.contains(key) && effects.back() == "new " + key) {
      EXPECT_FALSE(lists[1].contains(key)) << "the key has left the list of its old status";
    }
    stored.push_back(key);
  }
  void dropVanished(const std::string& key) override {
    EXPECT_TRUE(lists[kStatus].contains(key)) << key;
    effects.push_back("drop " + key);
  }
  void trim(const std::string& key) override {
    EXPECT_FALSE(lists[kStatus].contains(key)) << key;
    effects.push_back("trim " + key);
  }

  std::string merge(const std::string& before, std::int64_t pageNumber, const json::array& items) {
    lists[kStatus].assign(keys(before));
    return mergeNext(pageNumber, items);
  }

  std::string mergeNext(std::int64_t pageNumber, const json::array& items) {
    effects.clear();
    stored.clear();
    nextItem = 0;
    const PageMergeResult result = mergeLivePage(lists, kStatus, cursor, PageItems(pageNumber, items), *this);
    EXPECT_EQ(result.lastPage, items.size() < 30);
    EXPECT_EQ(result.writeList, !items.empty());
    return inList(kStatus);
  }

  std::string inList(std::size_t status) const { return notation::text(lists[status].snapshot()); }
  std::string told() const { return notation::text(effects, ", "); }

  std::array<KeyList, 6> lists;
  OptionalString cursor;
  std::set<std::string> inMemory;
  Keys effects;
  Keys stored;
  std::size_t nextItem = 0;
};

TEST_F(LivePageMerge, FillsAnEmptyListInTheOrderOfThePage) {
  EXPECT_EQ(merge("", 1, page("30 50 40")), "30 50 40");
  EXPECT_EQ(told(), "new 30, new 50, new 40");
  EXPECT_EQ(notation::text(stored), "30 50 40");
  EXPECT_EQ(cursor, "40");
}

TEST_F(LivePageMerge, TakesEveryItemWhateverItsStatus) {
  EXPECT_EQ(merge("", 1, page("50/4 40/5:0 30/0")), "50 40 30");
}

TEST_F(LivePageMerge, PassesOverWhatIsNoDictionary) {
  cursor = "elsewhere";
  EXPECT_EQ(merge("50", 2, page("? 50 ?")), "50");
  EXPECT_EQ(told(), "old 50");
}

TEST_F(LivePageMerge, PutsTheListIntoTheOrderOfThePage) {
  EXPECT_EQ(merge("10 20 30", 1, page("30 10 20")), "30 10 20");
  EXPECT_EQ(told(), "old 30, old 10, old 20");
}

TEST_F(LivePageMerge, PutsNewCoursesBetweenKnownOnesWithoutRegardToTheirRooms) {
  EXPECT_EQ(merge("10 20", 1, page("10 99 20 1")), "10 99 20 1");
  EXPECT_EQ(told(), "old 10, new 99, old 20, new 1");
}

TEST_F(LivePageMerge, AppendsTheNextPageBehindTheCursor) {
  const std::string first = descending(90, 61);
  EXPECT_EQ(merge("", 1, page(first)), first);
  EXPECT_EQ(mergeNext(2, page("95 60")), first + " 95 60");
  EXPECT_EQ(cursor, "60");
}

TEST_F(LivePageMerge, PutsALaterPageBehindTheCursorWhereverItStands) {
  cursor = "20";
  EXPECT_EQ(merge("10 20 30 40", 3, fullPage("99 40")), "10 20 99 40 30");
  EXPECT_EQ(told(), "new 99, old 40");
}

TEST_F(LivePageMerge, LooksForTheCursorWhenTheCourseHasLeftItsPlace) {
  cursor = "30";
  EXPECT_EQ(merge("10 20 30 40", 3, fullPage("10")), "20 30 10 40");
}

TEST_F(LivePageMerge, WithoutACursorPutsTheFirstCourseWhereItsPageHasIt) {
  EXPECT_EQ(merge("10 20 30", 0, fullPage("99")), "99 10 20 30");
  cursor.reset();
  EXPECT_EQ(merge(descending(90, 56), 2, fullPage("95 57")), descending(90, 61) + " 95 57 60 59 58 56");
  cursor.reset();
  EXPECT_EQ(merge("10 20", 2, fullPage("99 98")), "10 20 99 98");
  EXPECT_EQ(told(), "new 99, new 98");
}

TEST_F(LivePageMerge, WithoutACursorDropsOnTheFirstPageWhatStandsBeforeTheFirstCourse) {
  EXPECT_EQ(merge("10 20 30 40", 1, fullPage("? ? 30")), "30 40") << "10 and 20 stood in front of place 2";
  EXPECT_EQ(told(), "old 30, drop 20, drop 10");
}

TEST_F(LivePageMerge, DropsNothingInFrontOfALaterPageWithoutACursor) {
  EXPECT_EQ(merge(descending(90, 60), 2, fullPage("5")), descending(90, 61) + " 5 60");
  EXPECT_EQ(told(), "new 5");
}

TEST_F(LivePageMerge, AppendsBehindACursorThatIsNotInTheList) {
  cursor = "77";
  EXPECT_EQ(merge("10 20 30", 1, fullPage("10 99")), "20 30 10 99");
  EXPECT_EQ(told(), "old 10, new 99");
}

TEST_F(LivePageMerge, AppendsACourseThatIsItsOwnCursor) {
  cursor = "10";
  EXPECT_EQ(merge("10 20 30", 2, fullPage("10")), "20 30 10");
  cursor.reset();
  EXPECT_EQ(merge("50 60", 1, fullPage("10 10 20")), "50 60 10 20") << "a course that the page repeats";
  EXPECT_EQ(told(), "new 10, old 10, new 20");
}

TEST_F(LivePageMerge, CutsOffWhatIsBehindTheLastPage) {
  EXPECT_EQ(merge("10 20 30 40", 1, page("40 99")), "40 99");
  EXPECT_EQ(told(), "old 40, new 99, trim 30, trim 20, trim 10");
}

TEST_F(LivePageMerge, CutsNothingBehindAPageOfThirty) {
  EXPECT_EQ(merge("10 20", 1, page(descending(90, 61))), descending(90, 61) + " 10 20");
  cursor.reset();
  EXPECT_EQ(merge("10 20", 1, page(descending(90, 62))), descending(90, 62));
}

TEST_F(LivePageMerge, OfAnEmptyPageCutsNothing) {
  for (const std::int64_t number : {1, 3}) {
    cursor = "20";
    EXPECT_EQ(merge("10 20 30", number, {}), "10 20 30");
    EXPECT_EQ(told(), "");
    EXPECT_EQ(cursor, "20");
  }
}

TEST_F(LivePageMerge, CutsBehindTheCursorWhenAShortPageHoldsNoCourse) {
  cursor = "20";
  EXPECT_EQ(merge("10 20 30", 2, page("?")), "10 20");
  cursor.reset();
  EXPECT_EQ(merge("10 20 30", 2, page("?")), "10 20 30");
  cursor = "77";
  EXPECT_EQ(merge("10 20 30", 2, page("?")), "10 20 30");
}

TEST_F(LivePageMerge, TakesACourseInMemoryOutOfTheListOfItsOldStatus) {
  lists[1].assign(keys("7 50 8"));
  inMemory = {"50"};
  EXPECT_EQ(merge("10", 1, fullPage("50")), "50 10");
  EXPECT_EQ(inList(1), "7 8");
  EXPECT_EQ(told(), "new 50");
}

TEST_F(LivePageMerge, LeavesACourseThatIsNotInMemoryInTheListOfItsOldStatus) {
  lists[1].assign(keys("7 50 8"));
  EXPECT_EQ(merge("10", 1, fullPage("50")), "50 10");
  EXPECT_EQ(inList(1), "7 50 8");
}

TEST_F(LivePageMerge, TakesACourseOutOfTheFirstListThatHoldsItAndOfNoOther) {
  lists[1].assign(keys("50 8 50"));
  lists[3].assign(keys("50"));
  inMemory = {"50"};
  EXPECT_EQ(merge("", 1, fullPage("50")), "50");
  EXPECT_EQ(inList(1), "8") << "wherever it stands there";
  EXPECT_EQ(inList(3), "50");
}

TEST_F(LivePageMerge, OfAKnownCourseLeavesTheOtherListsAlone) {
  lists[3].assign(keys("50"));
  inMemory = {"50"};
  EXPECT_EQ(merge("50", 1, fullPage("50")), "50");
  EXPECT_EQ(inList(3), "50");
}

TEST_F(LivePageMerge, TakesAKnownCourseOutWhereverItStands) {
  EXPECT_EQ(merge("50 10 50", 1, fullPage("10 50")), "10 50");
}

TEST_F(LivePageMerge, OfAStatusWithoutAListChangesNothing) {
  lists[5].assign(keys("50"));
  const json::array items = page("10");
  const PageMergeResult result = mergeLivePage(lists, 6, cursor, PageItems(1, items), *this);
  EXPECT_TRUE(result.lastPage);
  EXPECT_EQ(effects, Keys{});
  EXPECT_EQ(cursor, std::nullopt);
  EXPECT_EQ(inList(5), "50");
}

TEST_F(LivePageMerge, TakesAnyPageNumber) {
  using Limits = std::numeric_limits<std::int64_t>;
  for (const std::int64_t number : {Limits::max(), Limits::max() / 30 + 1, Limits::max() / 30}) {
    cursor.reset();
    EXPECT_EQ(merge("10 20", number, fullPage("10 99")), "20 10 99") << number;
  }
  for (const std::int64_t number : {Limits::min(), std::int64_t{0}}) {
    cursor.reset();
    EXPECT_EQ(merge("10 20", number, fullPage("20 99")), "20 99 10") << number;
  }
}

}  // namespace
}  // namespace orv::live_page_merge_test
