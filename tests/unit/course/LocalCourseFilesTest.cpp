#include <orvnetwork/data/PropertyList.h>

#include "tests/unit/course/LocalFixture.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace orv::local_course_files_test {

namespace {

using testing::FileOperation;

class LocalCourseFiles : public LocalFixture {
 protected:
  bool consoleTold(std::string_view part) const {
    return std::ranges::any_of(console,
                               [part](const std::string& line) { return line.find(part) != line.npos; });
  }
};

// What the files hold --------------------------------------------------------------------------------------------

TEST_F(LocalCourseFiles, ListIsAPropertyListOfKeysInOrder) {
  addRooms(1, 2);
  const std::string text = platform.files().contents(listPath()).value();
  EXPECT_EQ(text, writePropertyList(json::array{"2", "1"}).value());
  EXPECT_EQ(platform.files().mode(listPath()), 0600u);
}

TEST_F(LocalCourseFiles, RecordIsItsJsonForm) {
  const Course course = makeLocal(7, "<一> & \"二\"");
  course->orv_createInfo = json::object{{"pages", json::array{1, 2.5, true}}, {"note", "…"}};
  course->orv_cloudRoomID = -1;
  course->coursePrice = 9.9F;
  course->orv_vectorDuration = 12.5;
  course->setDuration(61);
  courses().addLocalCourse(course);
  EXPECT_EQ(platform.files().contents(recordPath(7)), writePropertyList(course->jsonObject()).value());
  EXPECT_EQ(platform.files().mode(recordPath(7)), 0600u);
  startAnew();
  const Course read = courses().getLocalCourseWithRoomID(7);
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->jsonObject(), course->jsonObject());
  EXPECT_EQ(read->orv_createInfo.get(), course->orv_createInfo.get());
  EXPECT_EQ(read->duration(), 61);
}

TEST_F(LocalCourseFiles, ReadingWritesNothing) {
  addRooms(1, 3);
  startAnew();
  const auto before = platform.files().snapshot();
  const auto writes = platform.files().calls(FileOperation::WriteAtomically);
  courses().getLocalCourseCount();
  courses().getLocalCourseWithIndex(0);
  courses().getLocalCourseWithRoomID(1);
  courses().removeOverMuchRecordCourse();
  settle();
  EXPECT_EQ(platform.files().snapshot(), before);
  EXPECT_EQ(platform.files().calls(FileOperation::WriteAtomically), writes);
}

TEST_F(LocalCourseFiles, WhatAPropertyListCannotHoldIsLeftOutOfTheFileAndTheConsoleIsTold) {
  add(1, "old");
  const Course course = makeLocal(1, "new");
  course->orv_createInfo = json::object{{"nothing", nullptr}, {"kept", 5}};
  EXPECT_FALSE(courses().addLocalCourse(course));
  EXPECT_EQ(courses().getLocalCourseWithRoomID(1), course);
  EXPECT_EQ(titleOnDisk(1), "new");
  EXPECT_TRUE(consoleTold("1.plist was written without what it cannot hold: orv_createInfo.nothing is null"));
  const Course second = makeLocal(2, std::string("a\0b", 3));
  second->intro = "introduction";
  EXPECT_TRUE(courses().addLocalCourse(second));
  EXPECT_EQ(listOnDisk(), (Keys{"2", "1"}));
  startAnew();
  const Course again = courses().getLocalCourseWithRoomID(2);
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->title.get(), std::nullopt);
  EXPECT_EQ(again->intro.get(), "introduction");
  EXPECT_EQ(courses().getLocalCourseWithRoomID(1)->orv_createInfo.get(), (json::object{{"kept", 5}}));
}

// What is missing or damaged -------------------------------------------------------------------------------------

TEST_F(LocalCourseFiles, MissingRecordLeavesTheKey) {
  addRooms(1, 2);
  std::error_code error;
  platform.files().remove(recordPath(1), error);
  startAnew();
  EXPECT_EQ(courses().getLocalCourseWithIndex(1), nullptr);
  EXPECT_EQ(courses().getLocalCourseWithRoomID(1), nullptr);
  EXPECT_EQ(courses().getLocalCourseCount(), 2u);
  EXPECT_TRUE(courses().courseQueue().empty());
  EXPECT_EQ(listOnDisk(), (Keys{"2", "1"}));
}

TEST_F(LocalCourseFiles, EmptyRecordIsNone) {
  addRooms(1, 2);
  startAnew();
  putRecord("1", {});
  platform.files().put(recordPath(2), "");
  for (std::uint64_t index = 0; index < 2; ++index) {
    EXPECT_EQ(courses().getLocalCourseWithIndex(index), nullptr);
  }
  EXPECT_EQ(courses().getLocalCourseWithRoomID(1), nullptr);
  EXPECT_EQ(courses().getLocalCourseCount(), 2u);
}

TEST_F(LocalCourseFiles, RecordOfOneFieldIsARecord) {
  putList({"1"});
  putRecord("1", {{"title", "only this"}});
  startAnew();
  const Course course = courses().getLocalCourseWithIndex(0);
  ASSERT_NE(course, nullptr);
  EXPECT_EQ(course->title, "only this");
  EXPECT_TRUE(courses().localCourseDict().empty()) << "without a number it is not taken into memory";
}

TEST_F(LocalCourseFiles, DamagedRecordIsSetAside) {
  addRooms(1, 2);
  startAnew();
  platform.files().put(recordPath(1), "<plist>half");
  EXPECT_EQ(courses().getLocalCourseWithIndex(1), nullptr);
  EXPECT_EQ(platform.files().contents(recordPath(1) + ".damaged"), "<plist>half");
  EXPECT_FALSE(hasRecord(1));
  EXPECT_EQ(courses().getLocalCourseCount(), 2u);
  EXPECT_NE(courses().getLocalCourseWithIndex(0), nullptr);
}

TEST_F(LocalCourseFiles, DamagedRecordIsSetAsideBeforeItIsWrittenOver) {
  addRooms(1, 3);
  startAnew();
  for (std::int64_t room = 1; room <= 3; ++room) platform.files().put(recordPath(room), "half");
  courses().addLocalCourse(makeLocal(1, "new"));
  courses().saveLocalCourse(makeLocal(2, "new"));
  courses().refreshLocalCourse(makeLocal(3, "new"));
  for (std::int64_t room = 1; room <= 3; ++room) {
    EXPECT_EQ(platform.files().contents(recordPath(room) + ".damaged"), "half") << room;
    EXPECT_EQ(titleOnDisk(room), "new");
  }
}

TEST_F(LocalCourseFiles, DamagedListIsSetAsideAndANewOneBegins) {
  addRooms(1, 2);
  const std::string whole = platform.files().contents(listPath()).value();
  for (const std::string& damaged : {whole.substr(0, whole.size() / 2), std::string("no list"),
                                     writePropertyList(json::object{{"a", 1}}).value()}) {
    platform.files().put(listPath(), damaged);
    startAnew();
    EXPECT_EQ(courses().getLocalCourseCount(), 0u);
    EXPECT_EQ(platform.files().contents(listPath() + ".damaged"), damaged);
    add(3);
    EXPECT_EQ(listOnDisk(), Keys{"3"});
    EXPECT_EQ(platform.files().contents(listPath() + ".damaged"), damaged);
    EXPECT_TRUE(hasRecord(1)) << "what was listed is still there";
  }
}

TEST_F(LocalCourseFiles, ListThatCannotBeReadIsSetAsideBeforeItIsWrittenOver) {
  addRooms(1, 2);
  const std::string whole = platform.files().contents(listPath()).value();
  startAnew();
  platform.files().failAt(FileOperation::Read, 1);
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  EXPECT_EQ(platform.files().contents(listPath()), whole)
      << "it stays where it is as long as nothing is written";
  EXPECT_FALSE(platform.files().contents(listPath() + ".damaged"));
  add(3);
  EXPECT_EQ(platform.files().contents(listPath() + ".damaged"), whole);
  EXPECT_EQ(listOnDisk(), Keys{"3"});
  add(4);
  EXPECT_EQ(platform.files().contents(listPath() + ".damaged"), whole) << "it is set aside once";
}

TEST_F(LocalCourseFiles, ListThatCannotBeReadNorSetAsideIsNotWrittenOver) {
  addRooms(1, 2);
  const std::string whole = platform.files().contents(listPath()).value();
  platform.files().setMode(listPath(), 0);
  startAnew();
  platform.files().failAlways(FileOperation::Rename);
  add(3);
  platform.files().clearFailures();
  EXPECT_EQ(platform.files().contents(listPath()), whole);
  EXPECT_EQ(courses().localCourseList(), Keys{"3"});
  EXPECT_TRUE(consoleTold("localCourse.plist could not be read and cannot be renamed"));
  platform.files().setMode(listPath(), 0600);
  startAnew();
  EXPECT_EQ(courses().localCourseList(), (Keys{"2", "1"}));
}

TEST_F(LocalCourseFiles, MissingListIsSimplyBegun) {
  add(1);
  EXPECT_EQ(listOnDisk(), Keys{"1"});
  EXPECT_FALSE(platform.files().contents(listPath() + ".damaged"));
  platform.files().put(listPath(), "");
  startAnew();
  EXPECT_EQ(courses().getLocalCourseCount(), 0u);
  add(2);
  EXPECT_EQ(listOnDisk(), Keys{"2"});
  EXPECT_FALSE(platform.files().contents(listPath() + ".damaged"));
}

TEST_F(LocalCourseFiles, RepeatedKeysCountOnceAndWhatIsNoTextNotAtAll) {
  putList({"3", "4", "3", 5, json::array{"6"}, json::object{}, true, "4", "", ""});
  startAnew();
  EXPECT_EQ(courses().localCourseList(), (Keys{"3", "4", ""}));
  EXPECT_EQ(courses().getLocalCourseCount(), 3u);
}

// Keys that somebody else has written ----------------------------------------------------------------------------

TEST_F(LocalCourseFiles, KeysCannotLeadOutOfTheFolder) {
  const std::string outside = folder().substr(0, folder().rfind('/'));
  platform.files().put(outside + "/x.plist", "stays");
  platform.files().put("/etc/x.plist", "stays");
  const json::array keys{"../x", "/etc/x", "..", ".", "", "a/b", std::string(300, 'k'), "../../../../etc/x"};
  putList(keys);
  startAnew();
  EXPECT_EQ(courses().getLocalCourseCount(), keys.size());
  for (std::uint64_t index = 0; index <= keys.size(); ++index) {
    EXPECT_EQ(courses().getLocalCourseWithIndex(index), nullptr) << index;
  }
  EXPECT_EQ(platform.files().contents(outside + "/x.plist"), "stays");
  EXPECT_EQ(platform.files().contents("/etc/x.plist"), "stays");
  EXPECT_FALSE(platform.files().contents(outside + "/x.plist.damaged"));
  EXPECT_FALSE(platform.files().contents("/etc/x.plist.damaged"));
}

TEST_F(LocalCourseFiles, KeyWithTheNameOfTheListDoesNotLeadToIt) {
  putList({"localCourse", "1"});
  putRecord("1", {{"roomID", 1}, {"orv_local", true}});
  startAnew();
  EXPECT_EQ(courses().getLocalCourseWithIndex(0), nullptr);
  EXPECT_EQ(listOnDisk(), (Keys{"localCourse", "1"}));
  EXPECT_FALSE(platform.files().contents(listPath() + ".damaged"));
  EXPECT_NE(courses().getLocalCourseWithIndex(1), nullptr);
}

TEST_F(LocalCourseFiles, RecordThatSaysItIsAnotherCourseIsGivenAndNotTakenIntoMemory) {
  putList({"1"});
  putRecord("1", {{"roomID", 2}, {"orv_local", true}, {"classroomID", 3}});
  startAnew();
  const Course course = courses().getLocalCourseWithRoomID(1);
  ASSERT_NE(course, nullptr);
  EXPECT_EQ(course->roomID, 2);
  EXPECT_TRUE(courses().localCourseDict().empty());
  platform.files().put("/home/user/Documents/3-2/film", "x");
  courses().deleteLocalCourseWithRoomID(1);
  EXPECT_FALSE(hasRecord(1));
  EXPECT_FALSE(platform.files().contents("/home/user/Documents/3-2/film"))
      << "its folder is what the record says";
}

}  // namespace

}  // namespace orv::local_course_files_test
