#include <orvnetwork/testing/Crash.h>

#include "CourseFilesFixture.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace orv::orv_course_model_piece_list_test {
namespace {

using testing::Crash;
using testing::FileOperation;

class OrvCourseModelPieceList : public CourseFilesFixture {};

TEST_F(OrvCourseModelPieceList, PiecesAreListedInTheOrderOfTheirAdding) {
  course.addNewMp4_duration("240131-1.mp4", 12.5);
  EXPECT_EQ(propertyListIn(kList), json::value(json::array{{{"duration", 12.5}, {"name", "240131-1.mp4"}}}));
  course.addNewMp4_duration("240131-0.mp4", 3);
  course.addNewMp4_duration("240131-1.mp4", 12.5);
  EXPECT_EQ(propertyListIn(kList), json::value(json::array{{{"duration", 12.5}, {"name", "240131-1.mp4"}},
                                                           {{"duration", 3.0}, {"name", "240131-0.mp4"}},
                                                           {{"duration", 12.5}, {"name", "240131-1.mp4"}}}));
  EXPECT_EQ(console, Strings());
}

TEST_F(OrvCourseModelPieceList, ThePieceListIsWrittenAsDictionariesOfTwoKeys) {
  course.addNewMp4_duration("a&b.mp4", 3);
  EXPECT_NE(files.contents(kList)->find(
                "<array>\n\t<dict>\n\t\t<key>duration</key>\n\t\t<real>3</real>\n"
                "\t\t<key>name</key>\n\t\t<string>a&amp;b.mp4</string>\n\t</dict>\n</array>"),
            std::string::npos)
      << *files.contents(kList);
}

TEST_F(OrvCourseModelPieceList, PiecesOfAForeignListStayAsTheyAre) {
  const json::array foreign{"text", {{"name", "x"}, {"extra", json::array{1, true}}}, 5};
  putPropertyList(kList, foreign);
  course.addNewMp4_duration("y", 1);
  json::array expected = foreign;
  expected.push_back({{"duration", 1.0}, {"name", "y"}});
  EXPECT_EQ(propertyListIn(kList), json::value(expected));
}

TEST_F(OrvCourseModelPieceList, DurationsMayBeAnything) {
  course.addNewMp4_duration("a", -0.5);
  course.addNewMp4_duration("b", std::numeric_limits<double>::infinity());
  course.addNewMp4_duration("c", std::nan(""));
  const auto pieces = propertyListIn(kList);
  ASSERT_EQ(pieces->as_array().size(), 3u);
  EXPECT_EQ(pieces->at(0).at("duration"), -0.5);
  EXPECT_EQ(pieces->at(1).at("duration"), std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(pieces->at(2).at("duration").as_double()));
}

TEST_F(OrvCourseModelPieceList, ANameThatNoPropertyListCanHoldIsRefused) {
  course.addNewMp4_duration("good", 1);
  const auto before = files.contents(kList);
  course.addNewMp4_duration("bad \xff", 1);
  course.addNewMp4_duration(std::string_view("a\0b", 3), 1);
  EXPECT_EQ(files.contents(kList), before);
  EXPECT_EQ(console, (Strings{"Error with writing file", "Error with writing file"}));
}

TEST_F(OrvCourseModelPieceList, AnEmptyListFileIsALackOfOne) {
  files.put(kList, "");
  course.addNewMp4_duration("a", 1);
  EXPECT_EQ(propertyListIn(kList)->as_array().size(), 1u);
  EXPECT_EQ(console, Strings());
}

TEST_F(OrvCourseModelPieceList, ADamagedListIsSetAsideBeforeANewOneBegins) {
  for (const std::string damaged : {"<plist version=\"1.0\"><array><dict>", "<plist><dict/></plist>"}) {
    files.put(kList, damaged);
    course.addNewMp4_duration("a", 1);
    EXPECT_EQ(files.contents(std::string(kList) + ".damaged"), damaged);
    EXPECT_EQ(propertyListIn(kList), json::value(json::array{{{"duration", 1.0}, {"name", "a"}}}));
  }
  EXPECT_EQ(countLines("Error with writing file"), 0u);
}

TEST_F(OrvCourseModelPieceList, ADamagedListThatCannotBeSetAsideIsLeftAlone) {
  files.put(kList, "<plist");
  files.failAlways(FileOperation::Rename, std::errc::permission_denied);
  course.addNewMp4_duration("a", 1);
  EXPECT_EQ(files.contents(kList), "<plist");
  EXPECT_EQ(countLines("Error with writing file"), 1u);
}

TEST_F(OrvCourseModelPieceList, AListThatCannotBeReadIsLeftAlone) {
  putPropertyList(kList, json::array{{{"duration", 1.0}, {"name", "a"}}});
  const auto before = files.contents(kList);
  files.failAlways(FileOperation::Read);
  course.addNewMp4_duration("b", 1);
  EXPECT_EQ(files.contents(kList), before);
  EXPECT_EQ(countLines("Error with writing file"), 1u);
  files.clearFailures();
  files.setMode(kList, 0);
  course.addNewMp4_duration("b", 1);
  EXPECT_EQ(files.contents(kList), before);
  EXPECT_EQ(countLines("Error with writing file"), 2u);
}

TEST_F(OrvCourseModelPieceList, AddingAPieceRemovesWhatAKilledProgramHasLeftBesideTheList) {
  const std::string left = std::string(kMp4) + "/.orv-0123456789abcdef.tmp";
  const std::string recorded = std::string(kMp4) + "/240131-1.mp4",
                    temporary = std::string(kMp4) + "/notes.tmp";
  course.addNewMp4_duration("240131-1.mp4", 1);
  for (const auto& file : {left, recorded, temporary}) files.put(file, "bytes");
  course.addNewMp4_duration("240131-2.mp4", 2);
  EXPECT_FALSE(files.contents(left));
  EXPECT_TRUE(files.contents(recorded));
  EXPECT_TRUE(files.contents(temporary)) << "a host's own file";
  EXPECT_EQ(propertyListIn(kList)->as_array().size(), 2u);
}

TEST_F(OrvCourseModelPieceList, NoSingleFailureOfTheDiskLosesAPieceThatWasListed) {
  const json::array first{{{"duration", 1.0}, {"name", "a"}}};
  json::array both = first;
  both.push_back({{"duration", 2.0}, {"name", "b"}});
  std::uint64_t failures = 0;
  for (std::uint64_t at = 1;; ++at) {
    putPropertyList(kList, first);
    console.clear();
    files.failAt(at);
    const auto before = files.failuresInjected();
    course.addNewMp4_duration("b", 2);
    files.clearFailures();
    const bool failed = countLines("Error with writing file") == 1;
    EXPECT_EQ(propertyListIn(kList), json::value(failed ? first : both)) << "call " << at;
    if (files.failuresInjected() == before) break;
    ++failures;
  }
  EXPECT_GE(failures, 3u);
}

TEST_F(OrvCourseModelPieceList, AFullDiskKeepsTheListAsItWas) {
  course.addNewMp4_duration("a", 1);
  const auto before = files.contents(kList);
  files.setCapacity(files.usedBytes());
  course.addNewMp4_duration("b", 1);
  EXPECT_EQ(files.contents(kList), before);
  EXPECT_EQ(console, Strings{"Error with writing file"});
  files.setCapacity(std::nullopt);
  course.addNewMp4_duration("b", 1);
  EXPECT_EQ(propertyListIn(kList)->as_array().size(), 2u);
}

TEST_F(OrvCourseModelPieceList, APieceIsNotListedWithoutAFolder) {
  files.put(kCourse, "a file in its place");
  course.addNewMp4_duration("a", 1);
  EXPECT_EQ(countLines("Error with writing file"), 1u);
  EXPECT_EQ(files.snapshot().size(), 1u);
}

TEST_F(OrvCourseModelPieceList, CountAndListSurviveAPowerCut) {
  course.generateMp4FileName();
  course.generateMp4FileName();
  course.addNewMp4_duration("a", 1);
  course.addNewMp4_duration("b", 1);
  files.crash(Crash::PowerCut);
  EXPECT_EQ(propertyListIn(kList)->as_array().size(), 2u);
  EXPECT_EQ(course.generateMp4FileName(), "240131-3.mp4");
}

TEST_F(OrvCourseModelPieceList, ARecordChangesItsFolderWithItsNumbers) {
  course.addNewMp4_duration("a", 1);
  course.roomID = 7;
  course.addNewMp4_duration("b", 1);
  EXPECT_EQ(propertyListIn(std::string(kDocuments) + "/12-7/mp4/list.plist"),
            json::value(json::array{{{"duration", 1.0}, {"name", "b"}}}));
  EXPECT_EQ(propertyListIn(kList)->as_array().size(), 1u);
}

}  // namespace
}  // namespace orv::orv_course_model_piece_list_test
