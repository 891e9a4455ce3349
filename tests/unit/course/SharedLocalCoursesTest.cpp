// Local courses that another program with the same home changes too.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "tests/unit/course/LocalFixture.h"

#include <algorithm>
#include <memory>
#include <string>
#include <system_error>

namespace orv::shared_local_courses_test {
namespace {

using testing::FileOperation;

class SharedLocalCourses : public LocalFixture {
 protected:
  /// What another program leaves on the disk when it has added a course.
  void addedByAnother(std::int64_t room, const std::string& title = "theirs") {
    Keys keys = listOnDisk();
    if (keys == Keys{"no file"}) keys.clear();
    keys.insert(keys.begin(), std::to_string(room));
    putKeys(listPath(), keys);
    putRecord(std::to_string(room), makeLocal(room, title)->jsonObject());
  }
  void deletedByAnother(std::int64_t room) {
    Keys keys = listOnDisk();
    std::erase(keys, std::to_string(room));
    putKeys(listPath(), keys);
    std::error_code error;
    platform.files().remove(recordPath(room), error);
  }
  void expectNoMoreWriting() {
    const auto writings = platform.files().calls(FileOperation::WriteAtomically);
    platform.runFor(Seconds(60));
    EXPECT_EQ(platform.files().calls(FileOperation::WriteAtomically), writings) << "once is enough";
  }
  static void putKeys(const std::string& path, const Keys& keys) {
    json::array list;
    for (const auto& key : keys) list.emplace_back(key);
    ASSERT_TRUE(writePropertyListFile(path, list, Durability::Durable));
  }
};

TEST_F(SharedLocalCourses, WhatAnotherProgramHasAddedIsTakenOverByTheNextChange) {
  addRooms(1, 2);
  addedByAnother(7);
  EXPECT_EQ(courses().localCourseList(), (Keys{"2", "1"})) << "nobody has looked yet";
  add(3);
  EXPECT_EQ(courses().localCourseList(), (Keys{"3", "7", "2", "1"}));
  EXPECT_EQ(listOnDisk(), (Keys{"3", "7", "2", "1"}));
  EXPECT_EQ(courses().getLocalCourseWithRoomID(7)->title, "theirs");
}

TEST_F(SharedLocalCourses, WhatAnotherProgramHasDeletedLeavesListMemoryAndQueue) {
  addRooms(1, 3);
  deletedByAnother(2);
  courses().saveLocalCourse(courses().getLocalCourseWithRoomID(2));
  EXPECT_EQ(courses().localCourseList(), (Keys{"3", "1"}));
  EXPECT_EQ(listOnDisk(), (Keys{"3", "1"}));
  EXPECT_FALSE(hasRecord(2)) << "saving does not bring it back";
  EXPECT_EQ(courses().getLocalCourseWithRoomID(2), nullptr);
  EXPECT_FALSE(courses().localCourseDict().contains("2"));
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-3", "l-1"}));
  add(2, "again");
  EXPECT_EQ(listOnDisk(), (Keys{"2", "3", "1"}));
}

TEST_F(SharedLocalCourses, ANewNumberIsNoneOfAnotherProgramsCourses) {
  const auto first = courses().createLocalCourse();
  addedByAnother(first->roomID);
  EXPECT_EQ(courses().createLocalCourse()->roomID, first->roomID + 1);
}

TEST_F(SharedLocalCourses, ANumberThatAnotherProgramHasTakenIsPassedOver) {
  const std::int64_t number = courses().createLocalCourse()->roomID;
  platform.files().failAt(FileOperation::Reserve, 1);
  EXPECT_EQ(courses().createLocalCourse()->roomID, number + 1);
  platform.files().failAlways(FileOperation::Reserve);
  EXPECT_GT(courses().createLocalCourse()->roomID, number) << "a lock that always refuses holds nobody up";
}

TEST_F(SharedLocalCourses, AListThatIsLockedTooLongIsWrittenLater) {
  add(1);
  platform.files().failAlways(FileOperation::Lock);
  console.clear();
  EXPECT_TRUE(courses().addLocalCourse(makeLocal(2)));
  EXPECT_EQ(courses().localCourseList(), (Keys{"2", "1"}));
  EXPECT_EQ(listOnDisk(), Keys{"1"});
  EXPECT_TRUE(hasRecord(2));
  EXPECT_TRUE(std::ranges::any_of(console, [](const std::string& line) {
    return line.find("localCourse.plist is not written yet: another program keeps it locked") != line.npos;
  }));
  platform.runFor(Seconds(5));
  EXPECT_EQ(listOnDisk(), Keys{"1"});
  addedByAnother(7);
  platform.files().clearFailures();
  platform.runFor(Seconds(2));
  EXPECT_EQ(listOnDisk(), (Keys{"2", "7", "1"}));
  EXPECT_EQ(courses().localCourseList(), (Keys{"2", "7", "1"}));
  expectNoMoreWriting();
}

TEST_F(SharedLocalCourses, AListThatIsLockedTooLongIsWrittenWhenItsCatalogueHasBeenLeft) {
  signIn();
  add(1);
  const std::string left = listPath();
  platform.files().failAlways(FileOperation::Lock);
  add(2);
  courses().deleteLocalCourseWithRoomID(1);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
  startAnew();
  ASSERT_NE(listPath(), left);
  platform.runFor(Seconds(5));
  EXPECT_EQ(keysIn(left), Keys{"1"});
  putKeys(left, {"7", "1"});
  platform.files().clearFailures();
  platform.runFor(Seconds(2));
  EXPECT_EQ(keysIn(left), (Keys{"2", "7"}));
  EXPECT_EQ(listOnDisk(), Keys{"no file"}) << "the other catalogue is another one";
  expectNoMoreWriting();
}

TEST_F(SharedLocalCourses, WhatIsWrittenForACatalogueThatWasLeftIsTakenOverWhenItIsBack) {
  signIn();
  add(1);
  platform.files().failAlways(FileOperation::Lock);
  add(2);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
  startAnew();
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100001", "5001"));
  startAnew();
  EXPECT_EQ(courses().localCourseList(), Keys{"1"}) << "as the disk has it";
  platform.files().clearFailures();
  platform.runFor(Seconds(2));
  add(3);
  EXPECT_EQ(courses().localCourseList(), (Keys{"3", "2", "1"}));
  EXPECT_EQ(listOnDisk(), (Keys{"3", "2", "1"}));
}

TEST_F(SharedLocalCourses, WhatCouldNotBeWrittenIsNotLostToWhatAnotherProgramWrites) {
  addRooms(1, 2);
  platform.files().failAlways(FileOperation::WriteAtomically);
  add(3);
  courses().deleteLocalCourseWithRoomID(1);
  platform.files().clearFailures();
  addedByAnother(7);
  courses().saveLocalCourse(courses().getLocalCourseWithRoomID(3));
  EXPECT_EQ(listOnDisk(), (Keys{"3", "7", "2"}));
  EXPECT_TRUE(hasRecord(3));
}

TEST_F(SharedLocalCourses, AListThatIsGoneOrDamagedTakesNothingAway) {
  addRooms(1, 2);
  std::error_code error;
  platform.files().remove(listPath(), error);
  add(3);
  EXPECT_EQ(listOnDisk(), (Keys{"3", "2", "1"}));
  platform.files().put(listPath(), "no list");
  add(4);
  EXPECT_EQ(listOnDisk(), (Keys{"4", "3", "2", "1"}));
  EXPECT_EQ(platform.files().contents(listPath() + ".damaged"), "no list");
}

}  // namespace
}  // namespace orv::shared_local_courses_test
