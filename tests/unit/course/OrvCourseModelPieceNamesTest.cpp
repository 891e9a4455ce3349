#include "CourseFilesFixture.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace orv::orv_course_model_piece_names_test {
namespace {

using testing::FileOperation;

class OrvCourseModelPieceNames : public CourseFilesFixture {};

TEST_F(OrvCourseModelPieceNames, NamesCountFromOne) {
  EXPECT_EQ(course.generateMp4FileName(), "240131-1.mp4");
  EXPECT_EQ(course.generateMp4FileName(), "240131-2.mp4");
  EXPECT_EQ(course.generateMp4FileName(), "240131-3.mp4");
  EXPECT_EQ(propertyListIn(kIndex), json::value({{"240131", 3}}));
  EXPECT_FALSE(files.exists(std::string(kMp4) + "/240131-1.mp4")) << "only the name is made";
  EXPECT_EQ(console, Strings());
}

TEST_F(OrvCourseModelPieceNames, TheCountIsAnIntegerOfThePropertyList) {
  course.generateMp4FileName();
  EXPECT_NE(files.contents(kIndex)->find("<key>240131</key>\n\t<integer>1</integer>"), std::string::npos);
}

TEST_F(OrvCourseModelPieceNames, EachCourseCountsForItself) {
  course.generateMp4FileName();
  course.roomID = 9;
  EXPECT_EQ(course.generateMp4FileName(), "240131-1.mp4");
}

TEST_F(OrvCourseModelPieceNames, ANewDayCountsFromOneAndOldDaysStay) {
  course.generateMp4FileName();
  course.generateMp4FileName();
  platform.runFor(Seconds(16 * 3600 - 1));
  EXPECT_EQ(course.generateMp4FileName(), "240131-3.mp4") << "23:59:59";
  platform.runFor(Seconds(1));
  EXPECT_EQ(course.generateMp4FileName(), "240201-1.mp4") << "midnight";
  EXPECT_EQ(propertyListIn(kIndex), json::value({{"240131", 3}, {"240201", 1}}));
  platform.jumpWallClock(Seconds(-3600));
  EXPECT_EQ(course.generateMp4FileName(), "240131-4.mp4") << "a clock that was set back counts on";
}

TEST_F(OrvCourseModelPieceNames, TheDayIsTheLocalOne) {
  platform.setTimeZone("Asia/Shanghai");
  platform.runFor(Seconds(8 * 3600 - 1));  // 15:59:59 UTC
  EXPECT_EQ(course.generateMp4FileName(), "240131-1.mp4");
  platform.runFor(Seconds(1));
  EXPECT_EQ(course.generateMp4FileName(), "240201-1.mp4");
  platform.setTimeZone("America/New_York");
  EXPECT_EQ(course.generateMp4FileName(), "240131-2.mp4");
}

TEST_F(OrvCourseModelPieceNames, TheDayIsThatOfTheUsersCalendar) {
  platform.setLocale("th_TH");
  EXPECT_EQ(course.generateMp4FileName(), "670131-1.mp4");
  platform.setLocale("zh_CN");
  EXPECT_EQ(course.generateMp4FileName(), "240131-1.mp4");
  EXPECT_EQ(propertyListIn(kIndex), json::value({{"240131", 1}, {"670131", 1}}));
}

TEST_F(OrvCourseModelPieceNames, TheDayIsInTheUsersDigits) {
  platform.setLocale("ar_EG@numbers=arab");
  EXPECT_EQ(course.generateMp4FileName(), "٢٤٠١٣١-1.mp4");
  EXPECT_EQ(course.generateMp4FileName(), "٢٤٠١٣١-2.mp4");
}

TEST_F(OrvCourseModelPieceNames, NamesGoOnFromTheFileOfAnEarlierRun) {
  putPropertyList(kIndex, {{"240130", 9}, {"240131", 41}, {"note", "kept"}});
  EXPECT_EQ(course.generateMp4FileName(), "240131-42.mp4");
  EXPECT_EQ(propertyListIn(kIndex), json::value({{"240130", 9}, {"240131", 42}, {"note", "kept"}}));
}

TEST_F(OrvCourseModelPieceNames, StoredCountsOfEveryKindAreReadAsCounts) {
  constexpr auto kLargest = std::numeric_limits<std::uint64_t>::max();
  const std::vector<std::pair<json::value, std::string>> cases = {
      {0, "1"},
      {"7", "8"},
      {"many", "1"},
      {"", "1"},
      {true, "2"},
      {2.9, "3"},
      {-3, "1"},
      {std::numeric_limits<std::int64_t>::min(), "1"},
      {std::numeric_limits<std::int64_t>::max(), "9223372036854775808"},
      {kLargest - 1, "18446744073709551615"},
      {kLargest, "0"},
      {1e300, "9223372036854775808"},
      {-1e300, "1"},
      {std::nan(""), "1"},
      {json::array{5}, "1"},
      {json::object{{"240131", 5}}, "1"},
  };
  for (const auto& [stored, count] : cases) {
    putPropertyList(kIndex, {{"240131", stored}});
    EXPECT_EQ(course.generateMp4FileName(), "240131-" + count + ".mp4") << stored;
    EXPECT_EQ(propertyListIn(kIndex)->at("240131").to_number<std::uint64_t>(), std::stoull(count));
  }
  EXPECT_EQ(console, Strings());
}

TEST_F(OrvCourseModelPieceNames, AnIndexThatCannotBeReadCountsFromOne) {
  putPropertyList(kIndex, {{"240131", 41}});
  files.failAt(FileOperation::Read, 1);
  EXPECT_EQ(course.generateMp4FileName(), "240131-1.mp4");
  EXPECT_EQ(propertyListIn(kIndex), json::value({{"240131", 1}}));
}

TEST_F(OrvCourseModelPieceNames, ADamagedIndexIsSetAside) {
  for (const std::string damaged : {"<plist", "not a list", "<plist><array/></plist>"}) {
    files.put(kIndex, damaged);
    EXPECT_EQ(course.generateMp4FileName(), "240131-1.mp4") << damaged;
    EXPECT_EQ(files.contents(std::string(kIndex) + ".damaged"), damaged);
    EXPECT_EQ(propertyListIn(kIndex), json::value({{"240131", 1}}));
  }
}

TEST_F(OrvCourseModelPieceNames, AnEmptyIndexCountsFromOneAndLeavesNothingAside) {
  files.put(kIndex, "");
  EXPECT_EQ(course.generateMp4FileName(), "240131-1.mp4");
  EXPECT_FALSE(files.exists(std::string(kIndex) + ".damaged"));
  EXPECT_EQ(console, Strings());
}

TEST_F(OrvCourseModelPieceNames, ANameComesAlsoWhenTheCountCannotBeWritten) {
  course.generateMp4FileName();
  files.setCapacity(files.usedBytes());
  EXPECT_EQ(course.generateMp4FileName(), "240131-2.mp4");
  EXPECT_EQ(course.generateMp4FileName(), "240131-2.mp4") << "the file still says 1";
  EXPECT_EQ(console, (Strings{"write to file ERROR", "write to file ERROR"}));
  EXPECT_EQ(propertyListIn(kIndex), json::value({{"240131", 1}}));
}

TEST_F(OrvCourseModelPieceNames, ANameComesAlsoInAFolderThatCannotBeWritten) {
  course.generateMp4Folder();
  files.setMode(kMp4, 0500);
  EXPECT_EQ(course.generateMp4FileName(), "240131-1.mp4");
  EXPECT_EQ(console, Strings{"write to file ERROR"});
}

TEST_F(OrvCourseModelPieceNames, ANameComesAlsoWithoutAFolder) {
  files.put(kCourse, "a file in its place");
  EXPECT_EQ(course.generateMp4FileName(), "240131-1.mp4");
  EXPECT_EQ(countLines("write to file ERROR"), 1u);
  EXPECT_EQ(files.snapshot().size(), 1u) << "and nothing is written elsewhere";
}

TEST_F(OrvCourseModelPieceNames, TwoThatReadTheSameCountMakeTheSameName) {
  // What two threads may do: the second one reads before the first one has written.
  files.failAt(FileOperation::WriteAtomically, 1);
  const std::string first = course.generateMp4FileName();
  EXPECT_EQ(course.generateMp4FileName(), first);
}

}  // namespace
}  // namespace orv::orv_course_model_piece_names_test
