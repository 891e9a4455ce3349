#include "orvnetwork/course/detail/MergedKeys.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

namespace orv::merged_keys_test {
namespace {

using Keys = std::vector<std::string>;

TEST(MergedKeys, WhatTheOtherHasMadeOfTheListIsTakenOver) {
  EXPECT_EQ(mergedKeys({"2", "1"}, {"2", "1"}, {"3", "1", "2"}), (Keys{"3", "1", "2"}));
  EXPECT_EQ(mergedKeys({"2", "1"}, {"2", "1"}, {"1"}), (Keys{"1"}));
  EXPECT_EQ(mergedKeys({"1"}, {"1"}, {}), Keys());
}

TEST(MergedKeys, OurOwnAdditionsComeFirstAndOurDeletionsHold) {
  EXPECT_EQ(mergedKeys({"2", "1"}, {"4", "2", "1"}, {"3", "2", "1"}), (Keys{"4", "3", "2", "1"}));
  EXPECT_EQ(mergedKeys({"2", "1"}, {"1"}, {"3", "2", "1"}), (Keys{"3", "1"}));
  EXPECT_EQ(mergedKeys({"2", "1"}, {"2"}, {"1"}), Keys());
}

TEST(MergedKeys, WhatBothHaveAddedIsThereOnce) {
  EXPECT_EQ(mergedKeys({}, {"1", "2"}, {"2", "3"}), (Keys{"1", "2", "3"}));
  EXPECT_EQ(mergedKeys({}, {"1"}, {"2", "2"}), (Keys{"1", "2"}));
}

TEST(MergedKeys, EachKeyFollowsTheOneThatHasChangedIt) {
  std::mt19937 random(20240131);
  const auto some = [&random] {
    Keys keys;
    for (int key = 0; key < 12; ++key) {
      if (random() % 2 == 0) keys.insert(keys.begin(), std::to_string(key));
    }
    return keys;
  };
  for (int round = 0; round < 2000; ++round) {
    const Keys base = some(), ours = some(), theirs = some();
    const Keys merged = mergedKeys(base, ours, theirs);
    const std::set<std::string> b(base.begin(), base.end()), o(ours.begin(), ours.end()),
        t(theirs.begin(), theirs.end()), m(merged.begin(), merged.end());
    ASSERT_EQ(m.size(), merged.size());
    for (int number = 0; number < 12; ++number) {
      const std::string key = std::to_string(number);
      const bool weChanged = b.contains(key) != o.contains(key);
      ASSERT_EQ(m.contains(key), weChanged ? o.contains(key) : t.contains(key)) << "round " << round;
    }
  }
}

}  // namespace
}  // namespace orv::merged_keys_test
