// A look at the requests that has to wait for the catalogue, and gets another one, with real files.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <tests/support/PassingFiles.h>
#include <tests/support/PumpedExecutor.h>
#include <tests/unit/course/SevenSignedIn.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace orv::look_after_change_test {

namespace {

/// The real files. Tells when the first catalogue has been read and is being tidied, and asks the test in when a list is
/// read.
class ToldFiles final : public test::PassingFiles {
 public:
  using test::PassingFiles::PassingFiles;
  void removeLeftovers(const std::string& folder) override {
    if (folder.find("/orv_course/") != std::string::npos && !isTold_.exchange(true)) tidying.set_value();
    test::PassingFiles::removeLeftovers(folder);
  }
  std::optional<std::string> read(const std::string& path, std::error_code& error) override {
    if (path.ends_with("/cloudCourse.plist")) {
      if (const auto work = std::exchange(atList, nullptr)) work();
    }
    return test::PassingFiles::read(path, error);
  }

  std::promise<void> tidying;
  std::function<void()> atList;

 private:
  std::atomic<bool> isTold_ = false;
};

class LookAfterChange : public ::testing::TestWithParam<std::uint64_t> {
 protected:
  LookAfterChange() {
    Console::setSink([](std::string_view) {});
    Platform::install(std::unique_ptr<Platform>(&platform));
    MainQueue::instance().claim();
    manager();
    platform.files().tidying.get_future().wait();
    // From here on no worker reads a list: this thread does, when it needs it.
    manager().setQueue(queue);
  }
  ~LookAfterChange() override { Console::setSink(nullptr); }

  static QXCourseManager& manager() { return QXCourseManager::getInstance(); }
  static bool isLive() { return GetParam() != 0; }
  static void ask() {
    CourseRequest request{.start = 0, .count = 30, .force = false};
    if (isLive()) {
      request.status = GetParam();
      manager().setRequestLiveList({request});
    } else {
      manager().setRequestRecordList({request});
    }
  }
  static std::vector<CourseRequest> waiting() {
    return isLive() ? manager().requestLiveList() : manager().requestRecordList();
  }
  /// As it follows the last page.
  static void look() {
    if (isLive()) {
      manager().checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(1, GetParam(), true, 2);
    } else {
      manager().checkCourseRequestPage_arriveLastPage_retryCount(1, true, 2);
    }
  }

  test::PlatformWithFiles<ToldFiles>& platform =
      *new test::PlatformWithFiles<ToldFiles>;              // Never destroyed, once installed.
  test::PumpedExecutor& queue = *new test::PumpedExecutor;  // Likewise.
};

TEST_P(LookAfterChange, LastPageOfTheOneUserEndsNoRequestOfTheNext) {
  signSevenIn("1");
  platform.files().atList = [] {
    signSevenIn("2");
    ask();
  };
  look();
  EXPECT_EQ(manager().currentClassroomID(), "2");
  ASSERT_EQ(waiting().size(), 1u) << "it was answered with nothing, before a page of its own was asked for";
  EXPECT_EQ(waiting().front().endIndex, 30u) << "now one is";
}

TEST_P(LookAfterChange, LastPageEndsTheRequestsOfItsOwnUser) {
  signSevenIn("1");
  platform.files().atList = [] { ask(); };
  look();
  EXPECT_EQ(waiting().size(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Kinds, LookAfterChange, ::testing::Values(std::uint64_t{0}, std::uint64_t{2}));

}  // namespace

}  // namespace orv::look_after_change_test
