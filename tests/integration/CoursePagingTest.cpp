// Ten thousand recorded courses on real sockets and real files, asked for by two threads at once.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace orv::course_paging_test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kCourses = 10'000;
constexpr std::uint64_t kRange = 300;
constexpr auto kPatience = 240s;

class CoursePaging : public test::LiveLinkTest {
 protected:
  CoursePaging() {
    server.start();
    bringUp(server.url());
    const json::object reply =
        ask("User.Post.Login",
            {{"phone", "13800000001"}, {"dev", 1}, {"pwd", "c756662595bb0948d9bbe352fef1c53a"}});
    user = makeRecord<OrvUserInfoModel>(reply.at("v").at("data").as_object());
    QXUserInfoMgr::getInstance().setUserInfo(user);
    for (const std::string& key : keysOfServer()) server.removeCourse(std::stoll(key));
    rooms = server.addCourses(kCourses);
  }

  static QXCourseManager& courses() { return QXCourseManager::getInstance(); }

  /// All courses that the server lists, in its order.
  std::vector<std::string> keysOfServer() {
    constexpr std::size_t kMost = 500;
    std::vector<std::string> keys;
    for (std::size_t page = 1; keys.size() == (page - 1) * kMost; ++page) {
      const json::object reply = ask("Course.Get.Items", {{"classroomID", *user->classroom.get()},
                                                          {"start", page},
                                                          {"liveType", 2},
                                                          {"limit", kMost},
                                                          {"draft", false}});
      for (const auto& item : reply.at("v").at("data").as_array()) {
        keys.push_back(std::to_string(item.at("roomID").to_number<std::int64_t>()));
      }
    }
    return keys;
  }
  std::size_t pagesAsked() const {
    std::size_t pages = 0;
    for (const auto& frame : server.receivedFrames()) {
      pages += frame.text.find("Course.Get.Items") != std::string::npos ? 1 : 0;
    }
    return pages;
  }

  struct Answer {
    bool success = false;
    std::int64_t count = 0;
  };
  /// Asks for a range and waits for the answer; on any thread but the main one.
  static Answer askAndWait(std::uint64_t start, std::uint64_t count, bool force = false) {
    struct Waiting {
      std::mutex mutex;
      std::condition_variable answered;
      std::optional<Answer> answer;
    };
    const auto waiting = std::make_shared<Waiting>();
    courses().getCoursesWithStartIndex_count_force_coursesBlock(start, count, force,
                                                                [waiting](bool success, std::int64_t found) {
                                                                  const std::lock_guard lock(waiting->mutex);
                                                                  waiting->answer = Answer{success, found};
                                                                  waiting->answered.notify_all();
                                                                });
    std::unique_lock lock(waiting->mutex);
    waiting->answered.wait_for(lock, kPatience, [&] { return waiting->answer.has_value(); });
    return waiting->answer.value_or(Answer{});
  }
  /// Asks for the whole list, range by range, and looks at courses of each range.
  void readEverything() {
    for (std::uint64_t start = 0; start < kCourses; start += kRange) {
      const std::uint64_t count = std::min<std::uint64_t>(kRange, kCourses - start);
      const Answer answer = askAndWait(start, count);
      if (!answer.success || answer.count != static_cast<std::int64_t>(count)) ++wrongAnswers;
      for (const std::uint64_t index : {start, start + count / 2, start + count - 1}) {
        const auto course = courses().getRecordCourseWithIndex(index);
        if (course == nullptr || course->roomID != rooms[kCourses - 1 - index]) ++wrongCourses;
      }
    }
  }
  /// Lets a thread work while the main queue runs.
  bool runBeside(std::vector<std::thread>& threads, std::atomic<std::size_t>& finished) {
    const bool inTime = pumpUntil([&] { return finished == threads.size(); }, kPatience);
    for (auto& thread : threads) thread.join();
    return inTime;
  }

  DevServer server;
  std::shared_ptr<OrvUserInfoModel> user;
  std::vector<std::int64_t> rooms;  // ascending
  std::atomic<std::size_t> wrongAnswers = 0, wrongCourses = 0;
};

TEST_F(CoursePaging, OneCallerWhoAsksByForceAgainAndAgainLosesNoPage) {
  constexpr std::size_t kWanted = 900;
  std::vector<std::string> wanted = keysOfServer();
  wanted.resize(kWanted);
  for (int pass = 0; pass < 5; ++pass) {
    server.clearReceivedFrames();
    std::atomic<std::size_t> finished = 0;
    std::vector<std::thread> reader;
    reader.emplace_back([&] {
      // As soon as the former one is answered, while the look that has answered it may still go on.
      const Answer answer = askAndWait(0, kWanted, true);
      if (!answer.success || answer.count != static_cast<std::int64_t>(kWanted)) ++wrongAnswers;
      ++finished;
    });
    ASSERT_TRUE(runBeside(reader, finished));
    EXPECT_EQ(wrongAnswers, 0u);
    EXPECT_EQ(pagesAsked(), kWanted / 30);
    EXPECT_EQ(courses().cloudCourseList(), wanted);
  }
}

TEST_F(CoursePaging, TwoCallersReadTenThousandCoursesAndThenWhatHasChanged) {
  courses();
  const std::vector<std::string> before = keysOfServer();
  ASSERT_EQ(before.size(), kCourses);
  server.clearReceivedFrames();
  std::atomic<std::size_t> finished = 0;
  std::vector<std::thread> readers;
  for (int reader = 0; reader < 2; ++reader) {
    readers.emplace_back([&] {
      readEverything();
      ++finished;
    });
  }
  ASSERT_TRUE(runBeside(readers, finished));
  EXPECT_EQ(wrongAnswers, 0u);
  EXPECT_EQ(wrongCourses, 0u);
  EXPECT_EQ(courses().getRecordCourseCount(), kCourses);
  EXPECT_EQ(courses().cloudCourseList(), before);
  const std::size_t pages = (kCourses + 29) / 30;
  EXPECT_GE(pagesAsked(), pages);
  // A page that comes at the very moment at which the other caller looks may be asked for once more.
  EXPECT_LE(pagesAsked(), pages + pages / 10);
  EXPECT_TRUE(courses().requestRecordList().empty());
  // A range stays in memory with those before it until the next looks.
  for (int look = 0; look < 10; ++look) {
    courses().checkCourseRequestPage_arriveLastPage_retryCount(-1, false, MaxRetryCount);
  }
  EXPECT_LE(courses().cloudCourseDict().size(), 60u);

  // A second pass, by force, while somebody looks around.
  for (const std::size_t at :
       {std::size_t{3}, std::size_t{29}, std::size_t{30}, std::size_t{5000}, kCourses - 2}) {
    server.removeCourse(rooms[at]);
  }
  server.changeCourse(rooms[4000], {{"title", "改了名"}});
  server.addCourse();
  const std::vector<std::string> after = keysOfServer();
  ASSERT_EQ(after.size(), kCourses - 4);
  finished = 0;
  std::vector<std::thread> others;
  others.emplace_back([&] {
    const Answer answer = askAndWait(0, after.size(), true);
    if (!answer.success || answer.count != static_cast<std::int64_t>(after.size())) ++wrongAnswers;
    ++finished;
  });
  others.emplace_back([&] {
    for (std::uint64_t look = 0; look < 3000; ++look) {
      const std::uint64_t index = look * 997 % kCourses;
      const auto course = courses().getRecordCourseWithIndex(index);
      if (course != nullptr && course->title.get() == "") ++wrongCourses;
    }
    ++finished;
  });
  ASSERT_TRUE(runBeside(others, finished));
  EXPECT_EQ(wrongAnswers, 0u);
  EXPECT_EQ(wrongCourses, 0u);
  EXPECT_EQ(courses().cloudCourseList(), after);
  const auto list = readArrayFile(courses().cloudCourseListFile().value());
  ASSERT_TRUE(list);
  EXPECT_EQ(list->size(), after.size());
  const auto file =
      readDictionaryFile(*courses().cloudCourseFolder() + "/" + std::to_string(rooms[4000]) + ".plist");
  ASSERT_TRUE(file);
  EXPECT_EQ(file->at("title"), "改了名");
}

}  // namespace
}  // namespace orv::course_paging_test
