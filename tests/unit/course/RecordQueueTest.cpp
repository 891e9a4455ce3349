#include "tests/unit/course/LocalFixture.h"

#include <string>

namespace orv::record_queue_test {

namespace {

/// The queue of what is in memory, and eviction from it.
class RecordQueue : public LocalFixture {
 protected:
  /// `count` cloud courses in the list and in memory, the last one used most recently.
  static void fillCloud(std::int64_t first, std::int64_t count) {
    Keys list = courses().cloudCourseList();
    for (std::int64_t room = first; room < first + count; ++room) list.push_back(std::to_string(room));
    courses().setCloudCourseList(list);
    for (std::int64_t room = first; room < first + count; ++room) {
      courses().refreshRecordCourse(makeCloud(room));
    }
  }
  static std::size_t inMemory() {
    return courses().localCourseDict().size() + courses().cloudCourseDict().size();
  }
};

TEST_F(RecordQueue, OnlyListedCoursesAreTakenIntoMemory) {
  courses().setCloudCourseList({"1"});
  courses().setLocalCourseList({"2"});
  for (const Course& course : {Course(), makeCloud(2), makeLocal(1), makeCloud(0), makeLocal(-2)}) {
    courses().refreshRecordCourse(course);
  }
  EXPECT_TRUE(courses().courseQueue().empty());
  EXPECT_EQ(inMemory(), 0u);
  const Course cloud = makeCloud(1), local = makeLocal(2);
  courses().refreshRecordCourse(cloud);
  courses().refreshRecordCourse(local);
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-2", "c-1"}));
  EXPECT_EQ(courses().cloudCourseDict().at("1"), cloud);
  EXPECT_EQ(courses().localCourseDict().at("2"), local);
}

TEST_F(RecordQueue, NumbersThatAreNotAboveZeroStayOutThoughListed) {
  courses().setCloudCourseList({"0", "-1"});
  courses().refreshRecordCourse(makeCloud(0));
  courses().refreshRecordCourse(makeCloud(-1));
  EXPECT_TRUE(courses().courseQueue().empty());
  EXPECT_EQ(inMemory(), 0u);
}

TEST_F(RecordQueue, OneNumberMayBeLocalAndRecordedAtOnce) {
  courses().setCloudCourseList({"1"});
  add(1);
  courses().refreshRecordCourse(makeCloud(1));
  EXPECT_EQ(courses().courseQueue(), (Keys{"c-1", "l-1"}));
  EXPECT_TRUE(courses().localCourseDict().at("1")->orv_local);
  EXPECT_FALSE(courses().cloudCourseDict().at("1")->orv_local);
}

TEST_F(RecordQueue, KeepingInFrontMovesAndOtherwiseAppends) {
  addRooms(1, 3);
  courses().refreshRecordCourse_keepFront(makeLocal(1), true);
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-1", "l-3", "l-2"}));
  const Course other = makeLocal(1, "other");
  courses().refreshRecordCourse_keepFront(other, false);
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-1", "l-3", "l-2"}));
  EXPECT_EQ(courses().localCourseDict().at("1"), other);
  courses().setLocalCourseList({"3", "2", "1", "9"});
  courses().refreshRecordCourse_keepFront(makeLocal(9), false);
  EXPECT_EQ(courses().courseQueue(), (Keys{"l-1", "l-3", "l-2", "l-9"}));
}

TEST_F(RecordQueue, RecordedCourseComesFromItsFileAndIntoTheQueue) {
  courses().setCloudCourseList({"8", "9"});
  const std::string folder = courses().cloudCourseFolder().value();
  writePropertyListFile(folder + "/9.plist", makeCloud(9)->jsonObject(), Durability::Plain);
  EXPECT_EQ(courses().getRecordCourseWithIndex(0), nullptr) << "its file is missing";
  const Course course = courses().getRecordCourseWithIndex(1);
  ASSERT_NE(course, nullptr);
  EXPECT_EQ(courses().getRecordCourseWithIndex(1), course);
  EXPECT_EQ(courses().getRecordCourseWithIndex(2), nullptr);
  EXPECT_EQ(courses().courseQueue(), Keys{"c-9"});
  courses().refreshRecordCourse(nullptr);
  fillCloud(1, 2);
  courses().getRecordCourseWithIndex(1);
  EXPECT_EQ(courses().courseQueue(), (Keys{"c-2", "c-1", "c-9"})) << "in memory, so the queue is left alone";
}

TEST_F(RecordQueue, StepsForCallersThatHoldTheSemaphoreReadTheListsToo) {
  add(1);
  startAnew();
  const auto semaphore = courses().dataSemaphore();
  semaphore->wait();
  courses().refreshRecordCourse_keepFront(makeLocal(1), true);
  semaphore->signal();
  EXPECT_EQ(courses().courseQueue(), Keys{"l-1"});
}

TEST_F(RecordQueue, DequeuingLeavesListsAndFiles) {
  add(1);
  fillCloud(1, 1);
  courses().dequeueRecoedCourse_isLocal("1", true);
  EXPECT_EQ(courses().courseQueue(), Keys{"c-1"});
  EXPECT_TRUE(courses().localCourseDict().empty());
  EXPECT_TRUE(courses().cloudCourseDict().contains("1"));
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
  EXPECT_TRUE(hasRecord(1));
  courses().dequeueRecoedCourse_isLocal("1", false);
  EXPECT_TRUE(courses().courseQueue().empty());
  EXPECT_TRUE(courses().cloudCourseDict().empty());
  EXPECT_EQ(courses().cloudCourseList(), Keys{"1"});
  courses().dequeueRecoedCourse_isLocal("no such key", true);
}

TEST_F(RecordQueue, LocalOperationsEvictNothing) {
  addRooms(1, 70);
  EXPECT_EQ(courses().courseQueue().size(), 70u);
  EXPECT_EQ(inMemory(), 70u);
}

TEST_F(RecordQueue, SixtyStay) {
  addRooms(1, 60);
  courses().removeOverMuchRecordCourse();
  EXPECT_EQ(inMemory(), 60u);
  add(61);
  courses().removeOverMuchRecordCourse();
  EXPECT_EQ(courses().courseQueue(), prefixed("l-", keysDown(61, 2)));
  EXPECT_FALSE(courses().localCourseDict().contains("1"));
  EXPECT_EQ(inMemory(), 60u);
  EXPECT_EQ(MaxCourseCountInMem, 60);
}

TEST_F(RecordQueue, EvictedCourseStaysListedAndComesBackFromItsFile) {
  const Course first = add(1, "first");
  addRooms(2, 61);
  courses().removeOverMuchRecordCourse();
  EXPECT_EQ(courses().getLocalCourseCount(), 61u);
  const Course back = courses().getLocalCourseWithIndex(60);
  ASSERT_NE(back, nullptr);
  EXPECT_NE(back, first);
  EXPECT_EQ(back->title, "first");
  EXPECT_EQ(courses().courseQueue().front(), "l-1");
  courses().removeOverMuchRecordCourse();
  EXPECT_FALSE(courses().localCourseDict().contains("2")) << "now this one is the oldest";
}

TEST_F(RecordQueue, LocalAndRecordedCoursesShareTheSixty) {
  addRooms(1, 30);
  fillCloud(1001, 31);
  addRooms(31, 32);
  courses().removeOverMuchRecordCourse();
  EXPECT_EQ(inMemory(), 60u);
  EXPECT_EQ(courses().localCourseDict().size(), 29u);
  EXPECT_EQ(courses().cloudCourseDict().size(), 31u);
}

TEST_F(RecordQueue, CourseThatIsBeingPublishedIsSpared) {
  add(1, "handed over", kHandedOver);
  addRooms(2, 61);
  courses().removeOverMuchRecordCourse();
  EXPECT_TRUE(courses().localCourseDict().contains("1"));
  EXPECT_FALSE(courses().localCourseDict().contains("2"));
  EXPECT_EQ(courses().courseQueue().front(), "l-1");
  EXPECT_EQ(courses().courseQueue().size(), 60u);
}

TEST_F(RecordQueue, AnyStatusButThatOfANewCourseSpares) {
  add(1, "", 0);
  add(2, "", 98);
  add(3, "", 100);
  addRooms(4, 63);
  courses().removeOverMuchRecordCourse();
  EXPECT_EQ(courses().courseQueue().size(), 60u);
  for (const auto* key : {"1", "2", "3"}) EXPECT_TRUE(courses().localCourseDict().contains(key)) << key;
  for (const auto* key : {"4", "5", "6"}) EXPECT_FALSE(courses().localCourseDict().contains(key)) << key;
}

TEST_F(RecordQueue, RecordedCoursesAreNeverSpared) {
  fillCloud(1, 61);
  for (const auto& [key, course] : courses().cloudCourseDict()) course->publishStatus = kHandedOver;
  courses().removeOverMuchRecordCourse();
  EXPECT_EQ(courses().cloudCourseDict().size(), 60u);
  EXPECT_FALSE(courses().cloudCourseDict().contains("1"));
}

TEST_F(RecordQueue, NothingIsEvictedWhenAllAreBeingPublished) {
  for (std::int64_t room = 1; room <= 65; ++room) add(room, "", kHandedOver);
  courses().removeOverMuchRecordCourse();
  EXPECT_EQ(inMemory(), 65u);
  EXPECT_EQ(courses().courseQueue().size(), 65u);
  // 66 looks at 65 entries: all turned round once, and the last one once more.
  EXPECT_EQ(courses().courseQueue().front(), "l-1");
  EXPECT_EQ(courses().courseQueue().back(), "l-2");
}

TEST_F(RecordQueue, StaleEntryAtTheEndStopsTheEviction) {
  addRooms(1, 64);
  Keys queue = courses().courseQueue();
  queue.emplace_back("c-777");
  courses().setCourseQueue(queue);
  courses().removeOverMuchRecordCourse();
  EXPECT_EQ(courses().courseQueue(), queue);
  EXPECT_EQ(inMemory(), 64u);
}

TEST_F(RecordQueue, LocalRecordIsEvictedWhateverTheEntrysPrefix) {
  add(1);
  fillCloud(1, 61);  // c-1 is the last but one, l-1 the last
  Keys queue = courses().courseQueue();
  queue.pop_back();  // now c-1 is the last
  ASSERT_EQ(queue.back(), "c-1");
  courses().setCourseQueue(queue);
  courses().removeOverMuchRecordCourse();
  EXPECT_FALSE(courses().localCourseDict().contains("1"));
  EXPECT_TRUE(courses().cloudCourseDict().contains("1"));
  EXPECT_EQ(courses().courseQueue().size(), 60u);
}

TEST_F(RecordQueue, DeletingARecordedCourseForgetsTheLocalRecordOfItsNumber) {
  add(1);
  fillCloud(1, 2);
  const std::string folder = courses().cloudCourseFolder().value();
  writePropertyListFile(folder + "/1.plist", makeCloud(1)->jsonObject(), Durability::Plain);
  EXPECT_TRUE(courses().deleteCloudCourse(makeCloud(1)));
  EXPECT_EQ(courses().cloudCourseList(), Keys{"2"});
  EXPECT_FALSE(courses().cloudCourseDict().contains("1"));
  EXPECT_FALSE(platform.files().contents(folder + "/1.plist"));
  EXPECT_EQ(readArrayFile(folder + "/cloudCourse.plist"), json::array{"2"});
  EXPECT_EQ(courses().courseQueue(), (Keys{"c-2", "c-1"})) << "its own entry stays, the local one goes";
  EXPECT_TRUE(courses().localCourseDict().empty());
  EXPECT_EQ(courses().localCourseList(), Keys{"1"});
  EXPECT_TRUE(courses().deleteCloudCourse(nullptr));
  EXPECT_TRUE(courses().deleteCloudCourse(makeCloud(-3)));
}

}  // namespace

}  // namespace orv::record_queue_test
