// A course's files on the real disk: what others read in them, and what threads do to them.

#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include "../support/FilesTestPlatform.h"
#include <tests/support/ChildProgram.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>
#include <thread>

namespace orv::orv_course_model_files_test {
namespace {

using test::home;

class OrvCourseModelFiles : public ::testing::Test {
 protected:
  OrvCourseModelFiles() {
    course.classroomID = 12;
    course.roomID = 3456;
  }

  test::FilesTestPlatform& platform = test::FilesTestPlatform::install();
  const std::string mp4 = home() + "/Documents/12-3456/mp4";
  OrvCourseModel course;
};

TEST_F(OrvCourseModelFiles, AreReadByAnotherReaderOfPropertyLists) {
  course.addNewMp4_duration(course.generateMp4FileName(), 12.5);
  course.addNewMp4_duration("第二段 <&>.mp4", 3);
  course.generateMp4FileName();
  test::ChildProgram reader("/usr/bin/python3",
                            {"-B", "-c",
                             "import plistlib, sys\n"
                             "for path in sys.argv[1:]: print(ascii(plistlib.load(open(path, 'rb'))))",
                             mp4 + "/indexInfo.plist", mp4 + "/list.plist"});
  reader.closeInput();
  const test::ChildResult result = reader.wait();
  ASSERT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output,
            "{'240131': 2}\n"
            "[{'duration': 12.5, 'name': '240131-1.mp4'}, "
            "{'duration': 3.0, 'name': '\\u7b2c\\u4e8c\\u6bb5 <&>.mp4'}]\n");
}

TEST_F(OrvCourseModelFiles, AreClosedToOtherUsers) {
  const auto modeOf = [](const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
  };
  course.generateMp4TempFolder();
  EXPECT_EQ(modeOf(home() + "/Documents/12-3456"), 0700u);
  EXPECT_EQ(modeOf(mp4), 0700u);
  EXPECT_EQ(modeOf(mp4 + "/temp"), 0700u);
}

TEST_F(OrvCourseModelFiles, StayWholeWhileThreadsMakeNamesAndMayNameTwoPiecesAlike) {
  constexpr int kThreads = 4;
  constexpr int kNames = 25;
  std::vector<std::vector<std::string>> names(kThreads);
  std::vector<std::thread> threads;
  for (auto& own : names) {
    threads.emplace_back([this, &own] {
      for (int count = 0; count < kNames; ++count) own.push_back(course.generateMp4FileName());
    });
  }
  for (auto& thread : threads) thread.join();

  std::set<std::string> possible;
  for (int count = 1; count <= kThreads * kNames; ++count) {
    possible.insert("240131-" + std::to_string(count) + ".mp4");
  }
  for (const auto& own : names) {
    for (const auto& name : own) EXPECT_TRUE(possible.contains(name)) << name;
  }
  const auto counts = readDictionaryFile(mp4 + "/indexInfo.plist");
  ASSERT_TRUE(counts);
  EXPECT_EQ(counts->size(), 1u);
  EXPECT_TRUE(possible.contains("240131-" + std::to_string(counts->at("240131").to_number<int>()) + ".mp4"));
}

TEST_F(OrvCourseModelFiles, OfTwoCoursesDoNotTouchEachOther) {
  constexpr int kPieces = 25;
  std::vector<std::thread> threads;
  for (const std::int64_t room : {1, 2, 3}) {
    threads.emplace_back([room] {
      OrvCourseModel own;
      own.roomID = room;
      for (int count = 0; count < kPieces; ++count) {
        own.addNewMp4_duration(own.generateMp4FileName(), static_cast<double>(room));
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (const std::string room : {"0-1", "0-2", "0-3"}) {
    const auto pieces = readArrayFile(home() + "/Documents/" + room + "/mp4/list.plist");
    ASSERT_TRUE(pieces) << room;
    ASSERT_EQ(pieces->size(), static_cast<std::size_t>(kPieces)) << room;
    EXPECT_EQ(pieces->back().at("name"), "240131-25.mp4") << room;
  }
}

}  // namespace
}  // namespace orv::orv_course_model_files_test
