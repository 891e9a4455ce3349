#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/course/QXCourseManager.h>

#include "LocalCoursesFixture.h"

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv::local_courses_test {
namespace {

class LocalCoursesTest : public LocalCoursesFixture {};

TEST_F(LocalCoursesTest, MakesCoursesThatAreOnTheDisk) {
  const Course course =
      made({{"title", "Algebra"}, {"roomID", 5}, {"publishStatus", 1}, {"orv_local", false}});
  EXPECT_EQ(course->title.get(), "Algebra");
  EXPECT_TRUE(course->orv_local);
  EXPECT_EQ(course->publishStatus, 99u);
  EXPECT_NE(course->roomID, 5);
  EXPECT_EQ(listed(), Strings{std::to_string(course->roomID)});
  EXPECT_EQ(inRecord(course->roomID, "title"), "Algebra");
}

TEST_F(LocalCoursesTest, GivesEachANumberOfItsOwnInOneSecond) {
  std::vector<std::int64_t> numbers;
  std::vector<PendingCallback> kept;
  for (int i = 0; i < 100; ++i) {
    kept.emplace_back(
        courses->create().then([&](const Answer& answer) { numbers.push_back((*answer)->roomID); }));
  }
  settle();  // no time passes
  EXPECT_EQ(numbers.size(), 100u);
  EXPECT_EQ(std::set<std::int64_t>(numbers.begin(), numbers.end()).size(), 100u);
  EXPECT_EQ(listed().size(), 100u);
  EXPECT_EQ(listed().front(), std::to_string(numbers.back()));
}

TEST_F(LocalCoursesTest, NeverGivesTheNumberZero) {
  platform.setWallTime(WallTime(std::chrono::seconds(1'700'000'000)));
  platform.settle();
  ASSERT_EQ(1'700'000'000 % 1'000'000, 0);
  EXPECT_EQ(made()->roomID, 1);
  platform.setWallTime(WallTime(std::chrono::seconds(1'700'000'000)));
  EXPECT_EQ(made()->roomID, 2);
}

TEST_F(LocalCoursesTest, DoesNothingOnTheMainThread) {
  platform.holdGlobalQueue(true);
  const auto creating = courses->create();
  const auto reading = courses->all();
  settle();
  EXPECT_FALSE(creating.isReady());
  EXPECT_FALSE(reading.isReady());
  EXPECT_FALSE(platform.files().exists(folder));
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_TRUE(creating.isReady());
  EXPECT_TRUE(reading.isReady());
}

TEST_F(LocalCoursesTest, SavesCopies) {
  const Course course = made({{"title", "One"}});
  course->title = "Two";
  auto saving = courses->save(*course);
  course->title = "Three";
  const Answer saved = ended(std::move(saving));
  ASSERT_TRUE(saved);
  EXPECT_EQ((*saved)->title.get(), "Two");
  EXPECT_EQ(course->title.get(), "Three");
  EXPECT_EQ(inRecord(course->roomID, "title"), "Two");
  (*saved)->title = "Four";
  EXPECT_EQ((*ended(courses->find(course->roomID)))->title.get(), "Two");
}

TEST_F(LocalCoursesTest, SavesOnlyWhatIsThere) {
  const Course course = made();
  ASSERT_TRUE(ended(courses->remove(course->roomID)));
  EXPECT_EQ(words(ended(courses->save(*course))), "NotFound");
  EXPECT_EQ(words(ended(courses->remove(course->roomID))), "NotFound");
  EXPECT_EQ(words(ended(courses->find(course->roomID))), "NotFound");
  EXPECT_EQ(words(ended(courses->remove(0))), "NotFound");
  EXPECT_TRUE(listed().empty());
}

TEST_F(LocalCoursesTest, RemovesTheRecording) {
  const Course course = made();
  const std::string recording = course->courseFolder();
  platform.files().put(recording + "/mp4/1.mp4", "sound");
  EXPECT_EQ(*ended(courses->remove(course->roomID)), course->roomID);
  EXPECT_FALSE(platform.files().exists(recording));
  EXPECT_TRUE(listed().empty());
}

TEST_F(LocalCoursesTest, ListsTheLatestFirst) {
  const Course first = made({{"title", "first"}}), second = made({{"title", "second"}});
  const auto all = ended(courses->all());
  ASSERT_TRUE(all);
  ASSERT_EQ(all->size(), 2u);
  EXPECT_EQ((*all)[0]->title.get(), "second");
  EXPECT_EQ((*all)[1]->title.get(), "first");
}

TEST_F(LocalCoursesTest, WorksInTheOrderAsked) {
  const Course course = made({{"title", "0"}});
  Strings order;
  std::vector<PendingCallback> kept;
  for (int i = 1; i <= 20; ++i) {
    course->title = std::to_string(i);
    kept.emplace_back(courses->save(*course).then(
        [&](const Answer& answer) { order.push_back((*answer)->title.get().value_or("")); }));
  }
  kept.emplace_back(
      courses->remove(course->roomID).then([&](const auto& answer) { order.push_back(words(answer)); }));
  course->title = "late";
  kept.emplace_back(
      courses->save(*course).then([&](const Answer& answer) { order.push_back(words(answer)); }));
  settle();
  ASSERT_EQ(order.size(), 22u);
  EXPECT_EQ(order[0], "1");
  EXPECT_EQ(order[19], "20");
  EXPECT_EQ(order[20], "done");
  EXPECT_EQ(order[21], "NotFound");
}

TEST_F(LocalCoursesTest, AFullDiskTakesNoNewCourse) {
  made({{"title", "there"}});
  failWriting();
  EXPECT_EQ(words(ended(courses->create({{"title", "lost"}}))), "NotWritten");
  EXPECT_EQ(ended(courses->all())->size(), 1u);
  platform.files().clearFailures();
  const Course later = made({{"title", "later"}});
  EXPECT_EQ(ended(courses->all())->size(), 2u);
  EXPECT_EQ(listed().size(), 2u);
}

TEST_F(LocalCoursesTest, WhatCouldNotBeSavedIsAsItWas) {
  const Course course = made({{"title", "old"}});
  failWriting();
  course->title = "new";
  EXPECT_EQ(words(ended(courses->save(*course))), "NotWritten");
  platform.files().clearFailures();
  EXPECT_EQ((*ended(courses->find(course->roomID)))->title.get(), "old");
  made();
  EXPECT_EQ(inRecord(course->roomID, "title"), "old");
}

TEST_F(LocalCoursesTest, TellsThatACourseIsStillOnTheDisk) {
  const Course course = made();
  failWriting();
  EXPECT_EQ(words(ended(courses->remove(course->roomID))), "NotWritten");
}

TEST_F(LocalCoursesTest, EveryFailureOfTheDiskIsToldOrHarmless) {
  const Course course = made({{"title", "0"}});
  std::string onDisk = "0";
  for (std::uint64_t n = 1; n <= 40; ++n) {
    platform.files().failAt(n);
    course->title = std::to_string(n);
    const auto saved = ended(courses->save(*course));
    platform.files().failAt(0);
    if (saved) onDisk = std::to_string(n);
    // A course that was told as not found was not readable at that moment.
    EXPECT_EQ(inRecord(course->roomID, "title"), onDisk) << n << ": " << words(saved);
    if (HasFailure()) return;
  }
  EXPECT_EQ(onDisk, "40");
}

TEST_F(LocalCoursesTest, WhatWasConfirmedIsThereAfterACrash) {
  const Course first = made({{"title", "first"}}), second = made({{"title", "second"}});
  first->title = "changed";
  ASSERT_TRUE(ended(courses->save(*first)));
  ASSERT_TRUE(ended(courses->remove(second->roomID)));
  platform.files().crash(testing::Crash::PowerCut);
  QXCourseManager::getInstance().init();  // as when the program starts
  EXPECT_EQ(listed(), Strings{std::to_string(first->roomID)});
  EXPECT_EQ(inRecord(first->roomID, "title"), "changed");
  const auto all = ended(LocalCourses().all());
  ASSERT_EQ(all->size(), 1u);
  EXPECT_EQ(all->front()->title.get(), "changed");
}

TEST_F(LocalCoursesTest, GoesOnWhenItIsDestroyed) {
  platform.holdGlobalQueue(true);
  bool isTold = false;
  auto kept = courses->create({{"title", "kept"}}).then([&](const Answer& answer) { isTold = bool(answer); });
  const auto dropped = [&] { return courses->create({{"title", "dropped"}}); }();
  courses.reset();
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_TRUE(isTold);
  EXPECT_EQ(listed().size(), 2u);
}

TEST_F(LocalCoursesTest, MayBeDestroyedInsideItsCallback) {
  int calls = 0;
  PendingCallback kept = courses->create().then([&](const Answer&) {
    ++calls;
    courses.reset();
    kept = {};
  });
  settle();
  EXPECT_EQ(calls, 1);
}

TEST_F(LocalCoursesTest, KeepsUsersApart) {
  signedIn();
  folder = "/home/user/Documents/orv_course/" + ann + "/5001/local";
  const Course course = made({{"title", "Ann's"}});
  EXPECT_EQ(inRecord(course->roomID, "title"), "Ann's");
  platform.holdGlobalQueue(true);
  auto saving = courses->save(*course);
  platform.holdGlobalQueue(false);
  users().setUserInfo(nullptr);
  EXPECT_EQ(words(ended(std::move(saving))), "OtherUser");
  EXPECT_EQ(words(ended(courses->find(course->roomID))), "NotFound");
}

}  // namespace
}  // namespace orv::local_courses_test
