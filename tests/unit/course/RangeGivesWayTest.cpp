// What others do while a long range is being answered, with real threads.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <tests/support/PassingFiles.h>
#include <tests/unit/course/SevenSignedIn.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

namespace orv::range_gives_way_test {

namespace {

constexpr std::int64_t kRange = 600;

/// The real files. The thread that answers the range waits a little at each record that it reads, until what goes on
/// beside it is over: in all some seconds, if that does not come in between.
class PatientFiles final : public test::PassingFiles {
 public:
  using test::PassingFiles::PassingFiles;
  std::optional<std::string> read(const std::string& path, std::error_code& error) override {
    if (answering == std::this_thread::get_id()) waitALittle();
    return test::PassingFiles::read(path, error);
  }
  void endWaiting() {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    over_.notify_all();
  }

  std::atomic<std::thread::id> answering{};
  std::atomic<std::int64_t> reads = 0;
  std::promise<void> begun;

 private:
  void waitALittle() {
    if (++reads == 1) begun.set_value();
    std::unique_lock lock(mutex_);
    over_.wait_for(lock, std::chrono::milliseconds(20), [this] { return isOver_; });
  }

  std::mutex mutex_;
  std::condition_variable over_;
  bool isOver_ = false;
};

class RangeGivesWay : public ::testing::TestWithParam<std::uint64_t> {
 protected:
  RangeGivesWay() {
    Console::setSink([](std::string_view) {});
    Platform::install(std::unique_ptr<Platform>(&platform));
    MainQueue::instance().claim();
    signSevenIn("1");
    for (std::int64_t room = 1; room <= kRange; ++room) keys.push_back(std::to_string(room));
    const std::string folder =
        (isLive() ? manager().liveCourseFolder() : manager().cloudCourseFolder()).value();
    for (const std::string& key : keys) {
      OrvCourseModel course;
      course.roomID = std::stoll(key);
      course.liveType = isLive() ? 1 : 2;
      course.status = GetParam();
      writePropertyListFile(folder + "/" + key + ".plist", course.jsonObject(), Durability::Plain);
    }
    if (isLive()) {
      std::vector<QXCourseManager::Keys> lists(6);
      lists[GetParam()] = keys;
      manager().setLiveCourseList(lists);
    } else {
      manager().setCloudCourseList(keys);
    }
  }
  ~RangeGivesWay() override {
    if (answerer.joinable()) answerer.join();
    Console::setSink(nullptr);
  }

  static bool isLive() { return GetParam() != 0; }
  static QXCourseManager& manager() { return QXCourseManager::getInstance(); }

  /// Has a request for all courses looked at on a thread of its own, and returns when the first record is being read.
  void answerRange(CoursesBlock block) {
    CourseRequest request{.start = 0, .count = kRange, .force = false, .blockHandler = std::move(block)};
    if (isLive()) request.status = GetParam();
    if (isLive()) {
      manager().setRequestLiveList({request});
    } else {
      manager().setRequestRecordList({request});
    }
    request = {};
    answerer = std::thread([this] {
      platform.files().answering = std::this_thread::get_id();
      if (isLive()) {
        manager().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, GetParam(), false, 0);
      } else {
        manager().checkCourseRequestPage_arriveLastPage_retryCount(-1, false, 0);
      }
    });
    platform.files().begun.get_future().wait();
  }
  static QXCourseManager::Course lookUp(std::uint64_t index) {
    return isLive() ? manager().getLiveCourseWithIndex_courseStatus(index, GetParam())
                    : manager().getRecordCourseWithIndex(index);
  }
  static std::size_t inMemory() {
    return isLive() ? manager().liveCourseQueue().size() : manager().courseQueue().size();
  }

  test::PlatformWithFiles<PatientFiles>& platform =
      *new test::PlatformWithFiles<PatientFiles>;  // Never destroyed.
  QXCourseManager::Keys keys;
  std::thread answerer;
};

TEST_P(RangeGivesWay, LookUpComesInBetween) {
  std::promise<std::int64_t> answered;
  answerRange([&](bool success, std::int64_t count) { answered.set_value(success ? count : -1); });
  const auto course = lookUp(kRange - 1);
  const std::int64_t readByThen = platform.files().reads;
  platform.files().endWaiting();
  ASSERT_NE(course, nullptr);
  EXPECT_EQ(course->roomID, kRange);
  EXPECT_LT(readByThen, kRange / 2) << "it has waited until the range was answered";
  EXPECT_EQ(answered.get_future().get(), kRange);
}

TEST_P(RangeGivesWay, CourseThatIsDeletedInBetweenIsNotCounted) {
  std::promise<std::int64_t> answered;
  answerRange([&](bool success, std::int64_t count) { answered.set_value(success ? count : -1); });
  const auto last = std::make_shared<OrvCourseModel>();
  last->roomID = kRange;
  if (isLive()) {
    manager().deleteLiveCourse(last);
  } else {
    manager().deleteCloudCourse(last);
  }
  platform.files().endWaiting();
  EXPECT_EQ(answered.get_future().get(), kRange - 1);
  answerer.join();
  EXPECT_EQ(lookUp(kRange - 2)->roomID, kRange - 1);
}

TEST_P(RangeGivesWay, NoPageIsChosenForARequestThatComesInBetween) {
  std::promise<std::int64_t> answered;
  answerRange([&](bool success, std::int64_t count) { answered.set_value(success ? count : -1); });
  CourseRequest later{.start = 0, .count = 60, .force = true};
  if (isLive()) later.status = GetParam();
  isLive() ? manager().setRequestLiveList({later}) : manager().setRequestRecordList({later});
  platform.files().endWaiting();
  EXPECT_EQ(answered.get_future().get(), kRange);
  answerer.join();
  const auto waiting = isLive() ? manager().requestLiveList() : manager().requestRecordList();
  ASSERT_EQ(waiting.size(), 1u);
  EXPECT_EQ(waiting.front().endIndex, std::nullopt) << "a look of its own follows and would skip a page";
}

TEST_P(RangeGivesWay, ChangeOfTheUserEndsItWithoutAWord) {
  const auto host = std::make_shared<std::atomic<int>>(0);
  answerRange([host](bool, std::int64_t) { ++*host; });
  signSevenIn("2");
  const std::int64_t readByThen = platform.files().reads;
  platform.files().endWaiting();
  answerer.join();
  EXPECT_LT(readByThen, kRange / 2) << "the change has waited until the range was answered";
  EXPECT_LT(platform.files().reads, kRange) << "it was read to its end";
  EXPECT_EQ(host.use_count(), 1) << "the callback is let go";
  EXPECT_EQ(*host, 0);
  EXPECT_EQ(inMemory(), 0u) << "nothing of the one user's is in the other one's memory";
}

INSTANTIATE_TEST_SUITE_P(Kinds, RangeGivesWay, ::testing::Values(std::uint64_t{0}, std::uint64_t{2}));

}  // namespace

}  // namespace orv::range_gives_way_test
