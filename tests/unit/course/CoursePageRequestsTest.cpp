// Requests for the loading of one page of recorded courses.

#include "cli/Host.h"
#include "tests/unit/course/PagingFixture.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

namespace orv::course_page_requests_test {

namespace {

class PageRequests : public PagingFixture {
 protected:
  CourseRequest forPage(std::int64_t page, const std::string& name) {
    CourseRequest request;
    request.page = page;
    request.blockHandler = [this, name](bool success, std::int64_t count) {
      const auto semaphore = courses().dataSemaphore();
      const bool locked = !semaphore->tryWait();
      if (!locked) semaphore->signal();
      note(name + (locked ? " locked" : " free"))(success, count);
    };
    return request;
  }
  CourseRequest forRange(std::uint64_t start, std::uint64_t count, const std::string& name) {
    CourseRequest request;
    request.start = start;
    request.count = count;
    request.blockHandler = note(name);
    return request;
  }
  static void look(std::int64_t page = -1, bool last = false, std::int64_t retries = 3) {
    courses().checkCourseRequestPage_arriveLastPage_retryCount(page, last, retries);
  }
};

TEST_F(PageRequests, AreToldThatTheirPageIsLoadedWhileTheCatalogueIsLocked) {
  listRooms(100, 1);
  signIn();
  courses().setRequestRecordList({forPage(2, "two"), forPage(3, "three")});
  courses().setLastValidCourse("50");
  look();
  EXPECT_EQ(courses().lastValidCourse(), std::nullopt);
  settle();
  EXPECT_EQ(answers, (Strings{"two locked true 0", "three locked true 0"}));
  EXPECT_EQ(pagesAsked, (Strings{"items 2", "items 3"}));
  EXPECT_TRUE(courses().requestRecordList().empty());
}

TEST_F(PageRequests, AreToldWithinTheLookItself) {
  signIn();
  courses().setRequestRecordList({forPage(2, "two"), forPage(3, "three")});
  holdPages();
  look(3);
  EXPECT_EQ(answers, Strings{"three locked true 0 on main"});
  look(7, true, 1);  // The last page does not count for them.
  EXPECT_EQ(answers.size(), 1u);
  look(7, false, 0);
  EXPECT_EQ(answers.back(), "two locked true 0 on main");
  EXPECT_TRUE(courses().requestRecordList().empty());
}

TEST_F(PageRequests, WhatACallbackHoldsGoesWhenNothingIsLocked) {
  struct Host {
    ~Host() { wasFree = courses().dataSemaphore()->tryWait(); }
    bool& wasFree;
  };
  signIn();
  bool wasFree = false;
  CourseRequest request;
  request.page = 1;
  request.blockHandler = [host = std::make_shared<Host>(wasFree)](bool, std::int64_t) {};
  courses().setRequestRecordList({std::move(request)});
  look(1);
  EXPECT_TRUE(wasFree);
}

TEST_F(PageRequests, WorkWithoutACallback) {
  signIn();
  CourseRequest silent;
  silent.page = 1;
  courses().setRequestRecordList({silent});
  look();
  settle();
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
  EXPECT_TRUE(courses().requestRecordList().empty());
}

TEST_F(PageRequests, ForAPageBelowTheFirstAreRefused) {
  signIn();
  courses().setRequestRecordList({forPage(0, "zero"), forPage(-1, "minus"), forPage(1, "one")});
  look();
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"minus free false -1", "one locked true 0", "zero free false -1"}));
  EXPECT_EQ(pagesAsked, Strings{"items 1"});
}

TEST_F(PageRequests, WaitBehindAnOlderRange) {
  listRooms(100, 1);
  signIn();
  courses().setRequestRecordList({forRange(0, 60, "range"), forPage(1, "one"), forPage(3, "three")});
  look();
  settle();
  EXPECT_EQ(answers.front(), "one locked true 0");
  EXPECT_EQ(pagesAsked, (Strings{"items 1", "items 2", "items 3"}));
  EXPECT_EQ(answers.size(), 3u);
}

TEST_F(PageRequests, RequestForNeitherIsRefusedAndRemoved) {
  listRooms(100, 99);
  signIn();
  CourseRequest nothing, onlyStart, silent;
  nothing.blockHandler = note("nothing");
  onlyStart.start = 1;
  onlyStart.blockHandler = note("start");
  courses().setRequestRecordList({nothing, silent, forRange(0, 1, "range"), onlyStart});
  look();
  EXPECT_EQ(answers, Strings{});
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"nothing false -1", "range true 1", "start false -1"}));
  EXPECT_TRUE(courses().requestRecordList().empty());
}

TEST_F(PageRequests, RangeThatNamesAPageIsAnsweredAsARangeAndLoadsThePage) {
  listRooms(100, 1);
  signIn();
  CourseRequest both = forRange(0, 20, "both");
  both.page = 2;
  courses().setRequestRecordList({both});
  look();
  settle();
  EXPECT_EQ(pagesAsked, Strings{"items 2"});
  EXPECT_EQ(answers, Strings{"both true 20"});
}

}  // namespace

}  // namespace orv::course_page_requests_test
