#include "tests/unit/course/PagingFixture.h"

namespace orv {

namespace {

class LivePaging : public PagingFixture {
 protected:
  static Keys list(std::size_t status) { return courses().liveCourseList().at(status); }
  static bool isLiveInMemory(std::int64_t room) {
    return courses().liveCourseDict().contains(std::to_string(room));
  }
  static void changeClassroom(const std::string& classroom) {
    QXUserInfoMgr::getInstance().userInfo()->classroom = classroom;
  }
  Strings courseLines() {
    Strings lines;
    for (const auto& line : logLines()) {
      if (line.find("拉取课程") != std::string::npos) lines.push_back(line);
    }
    return lines;
  }
  static const json::object kRefused;
};

const json::object LivePaging::kRefused{{"ret", 5}, {"err", "no"}};

// Asking ---------------------------------------------------------------------------------------------------------

TEST_F(LivePaging, AnswersARangeOfAStatus) {
  listLive(2, 1, 45);
  signIn();
  EXPECT_EQ(getLiveCourses(0, 30, 2), (Answer{true, 30}));
  EXPECT_EQ(pagesAsked, Strings{"coming 1 of status 2"});
  EXPECT_EQ(getLiveCourses(20, 50, 2), (Answer{true, 25}));
  EXPECT_EQ(pagesAsked, (Strings{"coming 1 of status 2", "coming 2 of status 2"}));
  EXPECT_EQ(list(2), roomKeys(1, 45));
  EXPECT_EQ(getLiveCourses(0, 30, 2), (Answer{true, 30}));
  EXPECT_EQ(pagesAsked.size(), 2u);
}

TEST_F(LivePaging, OnlyStatusesOneToThreeCanBeAskedFor) {
  signIn();
  for (const std::uint64_t status : {0, 4, 5, 6, 99}) {
    answers.clear();
    askLive("refused", 0, 30, status);
    EXPECT_EQ(answers, Strings{"refused false -1 on main"}) << status;
  }
  settle();
  EXPECT_EQ(pagesAsked, Strings{});
  EXPECT_TRUE(courses().requestLiveList().empty());
  for (const std::uint64_t status : {1, 2, 3}) {
    EXPECT_EQ(getLiveCourses(0, 30, status), (Answer{true, 0})) << status;
  }
}

TEST_F(LivePaging, RefusesWithoutALinkAUserOrAClassroom) {
  askLive("closed", 0, 30, 1);
  bringUp();
  askLive("nobody", 0, 30, 1);
  auto user = makeUser();
  user->classroom = "0";
  QXUserInfoMgr::getInstance().setUserInfo(user);
  askLive("no classroom", 0, 30, 1);
  courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(0, 1, 1, false, nullptr);
  settle();
  EXPECT_EQ(answers,
            (Strings{"closed false -1 on main", "nobody false -1 on main", "no classroom false -1 on main"}));
  EXPECT_EQ(pagesAsked, Strings{});
}

TEST_F(LivePaging, AsksTheServerForTheUsersCourses) {
  signIn("100001", "5001");
  getLiveCourses(0, 30, 1);
  auto values = server.lastRequest("Course.Get.Coming")->at("v").as_object();
  EXPECT_EQ(values.at("start"), 1);
  EXPECT_EQ(values.at("limit"), 30);
  EXPECT_EQ(values.at("classroomID"), 5001);
  EXPECT_EQ(values.at("uID"), 100001);
  EXPECT_EQ(values.at("status"), 1);
  EXPECT_EQ(values.at("order"), "asc");
  EXPECT_EQ(values.at("test"), 0);
  courses().setContainTest(true);
  getLiveCourses(0, 30, 3);
  values = server.lastRequest("Course.Get.Coming")->at("v").as_object();
  EXPECT_EQ(values.at("status"), 3);
  EXPECT_FALSE(values.contains("order"));
  EXPECT_EQ(values.at("test"), 3);
}

TEST_F(LivePaging, ForcedRangeLoadsItsPagesAnew) {
  listLive(3, 1, 80);
  signIn();
  getLiveCourses(0, 70, 3);
  pagesAsked.clear();
  EXPECT_EQ(getLiveCourses(31, 10, 3, true), (Answer{true, 10}));
  EXPECT_EQ(pagesAsked, Strings{"coming 2 of status 3"});
}

TEST_F(LivePaging, CallbacksComeOnAWorkerOnceEach) {
  listLive(1, 1, 40);
  signIn();
  askLive("a", 0, 30, 1);
  askLive("b", 0, 40, 1);
  courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(0, 1, 1, false, nullptr);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"a true 30", "b true 40"}));
  EXPECT_TRUE(courses().requestLiveList().empty());
}

TEST_F(LivePaging, RequestThatWaitsSaysWhatItAsksFor) {
  signIn();
  holdPages();
  askLive("a", 3, 4, 2, true);
  settle();
  ASSERT_EQ(courses().requestLiveList().size(), 1u);
  EXPECT_EQ(courses().requestLiveList().front().values(), (json::object{{"ReqCourseStartIndex", 3},
                                                                        {"ReqCourseCount", 4},
                                                                        {"ReqCourseForce", true},
                                                                        {"ReqCourseRequestEndIndex", 30},
                                                                        {"ReqCourseStatus", 2}}));
}

TEST_F(LivePaging, RecordedAndLivePagesAreOnTheWireTogether) {
  listLive(1, 1, 3);
  listRooms(100, 98);
  signIn();
  holdPages();
  ask("recorded", 0, 3);
  askLive("live", 0, 3, 1);
  askLive("more", 0, 3, 2);
  settle();
  EXPECT_EQ(held.size(), 2u);
  instead = nullptr;
  answerHeld(pageAsked(held.front()));
  answerHeld(pageAsked(held.front()));
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"live true 3", "more true 0", "recorded true 3"}));
}

// Requests for several statuses ----------------------------------------------------------------------------------

TEST_F(LivePaging, RequestsForOtherStatusesWaitForTheirTurn) {
  listLive(1, 1, 40);
  listLive(2, 101, 103);
  signIn();
  askLive("one", 0, 40, 1);
  askLive("two", 0, 30, 2);
  settle();
  EXPECT_EQ(answers, (Strings{"one true 40", "two true 3"}));
  EXPECT_EQ(pagesAsked, (Strings{"coming 1 of status 1", "coming 2 of status 1", "coming 1 of status 2"}));
}

TEST_F(LivePaging, RequestForAnotherStatusWaitsEvenWhenItsListHoldsTheRange) {
  listLive(2, 101, 103);
  signIn();
  getLiveCourses(0, 3, 2);
  holdPages();
  askLive("one", 0, 30, 1);
  settle();
  platform.holdGlobalQueue(true);
  askLive("two", 0, 3, 2);
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, false, 3);
  EXPECT_EQ(courses().requestLiveList().size(), 2u);
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, true, 1);
  EXPECT_EQ(courses().requestLiveList().size(), 1u);  // The last page of status 1.
  EXPECT_EQ(courses().requestLiveList().front().status, 2u);
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_EQ(answers, (Strings{"one true 0", "two true 3"}));
}

TEST_F(LivePaging, WithNoAttemptLeftRequestsForOtherStatusesAreServedFromTheirOwnLists) {
  listLive(2, 101, 103);
  signIn();
  getLiveCourses(0, 3, 2);
  answerPagesWith({kRefused, kRefused, kRefused});
  platform.holdMainQueue(true);
  askLive("one", 0, 30, 1);
  settle();
  askLive("two", 1, 30, 2, true);
  settle();
  platform.holdMainQueue(false);
  settle();
  std::ranges::sort(answers);
  EXPECT_EQ(answers, (Strings{"one true 0", "two true 2"}));
  EXPECT_EQ(pagesAsked, (Strings{"coming 1 of status 2", "coming 1 of status 1", "coming 1 of status 1",
                                 "coming 1 of status 1"}));
}

TEST_F(LivePaging, LookAlwaysAnswersTrue) {
  signIn();
  EXPECT_TRUE(courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, false, 3));
}

TEST_F(LivePaging, RequestOfAStatusWithoutPagesIsNotLoaded) {
  signIn();
  CourseRequest request;
  request.start = 0;
  request.count = 3;
  request.status = 5;
  request.blockHandler = note("five");
  courses().setRequestLiveList({request});
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 5, false, 3);
  settle();
  EXPECT_EQ(pagesAsked, Strings{});
  EXPECT_EQ(courses().requestLiveList().size(), 1u);
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, false, 0);
  settle();
  EXPECT_EQ(answers, Strings{"five true 0"});
}

TEST_F(LivePaging, RequestWithoutARangeIsRefusedAndLeavesTheListOfTheOtherRequests) {
  signIn();
  holdPages();
  askLive("range", 0, 3, 1);
  settle();
  CourseRequest odd;
  odd.status = 1;
  odd.blockHandler = note("odd");
  CourseRequest different = odd;
  different.status = 2;
  auto requests = courses().requestLiveList();
  requests.push_back(odd);
  courses().setRequestLiveList(requests);
  courses().setRequestRecordList({different, odd, odd});
  courses().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, 1, false, 3);
  EXPECT_EQ(answers, Strings{});
  settle();
  EXPECT_EQ(answers, Strings{"odd false -1"});
  // It stays where it was, and leaves the other list.
  EXPECT_EQ(courses().requestLiveList().size(), 2u);
  ASSERT_EQ(courses().requestRecordList().size(), 1u);
  EXPECT_EQ(courses().requestRecordList().front().status, 2u);
}

TEST_F(LivePaging, RequestWithoutARangeGoesWhenItIsTheOldest) {
  listLive(1, 1, 3);
  signIn();
  CourseRequest odd;
  odd.page = 1;  // Live courses know no requests for a page.
  odd.blockHandler = note("odd");
  courses().setRequestLiveList({odd});
  askLive("range", 0, 3, 1);
  settle();
  EXPECT_EQ(answers, (Strings{"odd false -1", "range true 3"}));
  EXPECT_TRUE(courses().requestLiveList().empty());
  EXPECT_EQ(pagesAsked, Strings{"coming 1 of status 1"});
}

// Attempts -------------------------------------------------------------------------------------------------------

TEST_F(LivePaging, TimeOutsAreTriedThreeTimes) {
  signIn();
  holdPages();
  askLive("a", 0, 30, 1);
  runFor(29.5);
  EXPECT_EQ(held.size(), 3u);
  EXPECT_EQ(answers, Strings{});
  runFor(1);
  EXPECT_EQ(answers, Strings{"a true 0"});
  EXPECT_EQ(courseLines(), Strings{});
  EXPECT_TRUE(courses().reqLiveSemaphore()->tryWait());
}

TEST_F(LivePaging, RefusalsAreTriedThreeTimesWithoutDelay) {
  signIn();
  answerPagesWith({kRefused, kRefused, kRefused});
  const double begin = now();
  EXPECT_EQ(getLiveCourses(0, 30, 1), (Answer{true, 0}));
  EXPECT_EQ(now(), begin);
  EXPECT_EQ(pagesAsked.size(), 3u);
}

TEST_F(LivePaging, RangeGoesOnAfterTheSecondAttempt) {
  listLive(1, 1, 60);
  signIn();
  answerPagesWith({kRefused});
  EXPECT_EQ(getLiveCourses(0, 60, 1), (Answer{true, 60}));
}

TEST_F(LivePaging, ReplyWithoutValuesCountsAsAFailure) {
  signIn();
  holdPages();
  askLive("a", 0, 30, 1);
  settle();
  for (int attempt = 0; attempt < 3; ++attempt) {
    ASSERT_EQ(held.size(), 1u);
    const json::object request = held.front();
    held.clear();
    server.send(server.latest(),
                json::serialize(json::object{{"C", request.at("c")}, {"s", request.at("s")}}));
    settle();
  }
  EXPECT_EQ(answers, Strings{"a true 0"});
}

TEST_F(LivePaging, DataOfTheWrongKindIsAnEmptyPage) {
  listLive(1, 1, 3);
  signIn();
  getLiveCourses(0, 30, 1);
  for (const json::object& odd :
       {json::object{{"ret", 0}}, json::object{{"ret", 0}, {"data", json::object{{"roomID", 1}}}},
        json::object{{"ret", 0}, {"data", "text"}}, json::object{{"ret", 0}, {"data", nullptr}}}) {
    pagesAsked.clear();
    answerPagesWith({odd});
    EXPECT_EQ(getLiveCourses(0, 30, 1, true), (Answer{true, 3})) << json::serialize(odd);
    EXPECT_EQ(pagesAsked.size(), 1u) << json::serialize(odd);
  }
}

TEST_F(LivePaging, LoadWithoutALinkDoesNothing) {
  QXUserInfoMgr::getInstance().setUserInfo(makeUser());
  courses().setLastValidLiveCourse("7");
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 1, 3);
  EXPECT_EQ(courses().lastValidLiveCourse(), "7");
  EXPECT_TRUE(courses().reqLiveSemaphore()->tryWait());
}

TEST_F(LivePaging, OnePageIsOnTheWireAtATime) {
  signIn();
  holdPages();
  askLive("a", 0, 60, 1);
  askLive("b", 0, 30, 2, true);
  settle();
  courses().loadLiveCourseWithPage_courseStatus_retryCount(3, 2, 3);
  settle();
  EXPECT_EQ(held.size(), 1u);
}

// The log --------------------------------------------------------------------------------------------------------

TEST_F(LivePaging, LogsWhatItLoads) {
  live[2] = {courseItem(7, 1, 2), courseItem(5, 3, 2)};
  live[2][1].as_object().erase("title");
  signIn("100001", "5001");
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(courseLines(), (Strings{"拉取课程(状态 2)列表成功: 5001 五年级一班", "拉取课程(状态 2)个数: 2",
                                    "新拉取课程(state 2): 课程 7, (null), "}));
}

TEST_F(LivePaging, LogsAClassroomWithoutAName) {
  signIn("100001", "5001");
  QXUserInfoMgr::getInstance().userInfo()->classroominfo = nullptr;
  getLiveCourses(0, 30, 1);
  EXPECT_EQ(courseLines(), (Strings{"拉取课程(状态 1)列表成功: 5001 (null)", "拉取课程(状态 1)个数: 0",
                                    "新拉取课程(state 1): "}));
}

TEST_F(LivePaging, LogsARefusalWithTheWholeReply) {
  signIn("100001", "5001");
  answerPagesWith({json::object{{"ret", 5}}});
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 3, 1);
  settle();
  const auto request = *server.lastRequest("Course.Get.Coming");
  const json::object reply{{"C", "Course.Get.Coming"}, {"s", request.at("s")}, {"v", {{"ret", 5}}}};
  const std::string text = "拉取课程(状态 3)列表失败: 5001 五年级一班 " + describe(reply);
  std::string lines;
  for (const auto& line : logLines()) lines += line + "\n";
  EXPECT_NE(lines.find(text + "\n"), std::string::npos) << lines;
}

// The classroom changes ------------------------------------------------------------------------------------------

TEST_F(LivePaging, ChangeOfTheClassroomWhileAPageIsUnderWayEndsTheLoadingForGood) {
  listLive(1, 1, 3);
  signIn("100001", "5001");
  holdPages();
  askLive("a", 0, 3, 1);
  settle();
  changeClassroom("5002");  // Told to nobody, so that the request stays.
  answerHeld(pageAsked(held.front()));
  EXPECT_EQ(courses().getLiveCourseCountWithStatus(1), 0u);
  EXPECT_FALSE(courses().reqLiveSemaphore()->tryWait());
  EXPECT_EQ(courseLines(), Strings{"拉取课程(状态 1)列表成功: 5001 五年级一班"});
  changeClassroom("5001");
  askLive("b", 0, 3, 1);
  runFor(300);
  EXPECT_EQ(pagesAsked, Strings{"coming 1 of status 1"});
  EXPECT_EQ(answers, Strings{});
  EXPECT_EQ(courses().requestLiveList().size(), 2u);
  ask("recorded", 0, 1);  // Recorded courses go on.
  settle();
  EXPECT_EQ(pagesAsked.back(), "items 1");
}

TEST_F(LivePaging, ChangeOfTheClassroomWithTheLastAttemptAnswersThoseThatWait) {
  listLive(1, 1, 3);
  signIn("100001", "5001");
  answerPagesWith({kRefused, kRefused, std::nullopt});
  askLive("a", 0, 3, 1);
  settle();
  const auto request = *server.lastRequest("Course.Get.Coming");
  changeClassroom("5002");
  server.reply(server.latest(), request, kRefused);
  settle();
  EXPECT_EQ(answers, Strings{"a true 0"});
  EXPECT_FALSE(courses().reqLiveSemaphore()->tryWait());
}

TEST_F(LivePaging, LogOutWhileAPageIsUnderWayCountsAsAChange) {
  signIn("100001", "5001");
  holdPages();
  askLive("a", 0, 3, 1);
  settle();
  const auto request = held.front();
  platform.network().setDefaultPlan(testing::ConnectPlan::neverAnswer());
  server.reply(server.latest(), request, pageOf({}));
  platform.holdMainQueue(true);
  settle();
  // The reply is on its way to the main thread while the user goes.
  QXUserInfoMgr::getInstance().userInfo()->classroom = std::nullopt;
  platform.holdMainQueue(false);
  settle();
  EXPECT_FALSE(courses().reqLiveSemaphore()->tryWait());
}

TEST_F(LivePaging, TimeOutAfterAChangeOfTheClassroomFreesThePage) {
  listLive(1, 1, 3);
  signIn("100001", "5001");
  answerPagesWith({std::nullopt});
  askLive("a", 0, 3, 1);
  settle();
  changeClassroom("5002");
  runFor(11);
  EXPECT_EQ(answers, Strings{"a true 3"});
  EXPECT_EQ(server.lastRequest("Course.Get.Coming")->at("v").at("classroomID"), 5002);
}

// What a page does to lists, memory and files --------------------------------------------------------------------

TEST_F(LivePaging, KeepsTheOrderOfTheServer) {
  live[2] = {courseItem(5, 1, 2), courseItem(9, 1, 2), courseItem(1, 1, 2)};
  signIn();
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(list(2), (Keys{"5", "9", "1"}));
  live[2] = {courseItem(1, 1, 2), courseItem(5, 1, 2), courseItem(7, 1, 2), courseItem(9, 1, 2)};
  getLiveCourses(0, 30, 2, true);
  EXPECT_EQ(list(2), (Keys{"1", "5", "7", "9"}));
  EXPECT_EQ(liveListFile().at(2), asArray({"1", "5", "7", "9"}));
}

TEST_F(LivePaging, EveryItemIsTakenWhateverItsStatus) {
  live[2] = {courseItem(5, 1, 4), courseItem(9, 2, 5), courseItem(1, 1, 1)};
  signIn();
  EXPECT_EQ(getLiveCourses(0, 30, 2), (Answer{true, 3}));
  EXPECT_EQ(list(2), (Keys{"5", "9", "1"}));
}

TEST_F(LivePaging, OnlyServedCoursesComeIntoMemory) {
  listLive(2, 1, 30);
  signIn();
  EXPECT_EQ(getLiveCourses(0, 10, 2), (Answer{true, 10}));
  EXPECT_EQ(courses().liveCourseDict().size(), 10u);
  EXPECT_EQ(courses().liveCourseQueue(), roomKeys(10, 1));
  EXPECT_TRUE(hasLiveFile(30));
  EXPECT_EQ(liveFile(30)->at("title"), "课程 30");
}

TEST_F(LivePaging, CourseThatChangedItsStatusLeavesItsOldList) {
  live[1] = {courseItem(7, 1, 1), courseItem(8, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  const auto course = courses().getLiveCourseWithRoomID(7);
  live[2] = {courseItem(7, 1, 2)};
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(list(1), Keys{"8"});
  EXPECT_EQ(list(2), Keys{"7"});
  EXPECT_EQ(courses().getLiveCourseWithRoomID(7), course);
  EXPECT_EQ(course->status, 2u);
  EXPECT_EQ(liveListFile().at(1), asArray({"8"}));
}

TEST_F(LivePaging, CourseThatIsOnlyOnTheDiskStaysInItsOldList) {
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  courses().setLiveCourseDict({});
  live[2] = {courseItem(7, 1, 2)};
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(list(1), Keys{"7"});
  EXPECT_EQ(list(2), Keys{"7"});
}

TEST_F(LivePaging, ListedCourseIsUpdatedFromItsFile) {
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  courses().getLiveCourseWithRoomID(7)->intro = "只在这里";
  getLiveCourses(0, 30, 1, true);
  courses().setLiveCourseDict({});
  live[1][0].as_object()["title"] = "新的";
  getLiveCourses(0, 30, 1, true);
  EXPECT_EQ(liveFile(7)->at("title"), "新的");
  EXPECT_EQ(liveFile(7)->at("intro"), "只在这里");
}

TEST_F(LivePaging, ListedCourseWithoutAFileGetsANewRecord) {
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  courses().setLiveCourseDict({});
  std::error_code error;
  platform.files().remove(*courses().liveCourseFolder() + "/7.plist", error);
  EXPECT_EQ(getLiveCourses(0, 30, 1, true), (Answer{true, 1}));
  EXPECT_EQ(liveFile(7)->at("title"), "课程 7");
}

TEST_F(LivePaging, NewCourseOfAStatusForgetsWhatItsFileHeld) {
  live[1] = {courseItem(7, 1, 1)};
  signIn();
  getLiveCourses(0, 30, 1);
  courses().getLiveCourseWithRoomID(7)->intro = "只在这里";
  getLiveCourses(0, 30, 1, true);
  courses().setLiveCourseDict({});
  live[2] = {courseItem(7, 1, 2)};
  getLiveCourses(0, 30, 2);
  EXPECT_FALSE(liveFile(7)->contains("intro"));
}

TEST_F(LivePaging, ShortPageCutsOffWhatLiesBehindIt) {
  listLive(2, 1, 10);
  signIn();
  getLiveCourses(0, 10, 2);
  unlist(live[2], 3);
  unlist(live[2], 10);
  getLiveCourses(0, 1, 2, true);
  EXPECT_EQ(list(2), (Keys{"1", "2", "4", "5", "6", "7", "8", "9"}));
  for (const std::int64_t room : {3, 10}) {
    EXPECT_FALSE(isLiveInMemory(room)) << room;
    EXPECT_FALSE(hasLiveFile(room)) << room;
    EXPECT_EQ(std::ranges::count(courses().liveCourseQueue(), std::to_string(room)), 0) << room;
  }
}

TEST_F(LivePaging, VanishedCourseLeavesListMemoryAndDiskUnderItsOwnRoom) {
  listLive(2, 1, 4);
  signIn();
  getLiveCourses(0, 4, 2);
  courses().getLiveCourseWithRoomID(1)->roomID = 77;
  courses().setLiveCourseDict({{"1", courses().getLiveCourseWithRoomID(1)},
                               {"77", courses().getLiveCourseWithRoomID(2)},
                               {"2", courses().getLiveCourseWithRoomID(2)}});
  // What is no course has a place all the same, and what stands in it is gone.
  live[2] = {nullptr, courseItem(2, 1, 2), courseItem(3, 1, 2), courseItem(4, 1, 2)};
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 2, 3);
  settle();
  EXPECT_EQ(list(2), (Keys{"2", "3", "4"}));
  EXPECT_TRUE(isLiveInMemory(1));
  EXPECT_TRUE(hasLiveFile(1));
  EXPECT_FALSE(isLiveInMemory(77));
}

TEST_F(LivePaging, FileOfAVanishedCourseThatIsNotInMemoryStays) {
  listLive(2, 1, 4);
  signIn();
  getLiveCourses(0, 4, 2);
  auto records = courses().liveCourseDict();
  records.erase("1");
  courses().setLiveCourseDict(records);
  live[2] = {nullptr, courseItem(2, 1, 2), courseItem(3, 1, 2), courseItem(4, 1, 2)};
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 2, 3);
  settle();
  EXPECT_EQ(list(2), (Keys{"2", "3", "4"}));
  EXPECT_TRUE(hasLiveFile(1));
}

TEST_F(LivePaging, VanishedCourseInMemoryLosesItsFile) {
  listLive(2, 1, 4);
  signIn();
  getLiveCourses(0, 4, 2);
  live[2] = {nullptr, courseItem(2, 1, 2), courseItem(3, 1, 2), courseItem(4, 1, 2)};
  courses().loadLiveCourseWithPage_courseStatus_retryCount(1, 2, 3);
  settle();
  EXPECT_FALSE(hasLiveFile(1));
  EXPECT_FALSE(isLiveInMemory(1));
  EXPECT_EQ(std::ranges::count(courses().liveCourseQueue(), "1"), 1);
}

TEST_F(LivePaging, EmptyPageCutsNothingAndLeavesTheListFile) {
  listLive(2, 1, 10);
  signIn();
  getLiveCourses(0, 30, 2);
  writePropertyListFile(*courses().liveCourseListFile(), json::array{"as it was"}, Durability::Plain);
  live[2].clear();
  EXPECT_EQ(getLiveCourses(0, 30, 2, true), (Answer{true, 10}));
  EXPECT_EQ(liveListFile(), json::array{"as it was"});
  EXPECT_TRUE(hasLiveFile(1));
}

TEST_F(LivePaging, CursorGoesFromPageToPage) {
  listLive(2, 1, 50);
  signIn();
  getLiveCourses(0, 30, 2);
  EXPECT_EQ(courses().lastValidLiveCourse(), "30");
  getLiveCourses(0, 50, 2, true);
  EXPECT_EQ(courses().lastValidLiveCourse(), "50");
  EXPECT_EQ(list(2), roomKeys(1, 50));
}

TEST_F(LivePaging, PageBehindACursorFollowsIt) {
  listLive(2, 1, 50);
  signIn();
  getLiveCourses(0, 50, 2);
  live[2].clear();
  listLive(2, 1, 30);
  live[2].push_back(courseItem(99, 1, 2));
  courses().setLastValidLiveCourse("5");
  courses().loadLiveCourseWithPage_courseStatus_retryCount(2, 2, 3);
  settle();
  EXPECT_EQ(list(2), (Keys{"1", "2", "3", "4", "5", "99"}));
}

TEST_F(LivePaging, RequestWithoutACursorBeginsAtThePlaceOfItsPage) {
  listLive(2, 1, 50);
  signIn();
  getLiveCourses(0, 50, 2);
  live[2][30] = courseItem(99, 1, 2);
  getLiveCourses(30, 20, 2, true);
  Keys expected = roomKeys(1, 30);
  expected.push_back("99");
  for (const auto& key : roomKeys(32, 50)) expected.push_back(key);
  EXPECT_EQ(list(2), expected);
}

TEST_F(LivePaging, KeepsSixtyRecordsInMemory) {
  listLive(3, 1, 100);
  signIn();
  EXPECT_EQ(getLiveCourses(0, 100, 3), (Answer{true, 100}));
  EXPECT_EQ(courses().liveCourseDict().size(), 60u);
  EXPECT_EQ(courses().liveCourseQueue().size(), 60u);
  EXPECT_TRUE(isLiveInMemory(100));
  EXPECT_FALSE(isLiveInMemory(1));
  EXPECT_EQ(courses().getLiveCourseWithIndex_courseStatus(0, 3)->title, "课程 1");
}

}  // namespace

}  // namespace orv
