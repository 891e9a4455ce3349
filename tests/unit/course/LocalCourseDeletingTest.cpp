#include "tests/unit/course/LocalFixture.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <system_error>

namespace orv::local_course_deleting_test {

namespace {

class LocalCourseDeleting : public LocalFixture {};

TEST_F(LocalCourseDeleting, DeletedCourseIsGoneWithItsFiles) {
  const Course course = add(2);
  add(1);
  course->classroomID = 5;
  platform.files().put("/home/user/Documents/5-2/mp4/1.mp4", "film");
  platform.files().put("/home/user/Documents/5-1/mp4/1.mp4", "another film");
  courses().deleteLocalCourse(course);
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
  EXPECT_EQ(listOnDisk(), Keys{"1"});
  EXPECT_EQ(courses().courseQueue(), Keys{"l-1"});
  EXPECT_FALSE(courses().localCourseDict().contains("2"));
  EXPECT_FALSE(hasRecord(2));
  EXPECT_TRUE(hasRecord(1));
  EXPECT_FALSE(platform.files().folders().contains("/home/user/Documents/5-2/"));
  EXPECT_TRUE(platform.files().contents("/home/user/Documents/5-1/mp4/1.mp4"));
}

TEST_F(LocalCourseDeleting, CallerDoesNotWaitForTheFilesToBeRemoved) {
  const Course course = add(2);
  constexpr std::size_t kPictures = 2'000;
  for (std::size_t i = 0; i < kPictures; ++i) {
    platform.files().put("/home/user/Documents/0-2/snapshots/" + std::to_string(i) + ".png", "picture");
  }
  const auto pictures = [this] {
    const auto files = platform.files().snapshot();
    return std::count_if(files.begin(), files.end(),
                         [](const auto& file) { return file.first.ends_with(".png"); });
  };
  platform.holdGlobalQueue(true);
  courses().deleteLocalCourse(course);
  EXPECT_FALSE(platform.files().folders().contains("/home/user/Documents/0-2/")) << "it is gone all the same";
  EXPECT_EQ(pictures(), static_cast<std::ptrdiff_t>(kPictures));
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_EQ(pictures(), 0);
}

TEST_F(LocalCourseDeleting, DeletingACourseThatIsNotListedStillRemovesItsFilesAndWritesTheList) {
  add(1);
  platform.files().put("/home/user/Documents/0-7/mp4/1.mp4", "film");
  putRecord("7", {{"roomID", 7}});
  std::error_code error;
  platform.files().remove(listPath(), error);
  courses().deleteLocalCourse(makeCloud(7));
  EXPECT_FALSE(hasRecord(7));
  EXPECT_FALSE(platform.files().folders().contains("/home/user/Documents/0-7/"));
  EXPECT_EQ(listOnDisk(), Keys{"1"});
}

TEST_F(LocalCourseDeleting, DeletingLooksAtTheNumberAloneWhateverItIs) {
  putList({"0", "-5", "3"});
  putRecord("-5", {{"roomID", -5}});
  startAnew();
  courses().deleteLocalCourse(makeCloud(0));
  courses().deleteLocalCourse(makeCloud(-5));
  EXPECT_EQ(courses().localCourseList(), Keys{"3"});
  EXPECT_EQ(listOnDisk(), Keys{"3"});
  EXPECT_FALSE(hasRecord(-5));
  courses().deleteLocalCourse(nullptr);
  EXPECT_EQ(listOnDisk(), Keys{"3"});
}

TEST_F(LocalCourseDeleting, DeletingRemovesTheFolderOfTheRecordThatIsGiven) {
  const Course listed = add(2);
  listed->classroomID = 5;
  platform.files().put("/home/user/Documents/5-2/mp4/1.mp4", "film");
  platform.files().put("/home/user/Documents/6-2/mp4/1.mp4", "film");
  const Course given = makeLocal(2);
  given->classroomID = 6;
  courses().deleteLocalCourse(given);
  EXPECT_TRUE(platform.files().folders().contains("/home/user/Documents/5-2/"));
  EXPECT_FALSE(platform.files().folders().contains("/home/user/Documents/6-2/"));
}

TEST_F(LocalCourseDeleting, DeletingByNumberFindsTheFolderThroughTheRecord) {
  for (const bool isInMemory : {true, false}) {
    const Course course = makeLocal(2);
    course->classroomID = 5;
    courses().addLocalCourse(course);
    add(1);
    platform.files().put("/home/user/Documents/5-2/mp4/1.mp4", "film");
    if (!isInMemory) startAnew();
    courses().deleteLocalCourseWithRoomID(2);
    EXPECT_EQ(courses().localCourseList(), Keys{"1"});
    EXPECT_EQ(listOnDisk(), Keys{"1"});
    EXPECT_FALSE(courses().localCourseDict().contains("2"));
    EXPECT_FALSE(hasRecord(2));
    EXPECT_FALSE(platform.files().folders().contains("/home/user/Documents/5-2/"));
  }
}

TEST_F(LocalCourseDeleting, DeletingByNumberWithoutARecordRemovesTheKeyAlone) {
  putList({"2", "1"});
  startAnew();
  platform.files().put("/home/user/Documents/0-2/mp4/1.mp4", "film");
  courses().deleteLocalCourseWithRoomID(2);
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
  EXPECT_EQ(listOnDisk(), Keys{"1"});
  EXPECT_TRUE(platform.files().folders().contains("/home/user/Documents/0-2/"));
}

TEST_F(LocalCourseDeleting, DeletingByANumberThatIsNotListedDoesNothing) {
  add(1);
  putRecord("7", {{"roomID", 7}});
  const auto before = platform.files().snapshot();
  courses().deleteLocalCourseWithRoomID(7);
  courses().deleteLocalCourseWithRoomID(0);
  courses().deleteLocalCourseWithRoomID(-1);
  EXPECT_EQ(platform.files().snapshot(), before);
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
}

TEST_F(LocalCourseDeleting, CourseCanComeBackAfterItWasDeleted) {
  const Course course = add(1);
  courses().deleteLocalCourse(course);
  EXPECT_TRUE(courses().addLocalCourse(course));
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
  startAnew();
  EXPECT_NE(courses().getLocalCourseWithRoomID(1), nullptr);
}

}  // namespace

}  // namespace orv::local_course_deleting_test
