#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/course/detail/CourseCollections.h>
#include <orvnetwork/course/detail/CourseKey.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace orv::eviction_test {
namespace {

using Keys = std::vector<std::string>;

/// A record that writes down, when it ends, which one it was.
struct Traced : OrvCourseModel {
  Traced(Keys& evicted, std::string entry) : evicted_(evicted), entry_(std::move(entry)) {}
  ~Traced() override { evicted_.push_back(entry_); }

 private:
  Keys& evicted_;
  const std::string entry_;
};

class Eviction : public ::testing::Test {
 protected:
  ~Eviction() override { forgetAll(); }

  void forgetAll() {
    CourseCollections left;
    courses.swapContents(left);
  }

  void putLocal(const std::string& key, std::uint64_t publishStatus) {
    const auto course = std::make_shared<Traced>(records.evicted, localQueueKey(key));
    course->publishStatus = publishStatus;
    records.local.set(key, course);
  }
  void putCloud(const std::string& key) {
    records.cloud.set(key, std::make_shared<Traced>(records.evicted, cloudQueueKey(key)));
  }
  void addCloud(int first, int count) {
    for (int room = first; room < first + count; ++room) {
      putCloud(courseKey(room));
      queue.appendIfAbsent(cloudQueueKey(courseKey(room)));
    }
  }
  void addLocal(int first, int count, std::uint64_t publishStatus) {
    for (int room = first; room < first + count; ++room) {
      putLocal(courseKey(room), publishStatus);
      queue.appendIfAbsent(localQueueKey(courseKey(room)));
    }
  }
  void addStale(int room) { queue.appendIfAbsent(cloudQueueKey(courseKey(room))); }

  void evict() { courses.evict(); }

  CourseCollections courses;
  RecencyQueue& queue = courses.queue;
  struct {
    RecordCache& local;
    RecordCache& cloud;
    Keys evicted;
  } records{courses.local.memory(), courses.cloud.memory(), {}};
};

TEST_F(Eviction, LeavesSixtyRecordsAlone) {
  addCloud(1, 60);
  evict();
  EXPECT_EQ(queue.size(), 60u);
  EXPECT_EQ(records.evicted, Keys{});
}

TEST_F(Eviction, TakesTheLeastRecentlyUsedOfSixtyOne) {
  addCloud(1, 61);
  evict();
  EXPECT_EQ(records.evicted, Keys{"c-61"});
  EXPECT_EQ(queue.size(), 60u);
  EXPECT_EQ(queue.last(), "c-60");
  EXPECT_FALSE(records.cloud.contains("61"));
}

TEST_F(Eviction, GoesOnUntilSixtyAreLeft) {
  addCloud(1, 63);
  addLocal(901, 2, publish_status::kNewLocal);
  evict();
  EXPECT_EQ(records.evicted, (Keys{"l-902", "l-901", "c-63", "c-62", "c-61"}));
  EXPECT_EQ(queue.size(), 60u);
}

TEST_F(Eviction, BringsOneHundredAndTwentyOneDownToSixtyAtOnce) {
  addCloud(1, 121);
  evict();
  EXPECT_EQ(records.evicted.size(), 61u);
  EXPECT_EQ(queue.size(), 60u);
}

TEST_F(Eviction, TakesAboutHalfOfThousandsAtATime) {
  // Looks are counted against the queue as it is, which loses one with each.
  addCloud(1, 5000);
  evict();
  EXPECT_EQ(queue.size(), 2499u);
  evict();
  EXPECT_EQ(queue.size(), 1249u);
  for (int times = 0; times < 5; ++times) evict();
  EXPECT_EQ(queue.size(), 60u);
}

TEST_F(Eviction, IsAskedBetweenEntriesWhetherItGoesOn) {
  addCloud(1, 121);
  std::vector<std::size_t> sizes;
  courses.evict([&] {
    sizes.push_back(queue.size());
    return sizes.size() < 3;
  });
  EXPECT_EQ(sizes, (std::vector<std::size_t>{120, 119, 118}));
  EXPECT_EQ(queue.size(), 118u);
  EXPECT_EQ(records.cloud.size(), 118u);
}

TEST_F(Eviction, PutsAnExemptOneInFrontAndTakesTheNext) {
  addCloud(1, 60);
  addLocal(900, 1, publish_status::kPublished);
  evict();
  EXPECT_EQ(records.evicted, Keys{"c-60"});
  EXPECT_EQ(queue.size(), 60u);
  EXPECT_EQ(queue.snapshot().front(), "l-900");
  EXPECT_TRUE(records.local.contains("900"));
}

TEST_F(Eviction, KeepsAllWhenAllAreExempt) {
  addLocal(1, 61, publish_status::kPublished);
  evict();
  EXPECT_EQ(records.evicted, Keys{});
  EXPECT_EQ(queue.size(), 61u);
}

TEST_F(Eviction, LooksAtOneEntryMoreThanTheQueueHolds) {
  addLocal(1, 61, publish_status::kPublished);
  evict();
  // 62 moves to the front: a whole turn and one more.
  EXPECT_EQ(queue.snapshot()[0], "l-61");
  EXPECT_EQ(queue.snapshot()[1], "l-1");
  EXPECT_EQ(queue.last(), "l-60");
}

TEST_F(Eviction, ReachesARecordBehindExemptOnes) {
  addCloud(1, 1);
  addLocal(100, 60, 0);
  evict();
  EXPECT_EQ(records.evicted, Keys{"c-1"});
  EXPECT_EQ(queue.size(), 60u);
  EXPECT_EQ(queue.snapshot().front(), "l-100") << "all sixty were turned once";
}

TEST_F(Eviction, CountsItsPassAgainstAQueueThatShrinks) {
  // 45 looks at exempt ones, then 18 evictions: the 64th look would be one too many for 62 entries.
  addCloud(1, 35);
  addLocal(100, 45, publish_status::kPublished);
  evict();
  EXPECT_EQ(records.evicted.size(), 18u);
  EXPECT_EQ(queue.size(), 62u);
}

TEST_F(Eviction, EndsBeforeSixtyWhenMostAreExempt) {
  // 100 looks at exempt ones, and 16 evictions leave fewer entries than looks were made.
  addCloud(1, 30);
  addLocal(1000, 100, publish_status::kPublished);
  evict();
  EXPECT_EQ(records.evicted.size(), 16u);
  EXPECT_EQ(queue.size(), 114u);
}

TEST_F(Eviction, StaysAtAnEntryWithoutARecord) {
  addCloud(1, 61);
  addStale(500);
  evict();
  EXPECT_EQ(records.evicted, Keys{});
  EXPECT_EQ(queue.size(), 62u);
  EXPECT_EQ(queue.last(), "c-500");
}

TEST_F(Eviction, StopsAtAStaleEntryBehindOthers) {
  addCloud(1, 61);
  addStale(500);
  addCloud(601, 2);
  addLocal(700, 1, publish_status::kPublished);
  evict();
  EXPECT_EQ(records.evicted, (Keys{"c-602", "c-601"}));
  EXPECT_EQ(queue.last(), "c-500");
  EXPECT_EQ(queue.snapshot().front(), "l-700");
}

TEST_F(Eviction, DoesNotMindStaleEntriesThatItDoesNotReach) {
  addStale(500);
  addCloud(1, 60);
  evict();
  EXPECT_EQ(records.evicted, Keys{"c-60"});
  EXPECT_EQ(queue.snapshot().front(), "c-500");
}

TEST_F(Eviction, LooksAmongLocalRecordsFirstWhateverTheEntryStandsFor) {
  addCloud(1, 61);
  putLocal("61", publish_status::kNewLocal);
  evict();
  EXPECT_EQ(records.evicted, Keys{"l-61"});
  EXPECT_TRUE(records.cloud.contains("61"));
  EXPECT_FALSE(queue.contains("c-61")) << "the entry goes, although its own record stays";
}

TEST_F(Eviction, KeepsARecordedCourseWhoseRoomIsExemptAsALocalOne) {
  addCloud(1, 61);
  putLocal("61", publish_status::kPublished);
  evict();
  EXPECT_EQ(records.evicted, Keys{"c-60"});
  EXPECT_EQ(queue.snapshot().front(), "c-61");
}

TEST_F(Eviction, TakesTheRecordedCourseForALocalEntryWithoutARecord) {
  addCloud(1, 60);
  queue.appendIfAbsent("l-5");
  evict();
  EXPECT_EQ(records.evicted, Keys{"c-5"});
  EXPECT_TRUE(queue.contains("c-5"));
  EXPECT_EQ(queue.size(), 60u);
}

/// The rule as a counter that starts at -1, on records in memory: local ones with their publish status, and recorded.
struct PlainRecords {
  std::map<std::string, int> local;
  std::set<std::string> cloud;
  Keys evicted;
};

void evictPlainly(Keys& queue, PlainRecords& records) {
  for (long counter = -1;;) {
    if (queue.size() < 61) return;
    const std::string entry = queue.back();
    const std::string key = entry.substr(entry.rfind('-') + 1);
    if (records.local.contains(key)) {
      queue.pop_back();
      if (records.local[key] != 99) {
        queue.insert(queue.begin(), entry);
      } else {
        records.local.erase(key);
        records.evicted.push_back(localQueueKey(key));
      }
    } else if (records.cloud.contains(key)) {
      records.cloud.erase(key);
      records.evicted.push_back(cloudQueueKey(key));
      queue.pop_back();
    }
    ++counter;
    if (counter >= static_cast<long>(queue.size())) return;
  }
}

TEST_F(Eviction, FollowsTheCounterOnRandomQueues) {
  std::mt19937 random(20240209);
  for (int round = 0; round < 3000; ++round) {
    PlainRecords plainRecords;
    Keys plain;
    forgetAll();
    records.evicted.clear();
    const auto size = 55 + random() % 90;
    const auto exemptPercent = random() % 101;
    const auto stalePercent = random() % 4 == 0 ? random() % 5 : 0;
    for (unsigned i = 0; i < size; ++i) {
      const std::string key = courseKey(random() % 2 == 0 ? i : random() % size);
      const bool isLocal = random() % 100 < exemptPercent;
      const std::string entry = isLocal ? localQueueKey(key) : cloudQueueKey(key);
      if (std::find(plain.begin(), plain.end(), entry) != plain.end()) continue;
      plain.push_back(entry);
      if (random() % 100 < stalePercent) continue;
      if (isLocal) {
        plainRecords.local[key] = random() % 10 == 0 ? 99 : 1;
      } else {
        plainRecords.cloud.insert(key);
      }
    }
    queue.assign(plain);
    for (const auto& [key, publishStatus] : plainRecords.local) {
      putLocal(key, static_cast<std::uint64_t>(publishStatus));
    }
    for (const std::string& key : plainRecords.cloud) putCloud(key);
    evict();
    evictPlainly(plain, plainRecords);
    ASSERT_EQ(queue.snapshot(), plain) << "round " << round;
    ASSERT_EQ(records.evicted, plainRecords.evicted) << "round " << round;
  }
}

/// A live record that, when it ends, looks for its entry.
struct TracedLive : OrvCourseModel {
  TracedLive(RecencyQueue& queue, Keys& evicted, std::string key)
      : queue_(queue), evicted_(evicted), key_(std::move(key)) {}
  ~TracedLive() override {
    EXPECT_TRUE(queue_.contains(key_)) << "the record goes first, then its entry";
    evicted_.push_back(key_);
  }

 private:
  RecencyQueue& queue_;
  Keys& evicted_;
  const std::string key_;
};

class LiveEviction : public ::testing::Test {
 protected:
  ~LiveEviction() override { courses.live.memory().clear(); }

  void use(int rooms) {
    for (int room = 1; room <= rooms; ++room) {
      const std::string key = courseKey(room);
      queue.moveToFront(key);
      courses.live.memory().set(key, std::make_shared<TracedLive>(queue, evicted, key));
    }
  }

  Keys evicted;
  CourseCollections courses;
  RecencyQueue& queue = courses.liveQueue;
};

TEST_F(LiveEviction, TakesTheLeastRecentlyUsedUntilSixtyAreLeft) {
  use(63);
  courses.evictLive();
  EXPECT_EQ(evicted, (Keys{"1", "2", "3"}));
  EXPECT_EQ(queue.size(), 60u);
  EXPECT_EQ(queue.last(), "4");
  EXPECT_FALSE(courses.live.memory().contains("3"));
  EXPECT_TRUE(courses.live.memory().contains("4"));
}

TEST_F(LiveEviction, IsAskedBetweenEntriesWhetherItGoesOn) {
  use(90);
  int asked = 0;
  courses.evictLive([&] { return ++asked < 3; });
  EXPECT_EQ(asked, 3);
  EXPECT_EQ(courses.liveQueue.size(), 87u);
  EXPECT_EQ(courses.live.memory().size(), 87u);
}

TEST_F(LiveEviction, LeavesSixtyAlone) {
  use(60);
  courses.evictLive();
  EXPECT_EQ(evicted, Keys{});
  EXPECT_EQ(queue.size(), 60u);
}

}  // namespace
}  // namespace orv::eviction_test
