// The files of a page's records are read before the merge and written after it, and others may come in between.

#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/RecordPageEffects.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include "tests/unit/course/CourseFilesFixture.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace orv::record_page_effects_test {

namespace {

using Course = CourseCollections::Course;

class RecordPageEffectsInSteps : public CourseFilesFixture {
 protected:
  RecordPageEffectsInSteps() { courses.load("catalogue"); }

  static json::object item(std::int64_t room, const std::string& title) {
    return {{"roomID", room}, {"title", title}, {"status", 1}};
  }
  std::string pathOf(std::int64_t room) {
    return courses.cloud.files().folder().value() + "/" + courseKey(room) + ".plist";
  }
  /// A course that is listed and whose record is only on the disk.
  void putOnDisk(std::int64_t room, const std::string& title) {
    courses.cloud.list().append(courseKey(room));
    putPropertyList(pathOf(room), {{"roomID", room}, {"title", title}, {"intro", "only here"}});
  }
  /// The record that a room's file holds.
  Course onDisk(std::int64_t room) { return courses.cloud.files().read(courseKey(room)); }
  Course inMemory(std::int64_t room) { return courses.cloud.memory().find(courseKey(room)); }

  void readAll() {
    while (effects->readNext()) {
    }
  }
  void writeAll() {
    while (effects->writeNext()) {
    }
  }
  void merge() {
    OptionalString cursor;
    mergeCloudPage(courses.cloud.list(), cursor, 1, items, *effects);
  }
  void begin(json::array page) {
    items = std::move(page);
    effects = std::make_unique<RecordPageEffects>(courses, items);
  }

  CourseCollections courses;
  json::array items;
  std::unique_ptr<RecordPageEffects> effects;
};

TEST_F(RecordPageEffectsInSteps, ReadsWhatIsNotInMemoryBeforeTheMergeAndWritesAllAfterIt) {
  putOnDisk(3, "old");
  putOnDisk(2, "old");
  courses.recordAt(courses.cloud, 1);
  begin({item(3, "new"), item(2, "new"), item(1, "new")});
  files.resetCounters();
  EXPECT_TRUE(effects->readNext());
  EXPECT_FALSE(effects->readNext()) << "one is in memory, one is new";
  EXPECT_EQ(files.calls(testing::FileOperation::Read), 1u);
  merge();
  EXPECT_EQ(files.calls(testing::FileOperation::Read), 1u);
  EXPECT_EQ(files.calls(testing::FileOperation::WriteAtomically), 0u);
  writeAll();
  for (const std::int64_t room : {3, 2, 1}) {
    ASSERT_NE(onDisk(room), nullptr) << room;
    EXPECT_EQ(onDisk(room)->title, "new") << room;
    EXPECT_EQ(onDisk(room)->jsonObject(), inMemory(room)->jsonObject()) << room;
  }
  EXPECT_EQ(onDisk(3)->intro, "only here");
}

TEST_F(RecordPageEffectsInSteps, ReadsARecordOnceThatComesTwice) {
  putOnDisk(3, "old");
  begin({item(3, "new"), item(3, "new")});
  EXPECT_TRUE(effects->readNext());
  EXPECT_FALSE(effects->readNext());
}

TEST_F(RecordPageEffectsInSteps, RecordWhoseFileIsWrittenBetweenReadingAndMergeIsReadAgain) {
  putOnDisk(3, "old");
  begin({item(3, "new")});
  readAll();
  const Course others = onDisk(3);
  others->intro = "written meanwhile";
  courses.cloud.files().write("3", *others);
  merge();
  writeAll();
  EXPECT_EQ(onDisk(3)->title, "new");
  EXPECT_EQ(onDisk(3)->intro, "written meanwhile");
}

TEST_F(RecordPageEffectsInSteps, RecordThatIsRemovedBetweenReadingAndMergeDoesNotComeBack) {
  putOnDisk(3, "old");
  begin({item(3, "new")});
  readAll();
  courses.cloud.files().remove("3");
  merge();
  writeAll();
  EXPECT_EQ(inMemory(3), nullptr);
  EXPECT_EQ(onDisk(3), nullptr);
}

TEST_F(RecordPageEffectsInSteps, CourseThatIsDeletedBeforeItIsWrittenGetsNoFile) {
  begin({item(3, "new"), item(2, "new")});
  merge();
  courses.forget("3", false);
  courses.cloud.remove("3");
  writeAll();
  EXPECT_EQ(onDisk(3), nullptr);
  ASSERT_NE(onDisk(2), nullptr);
}

TEST_F(RecordPageEffectsInSteps, RecordThatLeavesTheMemoryBeforeItIsWrittenIsWritten) {
  begin({item(3, "new")});
  merge();
  courses.cloud.memory().clear();
  writeAll();
  ASSERT_NE(onDisk(3), nullptr);
  EXPECT_EQ(onDisk(3)->title, "new");
}

TEST_F(RecordPageEffectsInSteps, RecordThatIsReadAnewBeforeItIsWrittenTakesOverThePageToo) {
  putOnDisk(3, "old");
  begin({item(3, "new")});
  readAll();
  merge();
  courses.cloud.memory().clear();
  const Course anew = courses.recordAt(courses.cloud, 0);
  ASSERT_EQ(anew->title, "old");
  writeAll();
  EXPECT_EQ(anew->title, "new");
  EXPECT_EQ(onDisk(3)->title, "new");
  EXPECT_EQ(onDisk(3)->intro, "only here");
}

TEST_F(RecordPageEffectsInSteps, WhatHasBeenTakenIsWrittenBeforeWhatLeavesTheListIsRemoved) {
  for (const char* key : {"3", "2"}) courses.cloud.list().append(key);
  begin({item(3, "new"), item(2, "new")});
  files.resetCounters();
  courses.cloud.memory().set("2", makeRecord<OrvCourseModel>(item(2, "old")));
  effects->take(0, "3", false);
  effects->take(1, "2", true);
  effects->dropVanished("3");
  EXPECT_EQ(files.calls(testing::FileOperation::WriteAtomically), 2u);
  EXPECT_EQ(onDisk(3), nullptr);
  effects->trim("2");
  EXPECT_EQ(onDisk(2), nullptr);
  EXPECT_FALSE(effects->writeNext());
}

TEST_F(RecordPageEffectsInSteps, RecordThatNoMemoryKeepsIsWrittenAtOnce) {
  begin({item(0, "without a room")});
  merge();
  EXPECT_EQ(inMemory(0), nullptr);
  ASSERT_NE(onDisk(0), nullptr);
  EXPECT_EQ(onDisk(0)->title, "without a room");
}

}  // namespace

}  // namespace orv::record_page_effects_test
