// A page is merged in memory; the files of its records are read and written after that, and others may come in between.

#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/RecordPageEffects.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include "tests/unit/course/CourseFilesFixture.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace orv::record_page_effects_test {

namespace {

using Course = CourseCollections::Course;
using testing::FileOperation;

class RecordPageFiles : public CourseFilesFixture {
 protected:
  RecordPageFiles() { courses.load("catalogue"); }

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
  Strings queue() { return courses.queue.snapshot(); }

  void finishAll() {
    while (effects->finishNext()) {
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

TEST_F(RecordPageFiles, AreLeftAloneByTheMergeAndReadAndWrittenAfterItOneByOne) {
  putOnDisk(3, "old");
  putOnDisk(2, "old");
  courses.recordAt(courses.cloud, 1);
  begin({item(3, "new"), item(2, "new"), item(1, "new")});
  files.resetCounters();
  merge();
  EXPECT_EQ(files.calls(FileOperation::Read), 0u);
  EXPECT_EQ(files.calls(FileOperation::WriteAtomically), 0u);
  EXPECT_EQ(inMemory(2)->title, "new") << "what is in memory says at once what the page says";
  EXPECT_EQ(inMemory(1)->title, "new") << "a new one is found at once";
  for (std::size_t written = 1; written <= 3; ++written) {
    EXPECT_TRUE(effects->finishNext());
    EXPECT_EQ(files.calls(FileOperation::WriteAtomically), written);
  }
  EXPECT_FALSE(effects->finishNext());
  for (const std::int64_t room : {3, 2, 1}) {
    ASSERT_NE(onDisk(room), nullptr) << room;
    EXPECT_EQ(onDisk(room)->title, "new") << room;
    EXPECT_EQ(onDisk(room)->jsonObject(), inMemory(room)->jsonObject()) << room;
  }
  EXPECT_EQ(onDisk(3)->intro, "only here");
}

TEST_F(RecordPageFiles, RecordsStandInTheQueueInTheOrderOfThePage) {
  for (const std::int64_t room : {4, 3}) putOnDisk(room, "old");
  begin({item(4, "new"), item(3, "new"), item(2, "new"), item(1, "new")});
  merge();
  EXPECT_NE(inMemory(2), nullptr) << "new, and queued behind those that are still to be read";
  finishAll();
  EXPECT_EQ(queue(), (Strings{"c-4", "c-3", "c-2", "c-1"}));
  for (const std::int64_t room : {4, 3, 2, 1}) EXPECT_NE(inMemory(room), nullptr) << room;
}

TEST_F(RecordPageFiles, RecordWhoseFileIsGoneIsNeitherQueuedNorWritten) {
  courses.cloud.list().append("4");
  courses.cloud.list().append("3");
  courses.queue.appendIfAbsent("c-3");
  begin({item(4, "new"), item(3, "new")});
  merge();
  finishAll();
  EXPECT_EQ(queue(), Strings{"c-3"}) << "an entry from before stays";
  EXPECT_EQ(inMemory(4), nullptr);
  EXPECT_EQ(onDisk(4), nullptr);
}

TEST_F(RecordPageFiles, RecordThatComesTwiceTakesOverBoth) {
  putOnDisk(3, "old");
  begin({item(3, "first"), {{"roomID", 3}, {"status", 1}, {"viewCnt", 7}}});
  merge();
  finishAll();
  EXPECT_EQ(onDisk(3)->title, "first");
  EXPECT_EQ(onDisk(3)->viewCnt, 7);
  EXPECT_EQ(inMemory(3)->viewCnt, 7);
}

TEST_F(RecordPageFiles, RecordThatOthersReadBeforeItIsFinishedTakesOverThePage) {
  putOnDisk(3, "old");
  begin({item(3, "new")});
  merge();
  const Course theirs = courses.recordAt(courses.cloud, 0);
  ASSERT_EQ(theirs->title, "old");
  finishAll();
  EXPECT_EQ(theirs->title, "new");
  EXPECT_EQ(inMemory(3), theirs);
  EXPECT_EQ(onDisk(3)->title, "new");
  EXPECT_EQ(onDisk(3)->intro, "only here");
}

TEST_F(RecordPageFiles, RecordIsReadAsOthersHaveWrittenItMeanwhile) {
  putOnDisk(3, "old");
  begin({item(3, "new")});
  merge();
  const Course others = onDisk(3);
  others->intro = "written meanwhile";
  courses.cloud.files().write("3", *others);
  finishAll();
  EXPECT_EQ(onDisk(3)->title, "new");
  EXPECT_EQ(onDisk(3)->intro, "written meanwhile");
}

TEST_F(RecordPageFiles, RecordThatIsRemovedMeanwhileDoesNotComeBack) {
  putOnDisk(3, "old");
  begin({item(3, "new")});
  merge();
  courses.cloud.files().remove("3");
  finishAll();
  EXPECT_EQ(inMemory(3), nullptr);
  EXPECT_EQ(onDisk(3), nullptr);
}

TEST_F(RecordPageFiles, CourseThatIsDeletedMeanwhileGetsNone) {
  putOnDisk(4, "old");
  begin({item(4, "new"), item(3, "new"), item(2, "new")});
  merge();
  for (const char* key : {"4", "3"}) {
    courses.forget(key, false);
    courses.cloud.remove(key);
  }
  finishAll();
  EXPECT_EQ(onDisk(4), nullptr);
  EXPECT_EQ(onDisk(3), nullptr);
  EXPECT_EQ(inMemory(4), nullptr);
  ASSERT_NE(onDisk(2), nullptr);
}

TEST_F(RecordPageFiles, RecordThatLeavesTheMemoryMeanwhileIsWritten) {
  begin({item(3, "new")});
  merge();
  courses.cloud.memory().clear();
  finishAll();
  ASSERT_NE(onDisk(3), nullptr);
  EXPECT_EQ(onDisk(3)->title, "new");
}

TEST_F(RecordPageFiles, RecordThatIsReadAnewMeanwhileTakesOverThePageToo) {
  putOnDisk(3, "old");
  courses.recordAt(courses.cloud, 0);
  begin({item(3, "new")});
  merge();
  courses.cloud.memory().clear();
  const Course anew = courses.recordAt(courses.cloud, 0);
  ASSERT_EQ(anew->title, "old");
  finishAll();
  EXPECT_EQ(anew->title, "new");
  EXPECT_EQ(onDisk(3)->title, "new");
  EXPECT_EQ(onDisk(3)->intro, "only here");
}

TEST_F(RecordPageFiles, AreFinishedBeforeOneOfThemIsDropped) {
  for (const char* key : {"3", "2", "1"}) courses.cloud.list().append(key);
  putPropertyList(pathOf(3), item(3, "old"));
  courses.cloud.memory().set("2", makeRecord<OrvCourseModel>(item(2, "old")));
  begin({item(3, "new"), item(2, "new")});
  effects->take(0, "3", true);
  effects->take(1, "2", true);
  files.resetCounters();
  effects->dropVanished("3");
  EXPECT_EQ(files.calls(FileOperation::WriteAtomically), 2u);
  EXPECT_EQ(onDisk(3), nullptr) << "its record had come into memory, so its file goes";
  EXPECT_EQ(inMemory(3), nullptr);
  effects->trim("2");
  EXPECT_EQ(onDisk(2), nullptr);
  EXPECT_FALSE(effects->finishNext());
}

TEST_F(RecordPageFiles, AreFinishedBeforeOneThatIsCutOffToo) {
  begin({item(3, "new")});
  courses.cloud.list().append("3");
  effects->take(0, "3", false);
  effects->trim("3");
  EXPECT_EQ(onDisk(3), nullptr);
  EXPECT_FALSE(effects->finishNext()) << "it would be written after it was removed";
}

TEST_F(RecordPageFiles, AreFinishedBeforeACourseGoesWhoseRecordNamesOneOfThem) {
  for (const char* key : {"9", "3"}) courses.cloud.list().append(key);
  courses.cloud.memory().set("9", makeRecord<OrvCourseModel>(item(3, "of another room")));
  begin({item(3, "new")});
  effects->take(0, "3", false);
  effects->dropVanished("9");
  finishAll();
  EXPECT_EQ(onDisk(3), nullptr);
}

TEST_F(RecordPageFiles, StayUnfinishedWhileACourseIsDroppedThatIsNotInThePage) {
  for (const char* key : {"9", "3"}) courses.cloud.list().append(key);
  putPropertyList(pathOf(9), item(9, "old"));
  begin({item(3, "new")});
  effects->take(0, "3", false);
  files.resetCounters();
  effects->trim("9");
  effects->dropVanished("8");
  EXPECT_EQ(files.calls(FileOperation::WriteAtomically), 0u);
  EXPECT_EQ(onDisk(9), nullptr);
}

TEST_F(RecordPageFiles, RecordThatNoMemoryKeepsIsWrittenAtOnceAndOnce) {
  begin({item(0, "without a room")});
  files.resetCounters();
  merge();
  EXPECT_EQ(inMemory(0), nullptr);
  ASSERT_NE(onDisk(0), nullptr);
  EXPECT_EQ(onDisk(0)->title, "without a room");
  const auto looks = files.calls(FileOperation::Read);
  finishAll();
  EXPECT_EQ(files.calls(FileOperation::WriteAtomically), 1u);
  EXPECT_EQ(files.calls(FileOperation::Read), looks) << "nobody looks whether it has to be written again";
  EXPECT_TRUE(queue().empty());
}

}  // namespace

}  // namespace orv::record_page_effects_test
