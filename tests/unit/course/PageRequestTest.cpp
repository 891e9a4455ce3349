#include <orvnetwork/course/detail/PageRequest.h>

#include <gtest/gtest.h>

#include <limits>
#include <optional>

namespace orv::page_request_test {
namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

CourseRequest range(std::uint64_t start, std::uint64_t count) {
  CourseRequest request;
  request.start = start;
  request.count = count;
  return request;
}

CourseRequest forced(std::uint64_t start, std::uint64_t count, std::optional<std::uint64_t> endIndex = {}) {
  CourseRequest request = range(start, count);
  request.force = true;
  request.endIndex = endIndex;
  return request;
}

CourseRequest forPage(std::int64_t page) {
  CourseRequest request;
  request.page = page;
  return request;
}

CourseRequest onlyStart() {
  CourseRequest request;
  request.start = 0;
  return request;
}

CourseRequest onlyCount() {
  CourseRequest request;
  request.count = 30;
  return request;
}

constexpr PageProgress kMoreToCome{.page = 1, .lastPage = false, .retriesLeft = 2};
constexpr PageProgress kArrived{.page = 1, .lastPage = true, .retriesLeft = 2};
constexpr PageProgress kGivenUp{.page = 1, .lastPage = false, .retriesLeft = 0};

TEST(PageProgress, GoesOnWhileRetriesAreLeftAndPagesToCome) {
  EXPECT_TRUE(kMoreToCome.canContinue());
  EXPECT_TRUE((PageProgress{.page = -1, .lastPage = false, .retriesLeft = 1}.canContinue()));
  EXPECT_FALSE(kArrived.canContinue());
  EXPECT_FALSE(kGivenUp.canContinue());
  EXPECT_FALSE((PageProgress{.page = 1, .lastPage = false, .retriesLeft = -1}.canContinue()));
}

TEST(PageRequest, IsServedWhenTheListHoldsTheRange) {
  EXPECT_EQ(judgePageRequest(range(0, 30), kMoreToCome, 30), PageVerdict::serve);
  EXPECT_EQ(judgePageRequest(range(0, 30), kMoreToCome, 29), PageVerdict::wait);
  EXPECT_EQ(judgePageRequest(range(45, 10), kMoreToCome, 54), PageVerdict::wait);
  EXPECT_EQ(judgePageRequest(range(45, 10), kMoreToCome, 55), PageVerdict::serve);
  EXPECT_EQ(judgePageRequest(range(0, 0), kMoreToCome, 0), PageVerdict::serve);
}

TEST(PageRequest, IsServedWithWhatThereIsAfterTheLastPageOrTheLastRetry) {
  EXPECT_EQ(judgePageRequest(range(45, 10), kArrived, 42), PageVerdict::serve);
  EXPECT_EQ(judgePageRequest(range(45, 10), kGivenUp, 0), PageVerdict::serve);
  EXPECT_EQ(judgePageRequest(forced(0, 60, 30), kArrived, 0), PageVerdict::serve);
  EXPECT_EQ(judgePageRequest(forced(0, 60), kGivenUp, 0), PageVerdict::serve);
}

TEST(PageRequest, OfAForcedRangeWaitsForThePagesWhateverTheListHolds) {
  EXPECT_EQ(judgePageRequest(forced(0, 30), kMoreToCome, 1000), PageVerdict::wait);
  EXPECT_EQ(judgePageRequest(forced(0, 30, 29), kMoreToCome, 1000), PageVerdict::wait);
  EXPECT_EQ(judgePageRequest(forced(0, 30, 30), kMoreToCome, 0), PageVerdict::serve);
  EXPECT_EQ(judgePageRequest(forced(30, 30, 60), kMoreToCome, 0), PageVerdict::serve);
}

TEST(PageRequest, OfARangeThatIsNotForcedIgnoresWhatThePagesCover) {
  CourseRequest request = range(0, 30);
  request.endIndex = 60;
  EXPECT_EQ(judgePageRequest(request, kMoreToCome, 29), PageVerdict::wait);
}

TEST(PageRequest, ForAPageIsToldWhenThatPageOrNoRetryIsLeft) {
  EXPECT_EQ(judgePageRequest(forPage(1), kMoreToCome, 0), PageVerdict::tellPage);
  EXPECT_EQ(judgePageRequest(forPage(2), kMoreToCome, 1000), PageVerdict::wait);
  EXPECT_EQ(judgePageRequest(forPage(2), kArrived, 0), PageVerdict::wait) << "the last page does not matter";
  EXPECT_EQ(judgePageRequest(forPage(2), kGivenUp, 0), PageVerdict::tellPage);
}

TEST(PageRequest, ForAPageBelowOneIsRefused) {
  for (const std::int64_t page :
       {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
    const PageProgress same{.page = page, .lastPage = false, .retriesLeft = 3};
    EXPECT_EQ(judgePageRequest(forPage(page), same, 0), PageVerdict::refuse);
    EXPECT_EQ(judgePageRequest(forPage(page), kGivenUp, 0), PageVerdict::refuse);
    EXPECT_FALSE(nextPage(forPage(page), 0));
  }
}

TEST(PageRequest, ForNeitherARangeNorAPageIsRefused) {
  for (const CourseRequest& request : {CourseRequest{}, onlyStart(), onlyCount()}) {
    EXPECT_EQ(judgePageRequest(request, kMoreToCome, 100), PageVerdict::refuse);
    EXPECT_FALSE(nextPage(request, 100));
  }
}

TEST(PageRequest, ForARangeAndAPageIsServedAsARangeAndLoadsThePage) {
  CourseRequest both = range(0, 30);
  both.page = 7;
  EXPECT_EQ(judgePageRequest(both, kMoreToCome, 30), PageVerdict::serve);
  EXPECT_EQ(judgePageRequest(both, PageProgress{.page = 7, .lastPage = false, .retriesLeft = 2}, 29),
            PageVerdict::wait);
  EXPECT_EQ(nextPage(both, 29)->page, 7);
}

TEST(PageRequest, ServesWhatTheListHoldsOfTheRange) {
  const IndexRange whole = servedRange(range(10, 20), 100);
  EXPECT_EQ(whole.first, 10u);
  EXPECT_EQ(whole.end, 30u);
  EXPECT_EQ(servedRange(range(10, 20), 15).end, 15u);
  const IndexRange nothing = servedRange(range(45, 10), 42);
  EXPECT_LE(nothing.end, nothing.first);
  const IndexRange everything = servedRange(range(5, kMost), 42);
  EXPECT_EQ(everything.first, 5u);
  EXPECT_EQ(everything.end, 42u);
}

TEST(PageRequest, LoadsThePageBehindTheListNext) {
  for (const auto& [held, page] :
       {std::pair<std::uint64_t, std::int64_t>{0, 1}, {29, 1}, {30, 2}, {42, 2}, {60, 3}}) {
    const auto next = nextPage(range(0, 100), held);
    ASSERT_TRUE(next);
    EXPECT_EQ(next->page, page) << held << " held";
    EXPECT_EQ(next->endIndex, static_cast<std::uint64_t>(page) * 30);
  }
}

TEST(PageRequest, OfAForcedRangeLoadsItsOwnPagesOneByOne) {
  CourseRequest request = forced(30, 60);
  for (const std::uint64_t page : {2u, 3u}) {
    const auto next = nextPage(request, 1000);
    ASSERT_TRUE(next);
    EXPECT_EQ(next->page, static_cast<std::int64_t>(page));
    EXPECT_EQ(next->endIndex, page * 30);
    EXPECT_EQ(next->startsPass, page == 2);
    request.endIndex = next->endIndex;
  }
  EXPECT_EQ(judgePageRequest(request, kMoreToCome, 0), PageVerdict::serve);
}

TEST(PageRequest, OfAForcedRangeBeginsWithThePageThatItsStartLiesIn) {
  EXPECT_EQ(nextPage(forced(0, 1), 0)->page, 1);
  EXPECT_EQ(nextPage(forced(29, 1), 0)->page, 1);
  EXPECT_EQ(nextPage(forced(30, 1), 0)->page, 2);
  EXPECT_EQ(nextPage(forced(59, 1), 0)->endIndex, 60u);
  EXPECT_EQ(nextPage(forced(0, 99, 45), 0)->endIndex, 75u) << "an end index is taken as it is";
  EXPECT_EQ(nextPage(forced(0, 99, 45), 0)->page, 2);
}

TEST(PageRequest, StartsAPassWithItsFirstPage) {
  EXPECT_TRUE(nextPage(range(0, 30), 0)->startsPass);
  CourseRequest going = range(0, 60);
  going.endIndex = 30;
  EXPECT_FALSE(nextPage(going, 30)->startsPass);
}

TEST(PageRequest, ForAPageLoadsItAsAPassOfItsOwn) {
  CourseRequest request = forPage(4);
  request.endIndex = 30;
  const auto next = nextPage(request, 1000);
  ASSERT_TRUE(next);
  EXPECT_EQ(next->page, 4);
  EXPECT_TRUE(next->startsPass);
  EXPECT_EQ(next->endIndex, std::nullopt);
}

TEST(PageRequest, HoldsHugeRangesToSixtyFourBits) {
  EXPECT_EQ(range(kMost, kMost).need(), kMost);
  EXPECT_EQ(range(1, kMost).need(), kMost);
  EXPECT_EQ(range(1, kMost - 1).need(), kMost);
  EXPECT_EQ(judgePageRequest(range(1, kMost), kMoreToCome, 1000), PageVerdict::wait);

  const auto next = nextPage(forced(kMost, kMost), 0);
  ASSERT_TRUE(next);
  EXPECT_EQ(next->endIndex, kMost);
  EXPECT_EQ(next->page, static_cast<std::int64_t>(kMost / 30));
  EXPECT_EQ(judgePageRequest(forced(kMost, kMost, next->endIndex), kMoreToCome, 0), PageVerdict::serve);
  EXPECT_EQ(nextPage(forced(0, kMost, kMost - 5), 0)->endIndex, kMost);
}

TEST(LivePageRequest, OfTheStatusLoadedFollowsTheRuleOfRecordedCourses) {
  EXPECT_EQ(judgeLivePageRequest(range(0, 30), 1, kMoreToCome, 1, 30), PageVerdict::serve);
  EXPECT_EQ(judgeLivePageRequest(range(0, 30), 1, kMoreToCome, 1, 29), PageVerdict::wait);
  EXPECT_EQ(judgeLivePageRequest(range(0, 30), 1, kArrived, 1, 29), PageVerdict::serve);
  EXPECT_EQ(judgeLivePageRequest(forced(0, 30), 1, kMoreToCome, 1, 100), PageVerdict::wait);
  EXPECT_EQ(judgeLivePageRequest(forced(0, 30, 30), 1, kMoreToCome, 1, 0), PageVerdict::serve);
}

TEST(LivePageRequest, OfAnotherStatusWaitsWhileRetriesAreLeft) {
  EXPECT_EQ(judgeLivePageRequest(range(0, 30), 2, kMoreToCome, 1, 100), PageVerdict::wait)
      << "although its list holds the range";
  EXPECT_EQ(judgeLivePageRequest(range(0, 30), 2, kArrived, 1, 100), PageVerdict::wait);
  EXPECT_EQ(judgeLivePageRequest(forced(0, 30, 30), 2, kMoreToCome, 1, 100), PageVerdict::wait);
  EXPECT_EQ(judgeLivePageRequest(range(0, 30), 2, kGivenUp, 1, 0), PageVerdict::serve);
  EXPECT_EQ(judgeLivePageRequest(forced(0, 30), 2, kGivenUp, 1, 0), PageVerdict::serve);
}

TEST(LivePageRequest, WithoutARangeIsRefused) {
  for (const CourseRequest& request : {CourseRequest{}, onlyStart(), onlyCount(), forPage(1)}) {
    EXPECT_EQ(judgeLivePageRequest(request, 1, kMoreToCome, 1, 100), PageVerdict::refuse);
    EXPECT_EQ(judgeLivePageRequest(request, 2, kMoreToCome, 1, 100), PageVerdict::refuse);
  }
}

TEST(LivePageRequest, IsForStatusOneToThree) {
  for (const std::uint64_t status : {1u, 2u, 3u}) EXPECT_TRUE(isPageableStatus(status));
  for (const std::uint64_t status : {std::uint64_t{0}, std::uint64_t{4}, std::uint64_t{5}, kMost}) {
    EXPECT_FALSE(isPageableStatus(status));
  }
}

TEST(ChosenPage, OfARangeIsTheOneBehindWhatTheListHoldsByNow) {
  CourseRequest request = range(0, 90);
  EXPECT_EQ(chosenPage(request, 60), std::nullopt) << "none has been chosen";
  request.endIndex = 90;
  EXPECT_EQ(chosenPage(request, 60), 3);
  EXPECT_EQ(chosenPage(request, 59), 2);
  EXPECT_EQ(chosenPage(request, 90), 4);
}

TEST(ChosenPage, OfAForcedRangeOrAPageStaysWhateverTheListHolds) {
  EXPECT_EQ(chosenPage(forced(0, 90, 60), 0), 2);
  EXPECT_EQ(chosenPage(forced(0, 90, 60), 500), 2);
  EXPECT_EQ(chosenPage(forced(0, 90), 500), std::nullopt);
  EXPECT_EQ(chosenPage(forPage(7), 500), 7);
  EXPECT_EQ(chosenPage(onlyStart(), 500), std::nullopt);
}

}  // namespace
}  // namespace orv::page_request_test
