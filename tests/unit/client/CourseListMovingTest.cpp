// The server's list changes while it is read.

#include <orvnetwork/client/CourseList.h>

#include "CourseListFixture.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace orv::course_list_moving_test {
namespace {

using Deed = std::function<void(json::array& list)>;
struct Move {
  const char* name;
  Deed deed;
};

json::value taken(json::array& list, std::size_t index) {
  json::value item = list[index];
  list.erase(list.begin() + static_cast<std::ptrdiff_t>(index));
  return item;
}

json::object another(std::int64_t roomID) {
  return {{"roomID", roomID}, {"title", "新课"}, {"liveType", 2}, {"status", 1}, {"publishStatus", 1}};
}

std::vector<Move> moves() {
  return {
      {"GrowsInFront", [](json::array& list) { list.insert(list.begin(), another(1001)); }},
      {"GrowsInTheMiddle", [](json::array& list) { list.insert(list.begin() + 45, another(1002)); }},
      {"GrowsAtAPageBorder", [](json::array& list) { list.insert(list.begin() + 30, another(1003)); }},
      {"GrowsAtTheEnd", [](json::array& list) { list.push_back(another(1004)); }},
      {"ShrinksInFront", [](json::array& list) { taken(list, 0); }},
      {"ShrinksAtAPageBorder", [](json::array& list) { taken(list, 29); }},
      {"ShrinksByAPage", [](json::array& list) { list.erase(list.begin() + 10, list.begin() + 40); }},
      {"ShrinksToAFullPage", [](json::array& list) { list.erase(list.begin() + 60, list.end()); }},
      {"IsCleared", [](json::array& list) { list.clear(); }},
      {"MovesForwards",
       [](json::array& list) {
         auto item = taken(list, 80);
         list.insert(list.begin() + 3, std::move(item));
       }},
      {"MovesBackwards",
       [](json::array& list) {
         auto item = taken(list, 3);
         list.insert(list.begin() + 80, std::move(item));
       }},
      {"SwapsInAPage", [](json::array& list) { std::swap(list[4], list[9]); }},
      {"IsReversed", [](json::array& list) { std::reverse(list.begin(), list.end()); }},
      {"PassesOneOver", [](json::array& list) { list[29].as_object()["status"] = 4; }},
      {"GrowsByOneAndShrinksByOne",
       [](json::array& list) {
         taken(list, 0);
         list.push_back(another(1005));
       }},
  };
}

/// What happens, and behind which of the requests.
class CourseListMoving : public CourseListFixture,
                         public ::testing::WithParamInterface<std::tuple<std::size_t, int>> {
 protected:
  const Move& move() const { return moves_[std::get<0>(GetParam())]; }
  /// Lets it happen behind a request from now on, the first being 1.
  void happenBehind(int request) {
    instead = [this, left = request](const json::object& frame) mutable -> std::optional<json::object> {
      if (frame.at("c") != "Course.Get.Items") return json::object{{"ret", 0}};
      json::object page = pageAsked(frame);
      if (--left == 0) move().deed(recorded);
      return page;
    };
  }
  std::size_t pages() const { return recorded.size() / 30 + 1; }

 private:
  const std::vector<Move> moves_ = moves();
};

/// What happens to the list behind a page, and shows with the page in front of it alone.
class CourseListSlip : public CourseListFixture {
 protected:
  /// Lets it happen once, behind the request for a page.
  void happenBehindPage(std::int64_t number, std::function<void()> deed) {
    instead = [this, number, left = std::move(deed)](const json::object& frame) mutable {
      if (frame.at("c") != "Course.Get.Items") return std::optional(json::object{{"ret", 0}});
      json::object page = pageAsked(frame);
      const bool isPage = frame.at("v").at("start").to_number<std::int64_t>() == number;
      if (const auto now = isPage ? std::exchange(left, nullptr) : nullptr) now();
      return std::optional(std::move(page));
    };
  }
};

TEST_F(CourseListSlip, IsSeenAlsoBehindACourseThatIsNew) {
  auto list = loadedList(60);
  // Nothing is known of what follows the last course of the first page.
  recorded.insert(recorded.begin() + 29, another(1001));
  happenBehindPage(1, [this] { taken(recorded, 0); });
  list.refresh();
  settle();
  EXPECT_EQ(list.keys(), serverRooms(recorded));
}

TEST_F(CourseListSlip, APageThatHasBecomeTheLastOneHasNoneBehindIt) {
  signIn();
  listRooms(29, 1);
  // What is no course counts for the length of the page, and is not among its rooms.
  recorded.push_back(nullptr);
  recorded.push_back(another(1001));
  auto list = CourseList::recorded();
  list.loadMore();
  settle();
  ASSERT_TRUE(list.canLoadMore()) << "the first page was full";
  happenBehindPage(2, [this] { recorded.erase(recorded.begin() + 29, recorded.end()); });
  list.loadMore();
  settle();
  EXPECT_EQ(list.keys(), rooms(29, 1));
  EXPECT_TRUE(list.atEnd());
}

TEST_P(CourseListMoving, LoadingMissesNoCourseAndHasNoneTwice) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  View view(list);
  happenBehind(std::get<1>(GetParam()));
  loadAll(list);
  Rooms loaded = list.keys(), listed = serverRooms(recorded);
  std::ranges::sort(loaded);
  std::ranges::sort(listed);
  const bool isSeenLater = std::string(move().name) == "PassesOneOver";
  EXPECT_TRUE(isSeenLater || loaded == listed) << move().name;
  EXPECT_LE(pagesAsked.size(), 8 * 5u) << "eight requests a page at most";
  pagesAsked.clear();
  list.refresh();
  settle();
  EXPECT_EQ(list.keys(), serverRooms(recorded)) << move().name;
  EXPECT_EQ(stored(), serverRooms(recorded)) << move().name;
  EXPECT_TRUE(list.atEnd());
  EXPECT_LE(pagesAsked.size(), 2 * pages()) << "the server's list stands still";
}

TEST_P(CourseListMoving, RefreshComesToWhatTheServerLists) {
  signIn();
  listRooms(95, 1);
  auto list = CourseList::recorded();
  View view(list);
  loadAll(list);
  Rooms before = list.keys();
  std::ranges::sort(before);
  pagesAsked.clear();
  happenBehind(std::get<1>(GetParam()));
  list.refresh();
  settle();
  EXPECT_LE(pagesAsked.size(), 8 * 5u);
  Rooms loaded = list.keys(), listed = serverRooms(recorded);
  std::ranges::sort(loaded);
  std::ranges::sort(listed);
  EXPECT_TRUE(loaded == listed || loaded == before) << move().name << ": neither what was listed nor what is";
  // What happens behind all that is read, or where nothing leaves its page, shows with the next refresh.
  list.refresh();
  settle();
  EXPECT_EQ(list.keys(), serverRooms(recorded)) << move().name;
  EXPECT_EQ(stored(), serverRooms(recorded)) << move().name;
}

INSTANTIATE_TEST_SUITE_P(All, CourseListMoving,
                         ::testing::Combine(::testing::Range<std::size_t>(0, moves().size()),
                                            ::testing::Values(1, 2, 3, 4)),
                         [](const auto& test) {
                           return moves()[std::get<0>(test.param)].name + std::string("Behind") +
                                  std::to_string(std::get<1>(test.param));
                         });

using CourseListUnrest = CourseListFixture;

TEST_F(CourseListUnrest, EndsWithTheFourthReading) {
  auto list = loadedList(95);
  pagesAsked.clear();
  std::int64_t next = 1000;
  instead = [&](const json::object& frame) -> std::optional<json::object> {
    if (frame.at("c") != "Course.Get.Items") return json::object{{"ret", 0}};
    json::object page = pageAsked(frame);
    recorded.erase(recorded.begin());
    recorded.push_back(courseItem(++next));
    return page;
  };
  list.refresh();
  settle();
  EXPECT_FALSE(list.isLoading());
  // Three times it is seen with the second page, which has the first one read again; then whatever comes is taken.
  EXPECT_EQ(pagesAsked.size(), 3 * 3 + 4u);
  instead = nullptr;
  list.refresh();
  settle();
  EXPECT_EQ(list.keys(), serverRooms(recorded)) << "once it stands still";
}

TEST_F(CourseListUnrest, AServerThatGivesTheSamePageAgainAndAgainHasAnEnd) {
  signIn();
  listRooms(30, 1);
  auto list = CourseList::recorded();
  instead = [this](const json::object&) -> std::optional<json::object> { return pageOf(recorded); };
  loadAll(list);
  EXPECT_EQ(list.keys(), rooms(30, 1));
  EXPECT_LE(pagesAsked.size(), 16u);
}

TEST_F(CourseListUnrest, ACourseThatThePagesHaveTwiceIsThereOnce) {
  signIn();
  listRooms(40, 1);
  recorded.push_back(courseItem(35));
  recorded.push_back(courseItem(35));
  auto list = CourseList::recorded();
  loadAll(list);
  EXPECT_EQ(list.keys(), rooms(40, 1));
  EXPECT_EQ(stored(), rooms(40, 1));
}

TEST_F(CourseListUnrest, ACourseThatThePagesHaveTwiceGoesAsAWhole) {
  signIn();
  listRooms(40, 1);
  // Twice in the first page, and in the second one once more.
  recorded.insert(recorded.begin() + 20, courseItem(35));
  recorded.push_back(courseItem(35));
  auto list = CourseList::recorded();
  loadAll(list);
  ASSERT_EQ(list.keys(), rooms(40, 1));
  courses().deleteCloudCourse(courses().getRecordCourseWithIndex(5));
  settle();
  Rooms left = rooms(40, 1);
  std::erase(left, 35);
  EXPECT_EQ(list.keys(), left);
}

TEST_F(CourseListUnrest, FullPagesWithoutACourseHaveAnEnd) {
  signIn();
  json::array nothing;
  for (int i = 0; i < 30; ++i) nothing.push_back(json::object{{"title", "无"}});
  instead = [this, nothing](const json::object& frame) -> std::optional<json::object> {
    return frame.at("c") == "Course.Get.Items" ? pageOf(nothing) : json::object{{"ret", 0}};
  };
  auto list = CourseList::recorded();
  list.loadMore();
  runFor(30);
  EXPECT_TRUE(list.atEnd());
  EXPECT_LE(pagesAsked.size(), 3u);
}

TEST_F(CourseListUnrest, AServerWithoutEndIsReadNoFurtherThanAThousandPagesAtATime) {
  signIn();
  instead = [](const json::object& frame) -> std::optional<json::object> {
    if (frame.at("c") != "Course.Get.Items") return json::object{{"ret", 0}};
    // Every page has other courses, and none that is shown; asked for once more it is the same.
    const auto page = frame.at("v").at("start").to_number<std::int64_t>();
    json::array items;
    for (std::int64_t room = page * 30; room < page * 30 + 30; ++room) {
      items.push_back(courseItem(room, live_type::kRecorded, course_status::kWithdrawn));
    }
    return pageOf(std::move(items));
  };
  auto list = CourseList::recorded();
  list.loadMore();
  ASSERT_TRUE(platform.runUntil([&] { return !list.isLoading(); }, Seconds(600)));
  EXPECT_TRUE(list.canLoadMore()) << "it is not at its end, and nothing has failed";
  EXPECT_EQ(list.size(), 0u);
  EXPECT_LE(pagesAsked.size(), 2 * 1'001u);
}

TEST_F(CourseListUnrest, WhatIsNoCourseIsPassedOver) {
  signIn();
  recorded = {nullptr,        5,
              "text",         json::array{},
              json::object{}, json::object{{"roomID", "text"}},
              courseItem(7),  json::object{{"roomID", -3}}};
  auto list = CourseList::recorded();
  loadAll(list);
  EXPECT_EQ(list.keys(), Rooms{7});
}

}  // namespace
}  // namespace orv::course_list_moving_test
