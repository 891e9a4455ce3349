#include <orvnetwork/course/detail/RecordCache.h>

#include <gtest/gtest.h>

namespace orv::record_cache_test {

namespace {

RecordCache::Course makeCourse(std::int64_t room) {
  auto course = std::make_shared<OrvCourseModel>();
  course->roomID = room;
  return course;
}

TEST(RecordCache, BeginsEmpty) {
  const RecordCache cache;
  EXPECT_EQ(cache.size(), 0u);
  EXPECT_EQ(cache.find("1"), nullptr);
  EXPECT_FALSE(cache.contains("1"));
  EXPECT_FALSE(cache.containsRoom(1));
  EXPECT_TRUE(cache.snapshot().empty());
}

TEST(RecordCache, GivesTheVeryRecordThatItWasGiven) {
  RecordCache cache;
  const auto course = makeCourse(1);
  cache.set("1", course);
  EXPECT_EQ(cache.find("1"), course);
  EXPECT_TRUE(cache.contains("1"));
  EXPECT_EQ(cache.size(), 1u);
  EXPECT_EQ(course.use_count(), 2);
}

TEST(RecordCache, LaterRecordOfAKeyReplacesTheEarlier) {
  RecordCache cache;
  const auto first = makeCourse(1), second = makeCourse(1);
  cache.set("1", first);
  cache.set("1", second);
  EXPECT_EQ(cache.find("1"), second);
  EXPECT_EQ(cache.size(), 1u);
  EXPECT_EQ(first.use_count(), 1);
}

TEST(RecordCache, NullRemoves) {
  RecordCache cache;
  cache.set("1", makeCourse(1));
  cache.set("1", nullptr);
  cache.set("2", nullptr);
  EXPECT_EQ(cache.size(), 0u);
}

TEST(RecordCache, RemovesOneAndIgnoresWhatIsNotThere) {
  RecordCache cache;
  const auto course = makeCourse(1);
  cache.set("1", course);
  cache.set("2", makeCourse(2));
  cache.remove("1");
  cache.remove("1");
  cache.remove("");
  EXPECT_EQ(cache.find("1"), nullptr);
  EXPECT_TRUE(cache.contains("2"));
  EXPECT_EQ(course.use_count(), 1);
}

TEST(RecordCache, RoomIsFoundByTheNumberOfAnyKey) {
  RecordCache cache;
  cache.set("0012", makeCourse(5));
  cache.set("-3", makeCourse(6));
  cache.set("x", makeCourse(7));
  EXPECT_TRUE(cache.containsRoom(12));
  EXPECT_TRUE(cache.containsRoom(-3));
  EXPECT_TRUE(cache.containsRoom(0));
  EXPECT_FALSE(cache.containsRoom(5)) << "not by what the record says";
}

TEST(RecordCache, FindsARecordByWhatItHolds) {
  RecordCache cache;
  cache.set("1", makeCourse(1));
  cache.set("2", makeCourse(2));
  const auto found = cache.findIf([](const OrvCourseModel& course) { return course.roomID == 2; });
  EXPECT_EQ(found, cache.find("2"));
  EXPECT_EQ(cache.findIf([](const OrvCourseModel&) { return false; }), nullptr);
}

TEST(RecordCache, AssignsAllAtOnceWithoutNulls) {
  RecordCache cache;
  cache.set("1", makeCourse(1));
  const auto two = makeCourse(2);
  cache.assign({{"2", two}, {"3", nullptr}});
  EXPECT_EQ(cache.snapshot(), (RecordCache::Courses{{"2", two}}));
  cache.clear();
  EXPECT_EQ(cache.size(), 0u);
}

TEST(RecordCache, SnapshotDoesNotFollowTheCache) {
  RecordCache cache;
  cache.set("1", makeCourse(1));
  const auto snapshot = cache.snapshot();
  cache.clear();
  EXPECT_EQ(snapshot.size(), 1u);
}

TEST(RecordCache, ChangesPlacesWithAnotherOne) {
  RecordCache cache, other;
  cache.set("1", makeCourse(1));
  cache.swap(other);
  cache.swap(cache);
  EXPECT_EQ(cache.size(), 0u);
  EXPECT_TRUE(other.contains("1"));
}

/// A record whose end asks the cache, as a host's subclass may.
struct Asking : OrvCourseModel {
  explicit Asking(RecordCache& asked) : cache(asked) {}
  ~Asking() override { cache.size(); }
  RecordCache& cache;
};

TEST(RecordCache, RecordsEndWhenNothingIsLocked) {
  RecordCache cache;
  cache.set("1", std::make_shared<Asking>(cache));
  cache.set("1", std::make_shared<Asking>(cache));
  cache.remove("1");
  cache.set("1", std::make_shared<Asking>(cache));
  cache.assign({});
  EXPECT_EQ(cache.size(), 0u);
}

}  // namespace

}  // namespace orv::record_cache_test
