#include <orvnetwork/course/detail/RecencyQueue.h>

#include "RepeatedRead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <list>
#include <random>
#include <thread>

namespace orv::recency_queue_test {
namespace {

using Keys = std::vector<std::string>;

TEST(RecencyQueue, IsEmptyAtFirst) {
  RecencyQueue queue;
  EXPECT_EQ(queue.size(), 0u);
  EXPECT_EQ(queue.last(), std::nullopt);
  queue.removeLast();
  EXPECT_FALSE(queue.remove("a"));
  EXPECT_EQ(queue.snapshot(), Keys{});
}

TEST(RecencyQueue, HasTheMostRecentlyUsedKeyInFront) {
  RecencyQueue queue;
  for (const char* key : {"a", "b", "c"}) queue.moveToFront(key);
  EXPECT_EQ(queue.snapshot(), (Keys{"c", "b", "a"}));
  queue.moveToFront("a");
  EXPECT_EQ(queue.snapshot(), (Keys{"a", "c", "b"}));
  queue.moveToFront("a");
  EXPECT_EQ(queue.snapshot(), (Keys{"a", "c", "b"}));
  EXPECT_EQ(queue.last(), "b");
}

TEST(RecencyQueue, AppendsANewKeyAndLeavesAnOldOneWhereItIs) {
  RecencyQueue queue;
  queue.appendIfAbsent("a");
  queue.appendIfAbsent("b");
  queue.appendIfAbsent("a");
  EXPECT_EQ(queue.snapshot(), (Keys{"a", "b"}));
  queue.moveToFront("c");
  queue.appendIfAbsent("c");
  EXPECT_EQ(queue.snapshot(), (Keys{"c", "a", "b"}));
}

TEST(RecencyQueue, RemovesAKeyFromAnywhere) {
  RecencyQueue queue;
  queue.assign({"a", "b", "c", "d"});
  EXPECT_TRUE(queue.remove("b"));
  EXPECT_FALSE(queue.remove("b"));
  EXPECT_FALSE(queue.contains("b"));
  EXPECT_TRUE(queue.contains("c"));
  queue.removeLast();
  EXPECT_FALSE(queue.contains("d"));
  EXPECT_EQ(queue.snapshot(), (Keys{"a", "c"}));
  EXPECT_EQ(queue.size(), 2u);
}

TEST(RecencyQueue, KeepsTheFirstOfEqualKeysThatAreAssigned) {
  RecencyQueue queue;
  queue.moveToFront("old");
  queue.assign({"a", "b", "a", "c", "b"});
  EXPECT_EQ(queue.snapshot(), (Keys{"a", "b", "c"}));
  EXPECT_FALSE(queue.contains("old"));
  queue.clear();
  EXPECT_EQ(queue.size(), 0u);
  EXPECT_FALSE(queue.contains("a"));
  queue.moveToFront("a");
  EXPECT_EQ(queue.snapshot(), Keys{"a"});
}

TEST(RecencyQueue, TakesItsOwnSnapshotBack) {
  RecencyQueue queue;
  queue.assign({"a", "b"});
  queue.assign(queue.snapshot());
  EXPECT_EQ(queue.snapshot(), (Keys{"a", "b"}));
}

/// The same on a plain vector.
class PlainQueue {
 public:
  void moveToFront(const std::string& key) {
    remove(key);
    keys.insert(keys.begin(), key);
  }
  void appendIfAbsent(const std::string& key) {
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
  }
  void remove(const std::string& key) { std::erase(keys, key); }
  void removeLast() {
    if (!keys.empty()) keys.pop_back();
  }
  Keys keys;
};

TEST(RecencyQueue, BehavesLikeAPlainVectorOnRandomWalks) {
  std::mt19937 random(20240208);
  RecencyQueue queue;
  PlainQueue plain;
  for (int step = 0; step < 20000; ++step) {
    // Long keys too, which lie outside the string object.
    const std::string key =
        std::string(random() % 2 == 0 ? "c-" : "l-900000000000000000") + std::to_string(random() % 40);
    switch (random() % 5) {
      case 0:
        queue.moveToFront(key);
        plain.moveToFront(key);
        break;
      case 1:
      case 2:
        queue.appendIfAbsent(key);
        plain.appendIfAbsent(key);
        break;
      case 3:
        queue.remove(key);
        plain.remove(key);
        break;
      default:
        queue.removeLast();
        plain.removeLast();
    }
    ASSERT_EQ(queue.snapshot(), plain.keys) << "step " << step;
    ASSERT_EQ(queue.contains(key), std::find(plain.keys.begin(), plain.keys.end(), key) != plain.keys.end());
    ASSERT_EQ(queue.last(), plain.keys.empty() ? std::nullopt : OptionalString(plain.keys.back()));
  }
}

TEST(RecencyQueue, IsReadWhileItIsChanged) {
  RecencyQueue queue;
  queue.assign({"a", "b"});
  std::atomic<bool> done = false;
  std::list<RepeatedRead> readers;
  readers.emplace_back(done, [&] { EXPECT_GE(queue.size(), 2u); });
  readers.emplace_back(done, [&] { EXPECT_TRUE(queue.contains("a")); });
  readers.emplace_back(done, [&] { EXPECT_TRUE(queue.last()); });
  readers.emplace_back(done, [&] { EXPECT_GE(queue.snapshot().size(), 2u); });
  const auto hasReadOften = [](const RepeatedRead& reader) { return reader.hasReadOften(); };
  for (int round = 0; !std::all_of(readers.begin(), readers.end(), hasReadOften); ++round) {
    queue.moveToFront(std::to_string(round));
    queue.moveToFront("b");
    queue.remove(std::to_string(round));
    queue.appendIfAbsent(std::to_string(round));
    queue.removeLast();
    if (round % 100 == 0) queue.assign(queue.snapshot());
    std::this_thread::yield();
  }
  done = true;
  readers.clear();
  EXPECT_EQ(queue.size(), 2u);
}

TEST(RecencyQueue, ChangesPlacesWithAnotherOne) {
  RecencyQueue queue, other;
  queue.assign({"a", "b"});
  other.assign({"c"});
  queue.swap(other);
  queue.swap(queue);
  EXPECT_EQ(queue.snapshot(), std::vector<std::string>{"c"});
  other.moveToFront("b");
  EXPECT_EQ(other.snapshot(), (std::vector<std::string>{"b", "a"}));
  EXPECT_FALSE(queue.contains("a"));
}

}  // namespace
}  // namespace orv::recency_queue_test
