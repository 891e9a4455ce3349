#include <orvnetwork/course/detail/CloudPageMerge.h>

#include "PageNotation.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>

namespace orv::cloud_page_merge_test {
namespace {

using notation::descending;
using notation::fullPage;
using notation::Keys;
using notation::keys;
using notation::page;

/// A list, a cursor, and what merges did to the records.
class CloudPageMerge : public ::testing::Test, protected CloudMergeEffects {
 protected:
  void take(std::size_t item, const std::string& key, bool known) override {
    EXPECT_TRUE(list.contains(key));
    EXPECT_GE(item, nextItem);
    nextItem = item + 1;
    effects.push_back((known ? "old " : "new ") + key);
  }
  void dropVanished(const std::string& key) override {
    EXPECT_TRUE(list.contains(key)) << key;
    effects.push_back("drop " + key);
  }
  void trim(const std::string& key) override {
    EXPECT_FALSE(list.contains(key)) << key;
    effects.push_back("trim " + key);
  }

  /// Merges into a list, and tells what becomes of it.
  std::string merge(const std::string& before, std::int64_t pageNumber, const json::array& items) {
    list.assign(keys(before));
    return mergeNext(pageNumber, items);
  }

  /// Merges a further page into the list as it is.
  std::string mergeNext(std::int64_t pageNumber, const json::array& items) {
    effects.clear();
    nextItem = 0;
    const PageMergeResult result = mergeCloudPage(list, cursor, PageItems(pageNumber, items), *this);
    EXPECT_EQ(result.lastPage, items.size() < 30);
    EXPECT_EQ(result.writeList, !items.empty());
    return notation::text(list.snapshot());
  }

  std::string told() const { return notation::text(effects, ", "); }

  KeyList list;
  OptionalString cursor;
  Keys effects;
  std::size_t nextItem = 0;
};

TEST_F(CloudPageMerge, FillsAnEmptyListInTheOrderOfThePage) {
  EXPECT_EQ(merge("", 1, page("50 40 30")), "50 40 30");
  EXPECT_EQ(told(), "new 50, new 40, new 30");
  EXPECT_EQ(cursor, "30");
}

TEST_F(CloudPageMerge, LeavesAListAsItIsThatThePageRepeats) {
  EXPECT_EQ(merge("50 40 30", 1, page("50 40 30")), "50 40 30");
  EXPECT_EQ(told(), "old 50, old 40, old 30");
  EXPECT_EQ(cursor, "30");
}

TEST_F(CloudPageMerge, AppendsTheNextPage) {
  const std::string first = descending(90, 61);
  EXPECT_EQ(merge("", 1, page(first)), first);
  EXPECT_EQ(cursor, "61");
  EXPECT_EQ(mergeNext(2, page("60 59")), first + " 60 59");
  EXPECT_EQ(told(), "new 60, new 59");
  EXPECT_EQ(cursor, "59");
}

TEST_F(CloudPageMerge, OfSeveralMissingCoursesThoseAtTheEndComeBackLast) {
  const json::array all = page(descending(12, 1));
  list.assign(keys("12 11 9 7 5 4 3 1"));
  for (const char* after :
       {"12 10 8 6 5 4 3 1", "11 9 7 6 5 4 3 1", "12 10 8 7 6 5 4 3 1", "11 9 8 7 6 5 4 3 1",
        "12 10 9 8 7 6 5 4 3 2", "11 10 9 8 7 6 5 4 3 2", "12 11 10 9 8 7 6 5 4 3 2 1"}) {
    cursor = std::nullopt;
    EXPECT_EQ(mergeNext(1, all), after);
  }
}

TEST_F(CloudPageMerge, PassesOverCoursesWithStatusFour) {
  EXPECT_EQ(merge("", 1, page("50 40/4")), "50");
  EXPECT_EQ(merge("", 1, page("50 40/4:1")), "50");
}

TEST_F(CloudPageMerge, PassesOverCoursesWithStatusFiveThatAreNotPublished) {
  cursor = "none";  // a cursor that is not in the list, so that nothing is dropped
  EXPECT_EQ(merge("", 1, page("50/5:0 49/5:2 48/5:4 47/5:-1 46/5:1 45/5:3 44/6:0 43/0:0")), "46 45 44 43");
}

TEST_F(CloudPageMerge, ReadsStatusesAndRoomsLoosely) {
  const json::array items{json::object{{"roomID", "50x"}, {"status", "5"}, {"publishStatus", "3"}},
                          json::object{{"roomID", 40.9}}, json::object{{"roomID", 30}, {"status", "4"}},
                          json::object{{"roomID", 20}, {"status", 5}},
                          json::object{{"roomID", true}, {"status", nullptr}}};
  merge("", 1, items);
  EXPECT_EQ(told(), "new 50, new 40, new 1");
}

TEST_F(CloudPageMerge, TakesADictionaryWithoutARoomAsRoomZero) {
  EXPECT_EQ(merge("", 1, json::array{json::object{}}), "0");
}

TEST_F(CloudPageMerge, PassesOverWhatIsNoDictionary) {
  const json::array items{json::object{{"roomID", 50}}, nullptr, 7, "x", json::array{1}};
  EXPECT_EQ(merge("", 1, items), "50");
  EXPECT_EQ(told(), "new 50");
}

// A cursor that is not in the list lets nothing be dropped in front of the first course, so that what follows
// shows the places alone.
class CloudPageMergePlace : public CloudPageMerge {
 protected:
  CloudPageMergePlace() { cursor = "elsewhere"; }
};

TEST_F(CloudPageMergePlace, OfANewCourseIsOneInFrontOfTheFirstLowerRoom) {
  EXPECT_EQ(merge("50 40 30 20", 1, fullPage("25")), "50 40 25 30 20") << "one place before its neighbour";
}

TEST_F(CloudPageMergePlace, IsSearchedFromWhereThePageHasTheCourse) {
  EXPECT_EQ(merge("10 50 40 20", 1, fullPage("? 25")), "10 50 25 40 20") << "10 is lower, but stands before";
}

TEST_F(CloudPageMergePlace, IsTheLastOneWhenNoRoomBehindIsLower) {
  EXPECT_EQ(merge("50 40 30", 1, fullPage("10")), "50 40 10 30");
}

TEST_F(CloudPageMergePlace, OfAHigherRoomIsInFrontOfTheLastHigherOneBefore) {
  EXPECT_EQ(merge("90 50 40 30", 1, fullPage("? ? ? 45")), "90 45 50 40 30");
}

TEST_F(CloudPageMergePlace, IsTheFirstOneWhenNoRoomBeforeIsHigher) {
  EXPECT_EQ(merge("40 50 30", 1, fullPage("45")), "45 40 50 30") << "50 is higher, but stands behind";
  cursor = "elsewhere";
  EXPECT_EQ(merge("50 40 30", 1, fullPage("? ? 99")), "99 50 40 30");
}

TEST_F(CloudPageMergePlace, OfARoomThatAForeignKeyNamesIsSearchedBackward) {
  EXPECT_EQ(merge("50 045 30", 1, fullPage("? 45")), "45 50 045 30");
}

TEST_F(CloudPageMergePlace, IsTheEndWhenTheListIsNotLongEnough) {
  EXPECT_EQ(merge("50 40", 1, fullPage("? ? 99")), "50 40 99");
  cursor = "elsewhere";
  EXPECT_EQ(merge("50 40", 3, fullPage("99")), "50 40 99");
}

TEST_F(CloudPageMergePlace, CountsThePagesBefore) {
  const std::string before = descending(90, 56);
  EXPECT_EQ(merge(before, 2, fullPage("? 5")), descending(90, 57) + " 5 56")
      << "expected at 31, where 59 stands";
  cursor = "elsewhere";
  list.clear();
  EXPECT_EQ(merge(descending(90, 60) + " 20 58", 2, fullPage("? 59")), descending(90, 61) + " 59 60 20 58")
      << "expected at 31, where 20 stands";
}

TEST_F(CloudPageMerge, TakesARepeatedItemForThePlaceOfTheFirst) {
  // 99 goes to the front; 60 then drops 80, which comes once more.
  EXPECT_EQ(merge("90 80 70 60 50", 1, fullPage("80 99 60 80")), "80 99 60 50");
  EXPECT_EQ(told(), "old 80, drop 90, new 99, old 60, drop 70, drop 80, new 80");
}

TEST_F(CloudPageMerge, TakesAnItemThatDiffersInAnythingForItsOwnPlace) {
  cursor.reset();
  EXPECT_EQ(merge("90 80 70 60 50", 1, fullPage("80 99 60 80'")), "99 60 80");
  EXPECT_EQ(told(), "old 80, drop 90, new 99, old 60, drop 70, drop 80, new 80, drop 50");
}

TEST_F(CloudPageMerge, DropsWhatTheServerLeftOutBetweenTwoCourses) {
  EXPECT_EQ(merge("50 40 30 20 10", 1, fullPage("50 20")), "50 20 10");
  EXPECT_EQ(told(), "old 50, old 20, drop 30, drop 40");
  EXPECT_EQ(cursor, "20");
}

TEST_F(CloudPageMerge, DropsWhatTheServerLeftOutInFrontOfTheFirstCourse) {
  EXPECT_EQ(merge("50 40 30", 1, fullPage("30")), "30");
  EXPECT_EQ(told(), "old 30, drop 40, drop 50");
}

TEST_F(CloudPageMerge, DropsOnTheNextPageFromTheCursorOn) {
  cursor = "61";
  EXPECT_EQ(merge(descending(90, 56), 2, fullPage("58")), descending(90, 61) + " 58 57 56");
  EXPECT_EQ(told(), "old 58, drop 59, drop 60");
}

TEST_F(CloudPageMerge, DropsFromTheCursorOnEvenWhenItIsFarFromItsPage) {
  cursor = "88";
  EXPECT_EQ(merge(descending(90, 83), 2, fullPage("84")), "90 89 88 84 83");
  EXPECT_EQ(told(), "old 84, drop 85, drop 86, drop 87");
}

TEST_F(CloudPageMerge, DropsNothingInFrontOfALaterPageWithoutACursor) {
  EXPECT_EQ(merge("50 40 30 20 10", 2, fullPage("40 20")), "50 40 20 10");
  EXPECT_EQ(told(), "old 40, old 20, drop 30") << "but between its courses";
}

TEST_F(CloudPageMerge, DropsNothingOnAccountOfACursorThatIsNotInTheList) {
  cursor = "77";
  EXPECT_EQ(merge("50 40 30 20 10", 1, fullPage("40 20")), "50 40 20 10");
  EXPECT_EQ(told(), "old 40, old 20, drop 30");
}

TEST_F(CloudPageMerge, DropsNothingForACourseThatStandsBeforeTheOneConfirmedLast) {
  EXPECT_EQ(merge("50 40 30 20", 2, fullPage("30 50")), "50 40 30 20");
  EXPECT_EQ(cursor, "50");
}

TEST_F(CloudPageMerge, DropsTheNeighbourThatANewCourseWasPutInFrontOf) {
  // 45 goes in front of 50, which the server has listed; 30 then drops what is between 45 and itself.
  EXPECT_EQ(merge("50 30", 1, fullPage("50 45 30")), "45 30");
  EXPECT_EQ(told(), "old 50, new 45, old 30, drop 50");
}

TEST_F(CloudPageMerge, DropsACourseAppendedForThePlaceBehindTheEndByOne) {
  EXPECT_EQ(merge("", 1, fullPage("50/4 40 30")), "30");
  EXPECT_EQ(told(), "new 40, drop 40, new 30") << "40 was taken for place 1 and stood at 0";

  cursor.reset();
  EXPECT_EQ(merge("", 1, page("50 40/4 30 20 10")), "50 20 10");
  EXPECT_EQ(told(), "new 50, new 30, drop 30, new 20, new 10");
}

TEST_F(CloudPageMerge, DropsAlsoWhatStandsInFrontOfACourseAppendedByOneTooFar) {
  cursor = "50";
  EXPECT_EQ(merge("50 40", 1, fullPage("? ? ? 9 8")), "50 8");
  EXPECT_EQ(told(), "new 9, drop 9, drop 40, new 8");
}

TEST_F(CloudPageMerge, DropsNothingForACourseAppendedFartherThanOnePlace) {
  EXPECT_EQ(merge("", 1, fullPage("50/4 40/4 30")), "30");
  EXPECT_EQ(told(), "new 30");
  cursor = "50";
  EXPECT_EQ(merge("50 40", 1, fullPage("? ? ? ? 9")), "50 40 9");
}

TEST_F(CloudPageMerge, MeasuresTheNextCourseFromWhereTheLastOneStandsNotFromItsPlace) {
  const std::string before = descending(90, 62);  // 29 courses
  EXPECT_EQ(merge(before, 2, fullPage("9 8 7")), before + " 9 7");
  EXPECT_EQ(told(), "new 9, new 8, drop 8, new 7");
}

TEST_F(CloudPageMerge, RemovesTheCursorOfADroppedCourseFromNothing) {
  merge("", 1, page("50/4 40"));
  EXPECT_EQ(told(), "new 40, drop 40");
  EXPECT_EQ(cursor, "40") << "confirmed, although it is gone";
  EXPECT_EQ(mergeNext(2, fullPage("30")), "30");
}

TEST_F(CloudPageMerge, FindsTheFirstOfEqualKeys) {
  EXPECT_EQ(merge("50 40 50 30", 1, fullPage("50 30")), "50 30");
  EXPECT_EQ(told(), "old 50, old 30, drop 50, drop 40");
}

TEST_F(CloudPageMerge, CutsOffWhatIsBehindTheLastPage) {
  EXPECT_EQ(merge("50 40 30 20", 1, page("50 40")), "50 40");
  EXPECT_EQ(told(), "old 50, old 40, trim 20, trim 30");
}

TEST_F(CloudPageMerge, CutsBehindTheCourseConfirmedLastWhereverItStands) {
  EXPECT_EQ(merge("50 40 30 20", 2, page("30 50")), "50");
  EXPECT_EQ(told(), "old 30, old 50, trim 20, trim 30, trim 40");
}

TEST_F(CloudPageMerge, CutsNothingBehindAPageOfThirty) {
  const std::string whole = descending(90, 61);
  EXPECT_EQ(merge(whole + " 5 4", 1, page(whole)), whole + " 5 4");
  cursor.reset();
  EXPECT_EQ(merge(whole + " 5 4", 1, page(descending(90, 62))), descending(90, 62));
}

TEST_F(CloudPageMerge, CutsBehindTheCursorWhenNothingOfAShortPageIsTaken) {
  cursor = "40";
  EXPECT_EQ(merge("50 40 30 20", 2, page("9/4 8/5:0 ?")), "50 40");
  EXPECT_EQ(told(), "trim 20, trim 30");
  EXPECT_EQ(cursor, "40");
}

TEST_F(CloudPageMerge, CutsNothingWhenNothingOfAShortPageIsTakenAndThereIsNoCursor) {
  EXPECT_EQ(merge("50 40 30", 1, page("9/4")), "50 40 30");
  cursor = "77";
  EXPECT_EQ(merge("50 40 30", 2, page("9/4")), "50 40 30") << "one that is not in the list counts as none";
}

TEST_F(CloudPageMerge, OfThirtyPassedOverItemsChangesNothing) {
  cursor = "40";
  EXPECT_EQ(merge("50 40 30", 2, fullPage("9/4 8/4")), "50 40 30");
  EXPECT_EQ(told(), "");
}

TEST_F(CloudPageMerge, OfAnEmptyPageEmptiesTheListWhateverItsNumber) {
  for (const std::int64_t number : {1, 7}) {
    cursor = "40";
    EXPECT_EQ(merge("50 40 30", number, {}), "");
    EXPECT_EQ(told(), "trim 30, trim 40, trim 50");
    EXPECT_EQ(cursor, "40");
  }
}

TEST_F(CloudPageMerge, TakesAHugePageNumberForAPlaceBehindTheEnd) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (const std::int64_t number : {kMax, kMax - 1, kMax / 30 + 1, kMax / 30}) {
    cursor = "50";
    EXPECT_EQ(merge("50 40", number, fullPage("? 30 20 40")), "50 40 30 20") << number;
    EXPECT_EQ(told(), "new 30, new 20, old 40") << number;
  }
}

TEST_F(CloudPageMerge, TakesAPageNumberBelowOneForTheFirstPlaces) {
  for (const std::int64_t number :
       {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
    cursor.reset();
    EXPECT_EQ(merge("50 40", number, fullPage("45 60")), "60 45 50 40") << number;
    EXPECT_EQ(merge("", number, fullPage("? 30")), "30") << number;
  }
}

}  // namespace
}  // namespace orv::cloud_page_merge_test
