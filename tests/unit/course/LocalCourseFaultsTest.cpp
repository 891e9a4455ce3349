// Local courses on a disk that refuses, fails, or loses its power.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/testing/Crash.h>

#include "tests/unit/course/LocalFixture.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::local_course_faults_test {

namespace {

using testing::Crash;
using testing::FileOperation;

class LocalCourseFaults : public LocalFixture {
 protected:
  bool consoleTold(std::string_view part) const {
    return std::ranges::any_of(console,
                               [part](const std::string& line) { return line.find(part) != line.npos; });
  }
  static std::optional<std::string> titleInMemory(std::int64_t room) {
    const Course course = courses().getLocalCourseWithRoomID(room);
    return course != nullptr ? course->title.get() : std::nullopt;
  }
  /// A catalogue of its own.
  void openCatalogue(std::uint64_t number) {
    QXUserInfoMgr::getInstance().setUserInfo(makeUser(std::to_string(number)));
    settle();
  }
};

// A disk that refuses --------------------------------------------------------------------------------------------

TEST_F(LocalCourseFaults, MemoryKeepsWhatAFolderThatCannotBeWrittenDoesNotTake) {
  add(1, "old");
  platform.files().setMode(folder(), 0500);
  EXPECT_TRUE(courses().addLocalCourse(makeLocal(2)));
  courses().saveLocalCourse(makeLocal(1, "new"));
  EXPECT_EQ(courses().localCourseList(), (Keys{"2", "1"}));
  EXPECT_EQ(titleInMemory(1), "new");
  EXPECT_EQ(titleOnDisk(1), "old");
  EXPECT_EQ(listOnDisk(), Keys{"1"});
  EXPECT_TRUE(consoleTold("2.plist cannot be written"));
  EXPECT_TRUE(consoleTold("localCourse.plist cannot be written"));
  courses().deleteLocalCourseWithRoomID(1);
  EXPECT_EQ(courses().localCourseList(), Keys{"2"});
  EXPECT_TRUE(hasRecord(1));
  platform.files().setMode(folder(), 0700);
  courses().saveLocalCourse(courses().getLocalCourseWithIndex(0));
  EXPECT_EQ(listOnDisk(), Keys{"2"});
  EXPECT_TRUE(hasRecord(2));
}

TEST_F(LocalCourseFaults, CatalogueWhoseFolderCannotBeMadeWorksInMemory) {
  platform.files().failAlways(FileOperation::CreateDirectory);
  openCatalogue(7);
  EXPECT_EQ(courses().localCourseFolder(), std::nullopt);
  EXPECT_EQ(courses().localCourseListFile(), std::nullopt);
  const Course course = add(1);
  EXPECT_EQ(courses().getLocalCourseWithIndex(0), course);
  courses().dequeueRecoedCourse_isLocal("1", true);
  EXPECT_EQ(courses().getLocalCourseWithIndex(0), nullptr);
  courses().deleteLocalCourse(course);
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  EXPECT_TRUE(consoleTold("createFolderWithSuffix:domain:] 165"));
}

TEST_F(LocalCourseFaults, FullDiskLeavesWhatWasThereAndTakesMoreOnceThereIsRoom) {
  addRooms(1, 3);
  const auto before = platform.files().snapshot();
  platform.files().setCapacity(platform.files().usedBytes() + 10);
  EXPECT_TRUE(courses().addLocalCourse(makeLocal(4, "new")));
  courses().saveLocalCourse(makeLocal(1, "new"));
  EXPECT_EQ(platform.files().snapshot(), before);
  EXPECT_EQ(courses().localCourseList(), (Keys{"4", "3", "2", "1"}));
  EXPECT_EQ(titleInMemory(1), "new");
  EXPECT_TRUE(consoleTold("No space left"));
  platform.files().setCapacity(std::nullopt);
  courses().refreshLocalCourse(courses().getLocalCourseWithRoomID(4));
  courses().saveLocalCourse(courses().getLocalCourseWithRoomID(1));
  startAnew();
  EXPECT_EQ(courses().localCourseList(), (Keys{"4", "3", "2", "1"}));
  EXPECT_EQ(titleInMemory(4), "new");
  EXPECT_EQ(titleInMemory(1), "new");
}

TEST_F(LocalCourseFaults, ListThatTheDiskDidNotTakeIsWrittenWhenADeletedRecordHasMadeRoom) {
  addRooms(1, 3);
  platform.files().failAt(FileOperation::WriteAtomically, 1);
  courses().deleteLocalCourse(courses().getLocalCourseWithRoomID(2));
  EXPECT_TRUE(consoleTold("localCourse.plist cannot be written"));
  EXPECT_EQ(listOnDisk(), (Keys{"3", "1"}));
  platform.files().failAt(FileOperation::WriteAtomically, 1);
  courses().deleteLocalCourseWithRoomID(3);
  startAnew();
  EXPECT_EQ(courses().localCourseList(), Keys{"1"}) << "none that has no record";
}

TEST_F(LocalCourseFaults, RecordIsWrittenBeforeTheListThatNamesIt) {
  add(1);
  platform.files().failAt(FileOperation::WriteAtomically, 2);
  add(2);
  EXPECT_TRUE(hasRecord(2));
  EXPECT_EQ(listOnDisk(), Keys{"1"});
  platform.files().failAt(FileOperation::WriteAtomically, 2);
  courses().refreshLocalCourse(makeLocal(1, "new"));
  EXPECT_EQ(titleOnDisk(1), "new");
  EXPECT_EQ(listOnDisk(), Keys{"1"});
}

TEST_F(LocalCourseFaults, ConsoleIsToldWhenNothingIsLocked) {
  std::vector<std::uint64_t> counts;
  Console::setSink([&counts](std::string_view) {
    counts.push_back(courses().getLocalCourseCount());
    courses().getLocalCourseWithIndex(0);  // Would never return.
  });
  add(1);
  platform.files().setMode(folder(), 0500);
  courses().addLocalCourse(makeLocal(2));
  EXPECT_EQ(counts, (std::vector<std::uint64_t>{2, 2}));
  platform.files().setMode(folder(), 0700);
  platform.files().put(listPath(), "damaged");
  counts.clear();
  startAnew();
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  EXPECT_EQ(counts, std::vector<std::uint64_t>{0});
  Console::setSink(nullptr);
}

// One call fails; and everything stops at once -------------------------------------------------------------------

/// Does one of several things with rooms 1 to 6; returns the room that it touched.
std::int64_t doSomething(std::uint64_t step) {
  const auto room = static_cast<std::int64_t>(step * 5 % 6 + 1);
  const auto course = std::make_shared<OrvCourseModel>();
  course->orv_local = true;
  course->roomID = room;
  course->publishStatus = 99;
  course->title = "step " + std::to_string(step);
  auto& manager = QXCourseManager::getInstance();
  switch (step % 7) {
    case 3:
      manager.saveLocalCourse(course);
      break;
    case 4:
      manager.refreshLocalCourse(course);
      break;
    case 5:
      manager.deleteLocalCourseWithRoomID(room);
      break;
    case 6:
      manager.deleteLocalCourse(course);
      break;
    default:
      manager.addLocalCourse(course);
  }
  return room;
}

using Titles = std::map<std::string, OptionalString>;

/// What the manager gives for each course of its list.
Titles titles() {
  Titles all;
  auto& manager = QXCourseManager::getInstance();
  for (const auto& key : manager.localCourseList()) {
    const auto course = manager.getLocalCourseWithRoomID(std::stoll(key));
    all[key] = course != nullptr ? course->title.get() : OptionalString("missing");
  }
  return all;
}

TEST_F(LocalCourseFaults, OneFailingCallHarmsOnlyTheCourseThatItWasFor) {
  constexpr std::uint64_t kSteps = 28;
  bool failed = true;
  std::uint64_t n = 1;
  for (; failed && n < 500; ++n) {
    openCatalogue(n);
    courses().getLocalCourseCount();
    platform.files().resetCounters();
    platform.files().failAt(n);
    for (std::uint64_t step = 0; step < kSteps; ++step) {
      const Titles before = titles();
      const auto failures = platform.files().failuresInjected();
      const std::string touched = std::to_string(doSomething(step));
      const Titles after = titles();
      if (platform.files().failuresInjected() == failures) continue;
      for (const Crash crash : {Crash::Process, Crash::PowerCut, Crash::PowerCutTorn}) {
        // Before the next step writes the list again.
        platform.files().crash(crash);
        startAnew();
        Titles loaded = titles();
        for (const auto& [key, title] : before) {
          if (key == touched) continue;
          EXPECT_EQ(after.at(key), title) << "call " << n;
          ASSERT_TRUE(loaded.contains(key)) << "call " << n << ", course " << key;
          EXPECT_EQ(loaded.at(key), title) << "call " << n;
        }
        for (const auto& [key, title] : loaded) {
          if (key != touched) {
            EXPECT_TRUE(before.contains(key)) << "call " << n << ", course " << key;
          }
        }
      }
      break;
    }
    failed = platform.files().failuresInjected() > 0;
    platform.files().clearFailures();
  }
  EXPECT_GT(n, 40u);
  EXPECT_LT(n, 500u);
  std::cout << "local courses: " << n - 2 << " calls failed in turn" << std::endl;
}

TEST_F(LocalCourseFaults, WhatWasDoneSurvivesAPowerCutAtAnyMoment) {
  for (const Crash crash : {Crash::Process, Crash::PowerCut, Crash::PowerCutTorn}) {
    for (std::uint64_t stop = 1; stop < 30; ++stop) {
      openCatalogue(1000 * stop + static_cast<std::uint64_t>(crash));
      for (std::uint64_t step = 0; step < stop; ++step) doSomething(step);
      const Titles before = titles();
      const Keys order = courses().localCourseList();
      platform.files().crash(crash);
      startAnew();
      // The user is stored anew by the next start; here the catalogue is opened again by hand.
      openCatalogue(1);
      openCatalogue(1000 * stop + static_cast<std::uint64_t>(crash));
      EXPECT_EQ(courses().localCourseList(), order) << stop;
      EXPECT_EQ(titles(), before) << stop;
    }
  }
}

TEST_F(LocalCourseFaults, DiskThatStopsInTheMiddleOfAnOperationLosesNothingThatWasThere) {
  // The disk takes `taken` more calls of the operation, then none; then the power goes.
  for (std::uint64_t catalogue = 1; catalogue < 40; ++catalogue) {
    openCatalogue(catalogue);
    for (std::uint64_t step = 0; step < catalogue / 2; ++step) doSomething(step);
    const Titles before = titles();
    if (catalogue % 2 == 0) {
      platform.files().failAlways();
    } else {
      platform.files().failAt(FileOperation::WriteAtomically, 2);  // the record is written, the list is not
    }
    const std::string touched = std::to_string(doSomething(catalogue / 2));
    platform.files().crash(Crash::PowerCut);
    platform.files().clearFailures();
    openCatalogue(100'000);
    openCatalogue(catalogue);
    const Titles loaded = titles();
    for (const auto& [key, title] : before) {
      if (key == touched) continue;
      ASSERT_TRUE(loaded.contains(key)) << catalogue;
      EXPECT_EQ(loaded.at(key), title) << catalogue;
    }
  }
}

}  // namespace

}  // namespace orv::local_course_faults_test
