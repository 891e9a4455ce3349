// Local courses on the real platform, while the user changes again and again.

#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/session/OrvUserInfoModel.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orv::local_courses_owner_test {
namespace {

constexpr int kRounds = 150;
constexpr auto kLongest = std::chrono::seconds(60);

class LocalCoursesOwner : public ::testing::Test {
 protected:
  LocalCoursesOwner() {
    Console::setSink([](std::string_view) {});
    main.claim();
    QXCourseManager::getInstance();
  }
  static void pumpUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + kLongest;
    while (!done() && std::chrono::steady_clock::now() < end) {
      ::pollfd wait{MainQueue::instance().wakeUpDescriptor(), POLLIN, 0};
      ::poll(&wait, 1, 20);
      MainQueue::instance().drain();
    }
    EXPECT_TRUE(done());
  }
  static void storeUser(const std::string& uID) {
    QXUserInfoMgr::getInstance().setUserInfo(makeRecord<OrvUserInfoModel>(
        json::object{{"uID", uID}, {"token", "t"}, {"classroom", "5"}, {"classroominfo", {{"id", "5"}}}}));
  }
  /// The titles of the courses that this user has.
  std::vector<std::string> titlesOf(const std::string& uID) {
    storeUser(uID);
    std::optional<std::vector<std::string>> titles;
    const auto reading = courses.all().then([&](const auto& all) {
      titles.emplace();
      if (!all) return;
      for (const auto& course : *all) titles->push_back(course->title.get().value_or(""));
    });
    pumpUntil([&] { return titles.has_value(); });
    return titles.value_or(std::vector<std::string>());
  }

  MainQueue& main = MainQueue::instance();
  LocalCourses courses;
};

TEST_F(LocalCoursesOwner, NoCourseLandsWithAnotherUser) {
  const std::vector<std::string> users{"11", "22"};
  int ended = 0;
  std::multiset<std::string> made;
  std::vector<PendingCallback> kept;
  for (int round = 0; round < kRounds; ++round) {
    const std::string& user = users[static_cast<std::size_t>(round) % 2];
    storeUser(user);
    kept.push_back(courses.create({{"title", user}}).then([&, user](const LocalCourses::Answer& answer) {
      ++ended;
      if (answer) made.insert(user);
    }));
    // Sometimes it is done by then, sometimes not.
    if (round % 3 == 0) pumpUntil([&] { return ended == round + 1; });
  }
  pumpUntil([&] { return ended == kRounds; });
  for (const std::string& user : users) {
    const auto titles = titlesOf(user);
    EXPECT_EQ(titles.size(), made.count(user)) << "of user " << user;
    for (const std::string& title : titles) EXPECT_EQ(title, user) << "a course of another user";
  }
  EXPECT_FALSE(made.empty());
}

}  // namespace
}  // namespace orv::local_courses_owner_test
