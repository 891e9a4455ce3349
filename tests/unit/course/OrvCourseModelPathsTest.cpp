#include <orvnetwork/support/QXPathManager.h>

#include "CourseFilesFixture.h"

#include <limits>
#include <optional>
#include <string>
#include <system_error>

namespace orv::orv_course_model_paths_test {
namespace {

using testing::FileOperation;

class OrvCourseModelPaths : public CourseFilesFixture {};

TEST_F(OrvCourseModelPaths, FileNameIsTheClassroomsAndTheRoomsNumber) {
  EXPECT_EQ(course.fileName(), "12-3456");
  course.classroomID = 0;
  course.roomID = 77;
  EXPECT_EQ(course.fileName(), "0-77");
}

TEST_F(OrvCourseModelPaths, FileNameOfHostileNumbersIsStillOneName) {
  course.classroomID = -5;
  course.roomID = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(course.fileName(), "-5--9223372036854775808");
  EXPECT_EQ(course.generateMp4Folder(), "/home/user/Documents/-5--9223372036854775808/mp4");
  course.classroomID = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(course.fileName(), "9223372036854775807--9223372036854775808");
}

TEST_F(OrvCourseModelPaths, CourseFolderIsUnderTheDocumentsAndMakesNothing) {
  EXPECT_EQ(course.courseFolder(), kCourse);
  EXPECT_EQ(course.courseFolder(), QXPathManager::sharedManager().documentDirectory() + "/12-3456");
  EXPECT_FALSE(files.exists(kDocuments));
}

TEST_F(OrvCourseModelPaths, Mp4FolderIsMadeWithAllAboveIt) {
  EXPECT_EQ(course.generateMp4Folder(), kMp4);
  EXPECT_TRUE(files.isDirectory(kMp4));
  EXPECT_EQ(course.generateMp4Folder(), kMp4) << "also when it is there";
  EXPECT_EQ(console, Strings());
}

TEST_F(OrvCourseModelPaths, TemporaryFolderLiesInTheMp4Folder) {
  EXPECT_EQ(course.generateMp4TempFolder(), std::string(kMp4) + "/temp");
  EXPECT_TRUE(files.isDirectory(std::string(kMp4) + "/temp"));
}

TEST_F(OrvCourseModelPaths, CaptureFolderLiesInTheCourseFolder) {
  EXPECT_EQ(course.generateCaptureFolder(), std::string(kCourse) + "/capture");
  EXPECT_TRUE(files.isDirectory(std::string(kCourse) + "/capture"));
  EXPECT_FALSE(files.exists(kMp4));
}

TEST_F(OrvCourseModelPaths, SnapshotsAreNumberedPictures) {
  EXPECT_EQ(course.imageCachePathForIndex(7), std::string(kCourse) + "/snapshots/7.png");
  EXPECT_TRUE(files.isDirectory(std::string(kCourse) + "/snapshots"));
  EXPECT_EQ(course.imageCachePathForIndex(0), std::string(kCourse) + "/snapshots/0.png");
  EXPECT_EQ(course.imageCachePathForIndex(std::numeric_limits<std::uint64_t>::max()),
            std::string(kCourse) + "/snapshots/18446744073709551615.png");
}

TEST_F(OrvCourseModelPaths, ActionsHaveAFolderOfTheirOwn) {
  EXPECT_EQ(course.actionPath(), std::string(kCourse) + "/plist/action.plist");
  EXPECT_TRUE(files.isDirectory(std::string(kCourse) + "/plist"));
  EXPECT_FALSE(files.exists(std::string(kCourse) + "/plist/action.plist"));
}

TEST_F(OrvCourseModelPaths, FoldersOfACourseAreClosedToOtherUsers) {
  files.setUmask(0);
  course.generateMp4TempFolder();
  course.generateCaptureFolder();
  course.imageCachePathForIndex(1);
  course.actionPath();
  for (const char* name : {"", "/mp4", "/mp4/temp", "/capture", "/snapshots", "/plist"}) {
    EXPECT_EQ(files.mode(std::string(kCourse) + name), 0700u) << name;
  }
  EXPECT_EQ(files.mode(kDocuments), 0777u) << "the documents are the user's own affair";
}

TEST_F(OrvCourseModelPaths, TheFirstFolderOfACourseClosesItWhicheverItIs) {
  files.setUmask(0);
  course.actionPath();
  EXPECT_EQ(files.mode(kCourse), 0700u);
  course.roomID = 2;
  course.generateCaptureFolder();
  EXPECT_EQ(files.mode(std::string(kDocuments) + "/12-2"), 0700u);
}

TEST_F(OrvCourseModelPaths, FoldersThatCannotBeMadeAreAbsent) {
  files.failAlways(FileOperation::CreateDirectory, std::errc::permission_denied);
  EXPECT_EQ(course.generateMp4Folder(), std::nullopt);
  EXPECT_EQ(course.generateMp4TempFolder(), std::nullopt);
  EXPECT_EQ(course.generateCaptureFolder(), std::nullopt);
  EXPECT_EQ(countLines("-[QXPathManager createFolderWithSuffix:domain:] 165, "), 3u) << "one line each";
  EXPECT_EQ(console.size(), 3u);
}

TEST_F(OrvCourseModelPaths, TemporaryFolderAloneMayFail) {
  files.put(std::string(kMp4) + "/temp", "a file in its place");
  EXPECT_EQ(course.generateMp4TempFolder(), std::nullopt);
  EXPECT_EQ(countLines("-[QXPathManager createFolderWithPath:] 176, "), 1u);
  EXPECT_EQ(course.generateMp4Folder(), kMp4);
}

TEST_F(OrvCourseModelPaths, FoldersUnderAFileAreAbsent) {
  files.put(kCourse, "a file in its place");
  EXPECT_EQ(course.generateMp4Folder(), std::nullopt);
  EXPECT_EQ(course.generateCaptureFolder(), std::nullopt);
  EXPECT_EQ(course.mp4Path(), std::nullopt);
}

TEST_F(OrvCourseModelPaths, PathsOfPicturesAndActionsComeWithoutTheirFoldersToo) {
  files.failAlways(FileOperation::CreateDirectory, std::errc::permission_denied);
  EXPECT_EQ(course.imageCachePathForIndex(7), std::string(kCourse) + "/snapshots/7.png");
  EXPECT_EQ(course.actionPath(), std::string(kCourse) + "/plist/action.plist");
  EXPECT_EQ(console, Strings()) << "what goes wrong is nobody's business";
  EXPECT_FALSE(files.exists(kCourse));
}

TEST_F(OrvCourseModelPaths, GeneratedFoldersFollowTheDocumentsAndTheCourseFolderDoesNot) {
  EXPECT_EQ(course.courseFolder(), kCourse);
  platform.directories().setSearchPath(kDocumentDirectoryCode, "/home/user/Moved");
  EXPECT_EQ(course.generateMp4Folder(), "/home/user/Moved/12-3456/mp4");
  EXPECT_EQ(course.courseFolder(), kCourse);
  platform.directories().setSearchPath(kDocumentDirectoryCode, std::nullopt);
  EXPECT_EQ(course.generateMp4Folder(), std::nullopt);
}

// The one piece.

TEST_F(OrvCourseModelPaths, Mp4PathIsTheOnlyPiece) {
  EXPECT_EQ(course.mp4Path(), std::nullopt);
  EXPECT_TRUE(files.isDirectory(kMp4)) << "asking makes the folder";
  files.put(std::string(kMp4) + "/240131-1.mp4", "m");
  EXPECT_EQ(course.mp4Path(), std::string(kMp4) + "/240131-1.mp4");
  files.put(std::string(kMp4) + "/240131-2.mp4", "m");
  EXPECT_EQ(course.mp4Path(), std::nullopt);
}

TEST_F(OrvCourseModelPaths, Mp4PathTakesAnyFileWhoseNameEndsInMp4) {
  course.generateMp4TempFolder();
  course.generateMp4FileName();
  course.addNewMp4_duration("a", 1);
  for (const char* other : {"a.MP4", "a.mp4.part", "amp3", "mp4x"}) {
    files.put(std::string(kMp4) + "/" + other, "m");
  }
  files.put(std::string(kMp4) + "/folder.mp4/inside.mp4", "m");
  EXPECT_EQ(course.mp4Path(), std::nullopt);
  files.put(std::string(kMp4) + "/nodotmp4", "m");
  EXPECT_EQ(course.mp4Path(), std::string(kMp4) + "/nodotmp4");
  files.put(std::string(kMp4) + "/.hidden.mp4", "m");
  EXPECT_EQ(course.mp4Path(), std::nullopt) << "a hidden one is one more";
}

TEST_F(OrvCourseModelPaths, Mp4PathIsAbsentWhereTheFolderCannotBeListed) {
  files.put(std::string(kMp4) + "/240131-1.mp4", "m");
  files.failAt(FileOperation::List, 1);
  EXPECT_EQ(course.mp4Path(), std::nullopt);
  EXPECT_EQ(course.mp4Path(), std::string(kMp4) + "/240131-1.mp4");
}

}  // namespace
}  // namespace orv::orv_course_model_paths_test
