#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/Eviction.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace orv {
namespace {

using Keys = std::vector<std::string>;

/// Records in memory: local ones with their publish status, and recorded ones.
class Records : public CachedRecords {
 public:
  bool localHas(const std::string& key) const override { return local.contains(key); }
  bool localIsExempt(const std::string& key) const override { return local.at(key) != 99; }
  void evictLocal(const std::string& key) override {
    local.erase(key);
    evicted.push_back(localQueueKey(key));
  }
  bool cloudHas(const std::string& key) const override { return cloud.contains(key); }
  void evictCloud(const std::string& key) override {
    cloud.erase(key);
    evicted.push_back(cloudQueueKey(key));
  }

  std::map<std::string, int> local;
  std::set<std::string> cloud;
  Keys evicted;
};

class Eviction : public testing::Test {
 protected:
  void addCloud(int first, int count) {
    for (int room = first; room < first + count; ++room) {
      records.cloud.insert(courseKey(room));
      queue.appendIfAbsent(cloudQueueKey(courseKey(room)));
    }
  }
  void addLocal(int first, int count, int publishStatus) {
    for (int room = first; room < first + count; ++room) {
      records.local[courseKey(room)] = publishStatus;
      queue.appendIfAbsent(localQueueKey(courseKey(room)));
    }
  }
  void addStale(int room) { queue.appendIfAbsent(cloudQueueKey(courseKey(room))); }

  void evict() { evictRecordCourses(queue, records); }

  RecencyQueue queue;
  Records records;
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
  addLocal(901, 2, 99);
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

TEST_F(Eviction, PutsAnExemptOneInFrontAndTakesTheNext) {
  addCloud(1, 60);
  addLocal(900, 1, 1);
  evict();
  EXPECT_EQ(records.evicted, Keys{"c-60"});
  EXPECT_EQ(queue.size(), 60u);
  EXPECT_EQ(queue.snapshot().front(), "l-900");
  EXPECT_TRUE(records.local.contains("900"));
}

TEST_F(Eviction, KeepsAllWhenAllAreExempt) {
  addLocal(1, 61, 1);
  evict();
  EXPECT_EQ(records.evicted, Keys{});
  EXPECT_EQ(queue.size(), 61u);
}

TEST_F(Eviction, LooksAtOneEntryMoreThanTheQueueHolds) {
  addLocal(1, 61, 1);
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
  addLocal(100, 45, 1);
  evict();
  EXPECT_EQ(records.evicted.size(), 18u);
  EXPECT_EQ(queue.size(), 62u);
}

TEST_F(Eviction, EndsBeforeSixtyWhenMostAreExempt) {
  // 100 looks at exempt ones, and 16 evictions leave fewer entries than looks were made.
  addCloud(1, 30);
  addLocal(1000, 100, 1);
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
  addLocal(700, 1, 1);
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
  records.local["61"] = 99;
  evict();
  EXPECT_EQ(records.evicted, Keys{"l-61"});
  EXPECT_TRUE(records.cloud.contains("61"));
  EXPECT_FALSE(queue.contains("c-61")) << "the entry goes, although its own record stays";
}

TEST_F(Eviction, KeepsARecordedCourseWhoseRoomIsExemptAsALocalOne) {
  addCloud(1, 61);
  records.local["61"] = 1;
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

/// The rule as a counter that starts at -1.
void evictPlainly(Keys& queue, Records& records) {
  for (long counter = -1;;) {
    if (queue.size() < 61) return;
    const std::string entry = queue.back();
    const std::string key = entry.substr(entry.rfind('-') + 1);
    if (records.local.contains(key)) {
      queue.pop_back();
      if (records.local[key] != 99) {
        queue.insert(queue.begin(), entry);
      } else {
        records.evictLocal(key);
      }
    } else if (records.cloud.contains(key)) {
      records.evictCloud(key);
      queue.pop_back();
    }
    ++counter;
    if (counter >= static_cast<long>(queue.size())) return;
  }
}

TEST_F(Eviction, FollowsTheCounterOnRandomQueues) {
  std::mt19937 random(20240209);
  for (int round = 0; round < 3000; ++round) {
    Records plainRecords;
    Keys plain;
    records = {};
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
    records = plainRecords;
    evict();
    evictPlainly(plain, plainRecords);
    ASSERT_EQ(queue.snapshot(), plain) << "round " << round;
    ASSERT_EQ(records.evicted, plainRecords.evicted) << "round " << round;
  }
}

TEST(LiveEviction, TakesTheLeastRecentlyUsedUntilSixtyAreLeft) {
  RecencyQueue queue;
  for (int room = 1; room <= 63; ++room) queue.moveToFront(courseKey(room));
  Keys evicted;
  evictLiveCourses(queue, [&](const std::string& key) {
    EXPECT_TRUE(queue.contains(key)) << "the record goes first, then its entry";
    evicted.push_back(key);
  });
  EXPECT_EQ(evicted, (Keys{"1", "2", "3"}));
  EXPECT_EQ(queue.size(), 60u);
  EXPECT_EQ(queue.last(), "4");
}

TEST(LiveEviction, LeavesSixtyAlone) {
  RecencyQueue queue;
  for (int room = 1; room <= 60; ++room) queue.moveToFront(courseKey(room));
  evictLiveCourses(queue, [](const std::string& key) { ADD_FAILURE() << key; });
  EXPECT_EQ(queue.size(), 60u);
}

}  // namespace
}  // namespace orv
