#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/PendingEnd.h>

#include "CourseListFixture.h"

#include <optional>
#include <string>
#include <vector>

namespace orv::course_list_test {
namespace {

using CourseListTest = CourseListFixture;

TEST_F(CourseListTest, BeginsEmptyAndIdle) {
  signIn();
  auto list = CourseList::recorded();
  settle();
  EXPECT_EQ(list.size(), 0u);
  EXPECT_EQ(list.at(0), nullptr);
  EXPECT_TRUE(list.canLoadMore());
  EXPECT_FALSE(list.atEnd());
  EXPECT_EQ(pagesAsked, Strings{}) << "nothing is asked for before somebody wants it";
}

TEST_F(CourseListTest, LoadsTheFirstPage) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  settle();
  View view(list);
  list.loadMore();
  EXPECT_TRUE(list.isLoading()) << "loading begins inside the call";
  EXPECT_FALSE(list.canLoadMore());
  EXPECT_EQ(view.changes().size(), 0u) << "nobody is called inside the call that caused it";
  settle();
  EXPECT_EQ(list.keys(), rooms(95, 66));
  EXPECT_EQ(list.at(29)->title.get(), "课程 66");
  EXPECT_EQ(list.at(30), nullptr);
  EXPECT_EQ(list.indexOf(66), 29u);
  EXPECT_EQ(list.indexOf(65), std::nullopt);
  EXPECT_TRUE(list.canLoadMore());
  EXPECT_FALSE(list.atEnd()) << "the first page was full";
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
  EXPECT_EQ(view.phases(), (Strings{"Loading", "Idle"}));
  EXPECT_EQ(view.rowChanges(), 1u);
  EXPECT_EQ(stored(), rooms(95, 66)) << "the catalogue has taken over what was read";
  EXPECT_EQ(cloudFile(66)->at("title"), "课程 66");
}

TEST_F(CourseListTest, HoldsEveryFurtherPageAgainstTheOneBefore) {
  auto list = loadedList(95);
  EXPECT_EQ(list.keys(), rooms(95, 1));
  EXPECT_EQ(pagesAsked,
            (Strings{"items 1", "items 2", "items 1", "items 3", "items 2", "items 4", "items 3"}));
  EXPECT_EQ(stored(), rooms(95, 1));
  list.loadMore();
  settle();
  EXPECT_EQ(pagesAsked.size(), 7u) << "nothing is asked for at the end";
}

struct Length {
  int courses;
  std::size_t requests;
};

class CourseListLengths : public CourseListFixture, public ::testing::WithParamInterface<Length> {};

TEST_P(CourseListLengths, EndWhereTheServersListEnds) {
  signIn();
  listRooms(GetParam().courses, 1);
  auto list = CourseList::recorded();
  View view(list);
  loadAll(list);
  EXPECT_EQ(list.keys(), serverRooms(recorded));
  EXPECT_EQ(stored(), serverRooms(recorded));
  EXPECT_EQ(pagesAsked.size(), GetParam().requests);
  pagesAsked.clear();
  view.forget();
  list.refresh();
  settle();
  EXPECT_EQ(list.keys(), serverRooms(recorded));
  EXPECT_TRUE(list.atEnd());
  EXPECT_EQ(view.rowChanges(), 0u) << "nothing is different";
  const auto pages = static_cast<std::size_t>(GetParam().courses) / 30 + 1;
  EXPECT_EQ(pagesAsked.size(), pages) << "one request a page where nothing has moved";
}

INSTANTIATE_TEST_SUITE_P(All, CourseListLengths,
                         ::testing::Values(Length{0, 1}, Length{1, 1}, Length{29, 1}, Length{30, 3},
                                           Length{31, 3}, Length{60, 5}, Length{90, 7}));

TEST_F(CourseListTest, PassesOverWhatIsNotListedAndGoesOnUntilARowHasCome) {
  signIn();
  listRooms(100, 1);
  // All of the second page, and some of the first and the third.
  for (std::size_t i = 0; i < recorded.size(); ++i) {
    const bool isPassedOver = (i >= 30 && i < 60) || i % 7 == 0;
    if (isPassedOver) recorded[i].as_object()["status"] = course_status::kWithdrawn;
  }
  auto list = CourseList::recorded();
  settle();
  list.loadMore();
  settle();
  const std::size_t first = list.size();
  EXPECT_LT(first, 30u);
  list.loadMore();
  settle();
  EXPECT_GT(list.size(), first) << "a load that is done has brought a row";
  loadAll(list);
  EXPECT_EQ(list.keys(), serverRooms(recorded));
  EXPECT_EQ(stored(), serverRooms(recorded));
}

TEST_F(CourseListTest, ShowsWhatIsStoredBeforeThereIsALink) {
  signIn();
  listRooms(40, 1);
  getCourses(0, 40);
  server.cutAll();
  auto list = CourseList::recorded();
  View view(list);
  settle();
  EXPECT_EQ(list.keys(), rooms(40, 1));
  EXPECT_EQ(list.at(39)->title.get(), "课程 1");
  ASSERT_EQ(view.changes().size(), 1u);
  EXPECT_EQ(view.changes()[0].inserted, (std::vector<CourseListRange>{{0, 40}}));
}

TEST_F(CourseListTest, SaysWhenWhatIsStoredIsThere) {
  signIn();
  listRooms(40, 1);
  getCourses(0, 40);
  server.cutAll();
  auto list = CourseList::recorded();
  std::vector<std::size_t> sizes;
  const auto note = [&](PendingEnd end) {
    EXPECT_EQ(end, PendingEnd::Finished);
    sizes.push_back(list.size());
  };
  const auto first = list.whenStored().then(note);
  EXPECT_TRUE(sizes.empty()) << "nobody is called inside the call";
  settle();
  EXPECT_EQ(sizes, std::vector<std::size_t>{40});
  const auto later = list.whenStored().then(note);
  settle();
  EXPECT_EQ(sizes, (std::vector<std::size_t>{40, 40}));
  auto others = CourseList::live(1);
  std::optional<PendingEnd> ended;
  const auto nothing = others.whenStored().then([&](PendingEnd end) { ended = end; });
  settle();
  EXPECT_EQ(ended, PendingEnd::Finished) << "also where nothing is stored";
  EXPECT_EQ(others.size(), 0u);
}

TEST_F(CourseListTest, ThatIsDestroyedTellsThoseWhoWaitForWhatIsStored) {
  signIn();
  std::optional<CourseList> list(CourseList::recorded());
  std::optional<PendingEnd> ended;
  const auto waiting = list->whenStored().then([&](PendingEnd end) { ended = end; });
  list.reset();
  EXPECT_EQ(ended, std::nullopt);
  settle();
  EXPECT_EQ(ended, PendingEnd::Cancelled);
}

TEST_F(CourseListTest, BringsStoredRowsUpToDateBeforeItLoadsMore) {
  signIn();
  listRooms(40, 1);
  getCourses(0, 40);
  listRooms(-1, -60);
  for (auto& item : recorded) item.as_object()["roomID"] = item.at("roomID").to_number<std::int64_t>() + 100;
  pagesAsked.clear();
  auto list = CourseList::recorded();
  View view(list);
  settle();
  list.loadMore();
  settle();
  EXPECT_EQ(list.keys().size(), 60u);
  EXPECT_EQ(view.rowChanges(), 2u) << "what is stored, and what the server lists";
  loadAll(list);
  EXPECT_EQ(list.keys(), serverRooms(recorded));
  EXPECT_EQ(stored(), serverRooms(recorded));
}

TEST_F(CourseListTest, TellsInsertedRemovedMovedAndUpdatedRows) {
  auto list = loadedList(20);
  View view(list);
  unlist(recorded, 18);
  unlist(recorded, 17);
  unlist(recorded, 3);
  recorded.insert(recorded.begin(), courseItem(21));
  recorded[5].as_object()["title"] = "新";
  const json::value moved = recorded[16];
  recorded.erase(recorded.begin() + 16);
  recorded.insert(recorded.begin() + 2, moved);
  list.refresh();
  settle();
  ASSERT_EQ(view.rowChanges(), 1u);
  const CourseListChange& change = view.changes().back();
  EXPECT_EQ(change.removed, (std::vector<CourseListRange>{{17, 1}, {2, 2}}));
  EXPECT_EQ(change.inserted, (std::vector<CourseListRange>{{0, 1}}));
  EXPECT_EQ(change.moves, (std::vector<CourseListMove>{{16, 2}}));
  EXPECT_EQ(change.updated, (std::vector<CourseListRange>{{6, 1}}));
  EXPECT_FALSE(change.reordered);
  EXPECT_EQ(list.keys(), serverRooms(recorded));
  EXPECT_EQ(stored(), serverRooms(recorded));
  EXPECT_FALSE(hasCloudFile(18)) << "what the server lists no longer has no record";
}

TEST_F(CourseListTest, TellsManyMovesAsAnotherOrder) {
  auto list = loadedList(25);
  View view(list);
  std::reverse(recorded.begin(), recorded.end());
  list.refresh();
  settle();
  ASSERT_EQ(view.rowChanges(), 1u);
  EXPECT_TRUE(view.changes().back().reordered);
  EXPECT_TRUE(view.changes().back().moves.empty());
  EXPECT_EQ(list.keys(), rooms(1, 25));
}

TEST_F(CourseListTest, RefreshKeepsAListThatWasAtItsEndComplete) {
  auto list = loadedList(30);
  recorded.insert(recorded.begin(), courseItem(31));
  recorded.insert(recorded.end(), courseItem(-5));
  recorded.back().as_object()["roomID"] = 500;
  list.refresh();
  settle();
  EXPECT_TRUE(list.atEnd());
  EXPECT_EQ(list.keys(), serverRooms(recorded));
}

TEST_F(CourseListTest, RefreshOfAPartReadsAsManyPages) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  list.loadMore();
  settle();
  pagesAsked.clear();
  unlist(recorded, 70);
  list.refresh();
  settle();
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2"})) << "the rows tell that the two belong together";
  EXPECT_EQ(list.size(), 60u);
  EXPECT_TRUE(list.canLoadMore());
  loadAll(list);
  EXPECT_EQ(list.keys(), serverRooms(recorded));
}

TEST_F(CourseListTest, RefreshThatIsAskedForWhileLoadingFollows) {
  signIn();
  listRooms(10, 1);
  auto list = CourseList::recorded();
  settle();
  list.loadMore();
  list.refresh();
  list.refresh();
  list.loadMore();
  settle();
  EXPECT_EQ(list.keys(), rooms(10, 1));
  EXPECT_LE(pagesAsked.size(), 2u);
}

TEST_F(CourseListTest, RowsAreCopiesThatNobodyChanges) {
  auto list = loadedList(3);
  const auto row = list.at(0);
  courses().getRecordCourseWithIndex(0)->title = "变";
  recorded[0].as_object()["title"] = "新";
  list.refresh();
  settle();
  EXPECT_EQ(row->title.get(), "课程 3");
  EXPECT_EQ(list.at(0)->title.get(), "新");
  EXPECT_EQ(courses().getRecordCourseWithIndex(0)->title.get(), "新");
}

TEST_F(CourseListTest, AThousandCoursesComeInTwoRequestsAPage) {
  signIn();
  listRooms(1'000, 1);
  auto list = CourseList::recorded();
  View view(list);
  loadAll(list);
  EXPECT_EQ(list.keys(), rooms(1'000, 1));
  EXPECT_EQ(pagesAsked.size(), 67u);
  EXPECT_EQ(view.rowChanges(), 34u) << "one change a page";
}

TEST_F(CourseListTest, TenThousandCoursesAreRefreshedInOneRequestAPage) {
  signIn();
  listRooms(10'000, 1);
  ASSERT_EQ(getCourses(0, 10'000).count, 10'000);
  pagesAsked.clear();
  unlist(recorded, 5'000);
  recorded.insert(recorded.begin(), courseItem(10'001));
  recorded[7'000].as_object()["title"] = "新";
  auto list = CourseList::recorded();
  View view(list);
  settle();
  EXPECT_EQ(list.size(), 10'000u) << "what is stored";
  list.refresh();
  settle();
  EXPECT_EQ(list.keys(), serverRooms(recorded));
  EXPECT_EQ(pagesAsked.size(), 334u);
  ASSERT_EQ(view.rowChanges(), 2u);
  EXPECT_EQ(view.changes().back().removed, (std::vector<CourseListRange>{{5'000, 1}}));
  EXPECT_EQ(view.changes().back().inserted, (std::vector<CourseListRange>{{0, 1}}));
  EXPECT_EQ(view.changes().back().updated, (std::vector<CourseListRange>{{7'000, 1}}));
  EXPECT_EQ(stored(), serverRooms(recorded));
}

}  // namespace
}  // namespace orv::course_list_test
