#include <orvnetwork/course/detail/KeyList.h>

#include "RepeatedRead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <random>
#include <thread>
#include <utility>

namespace orv::key_list_test {
namespace {

using Keys = std::vector<std::string>;

Keys numbered(std::size_t count) {
  Keys keys;
  for (std::size_t i = 0; i < count; ++i) keys.push_back(std::to_string(i));
  return keys;
}

TEST(KeyList, IsEmptyAtFirst) {
  KeyList list;
  EXPECT_EQ(list.size(), 0u);
  EXPECT_EQ(list.at(0), std::nullopt);
  EXPECT_EQ(list.roomIDAt(0), std::nullopt);
  EXPECT_FALSE(list.contains(""));
  EXPECT_EQ(list.indexOf("1"), KeyList::npos);
  EXPECT_EQ(list.firstRoomBelow(100, 0), KeyList::npos);
  EXPECT_EQ(list.lastRoomAbove(-100, 0), KeyList::npos);
  list.removeLast();
  list.removeAt(0);
  EXPECT_FALSE(list.remove("1"));
  EXPECT_EQ(list.snapshot(), Keys{});
}

TEST(KeyList, InsertsInFrontOfThePosition) {
  KeyList list;
  list.append("2");
  list.insert(0, "1");
  list.insert(2, "4");
  list.insert(2, "3");
  EXPECT_EQ(list.snapshot(), (Keys{"1", "2", "3", "4"}));
  EXPECT_EQ(list.size(), 4u);
  EXPECT_EQ(list.at(2), "3");
  EXPECT_EQ(list.at(4), std::nullopt);
}

TEST(KeyList, AppendsForAPositionBehindTheEnd) {
  KeyList list;
  list.insert(7, "1");
  list.insert(KeyList::npos, "2");
  EXPECT_EQ(list.snapshot(), (Keys{"1", "2"}));
}

TEST(KeyList, HoldsAKeyMoreThanOnce) {
  KeyList list;
  list.assign({"7", "8", "7", "9", "7"});
  EXPECT_EQ(list.indexOf("7"), 0u);
  EXPECT_EQ(list.indexOf("7", 4), 0u) << "of several the first one counts, whatever the hint";
  list.removeAt(0);
  EXPECT_TRUE(list.contains("7"));
  EXPECT_EQ(list.indexOf("7", 3), 1u);
  list.removeLast();
  EXPECT_TRUE(list.contains("7"));
  list.removeAt(1);
  EXPECT_FALSE(list.contains("7"));
  EXPECT_EQ(list.snapshot(), (Keys{"8", "9"}));
}

TEST(KeyList, RemovesAKeyWhereverItStands) {
  KeyList list;
  list.assign({"7", "8", "7", "9", "7"});
  EXPECT_TRUE(list.remove("7"));
  EXPECT_FALSE(list.contains("7"));
  EXPECT_FALSE(list.remove("7"));
  EXPECT_EQ(list.snapshot(), (Keys{"8", "9"}));
  EXPECT_TRUE(list.remove("8", 1));
  EXPECT_EQ(list.snapshot(), Keys{"9"});
  EXPECT_EQ(list.size(), 1u);
}

TEST(KeyList, FindsAKeyFromAnyHint) {
  KeyList list;
  list.assign(numbered(50));
  for (std::size_t index = 0; index < 50; ++index) {
    for (const std::size_t hint :
         {std::size_t{0}, std::size_t{20}, std::size_t{49}, std::size_t{50}, KeyList::npos}) {
      EXPECT_EQ(list.indexOf(std::to_string(index), hint), index) << "hint " << hint;
    }
  }
}

TEST(KeyList, ReadsTheRoomsThatItsKeysName) {
  KeyList list;
  list.assign({"50", "-4", "007", "x"});
  EXPECT_EQ(list.roomIDAt(0), 50);
  EXPECT_EQ(list.roomIDAt(1), -4);
  EXPECT_EQ(list.roomIDAt(2), 7);
  EXPECT_EQ(list.roomIDAt(3), 0);
  EXPECT_EQ(list.roomIDAt(4), std::nullopt);
}

TEST(KeyList, FindsTheNextLowerRoomForward) {
  KeyList list;
  list.assign({"50", "40", "30", "40", "20"});
  EXPECT_EQ(list.firstRoomBelow(45, 0), 1u);
  EXPECT_EQ(list.firstRoomBelow(40, 0), 2u) << "an equal room is not below";
  EXPECT_EQ(list.firstRoomBelow(40, 3), 4u);
  EXPECT_EQ(list.firstRoomBelow(20, 0), KeyList::npos);
  EXPECT_EQ(list.firstRoomBelow(99, 5), KeyList::npos);
}

TEST(KeyList, FindsTheNextHigherRoomBackward) {
  KeyList list;
  list.assign({"50", "40", "30", "40", "20"});
  EXPECT_EQ(list.lastRoomAbove(35, 4), 3u);
  EXPECT_EQ(list.lastRoomAbove(35, 2), 1u);
  EXPECT_EQ(list.lastRoomAbove(35, 3), 3u) << "the place itself counts";
  EXPECT_EQ(list.lastRoomAbove(40, 3), 0u) << "an equal room is not above";
  EXPECT_EQ(list.lastRoomAbove(50, 4), KeyList::npos);
  EXPECT_EQ(list.lastRoomAbove(10, 99), 4u) << "a place behind the end starts at the end";
}

TEST(KeyList, ReplacesAllItsKeys) {
  KeyList list;
  list.assign({"1", "2"});
  list.assign({"3", "1", "3"});
  EXPECT_FALSE(list.contains("2"));
  EXPECT_EQ(list.snapshot(), (Keys{"3", "1", "3"}));
  list.assign(list.snapshot());
  EXPECT_EQ(list.snapshot(), (Keys{"3", "1", "3"}));
  list.clear();
  EXPECT_EQ(list.size(), 0u);
  EXPECT_FALSE(list.contains("3"));
}

TEST(KeyList, ChangesPlacesWithAnother) {
  KeyList one, other;
  one.assign({"1", "2", "1"});
  other.assign({"9"});
  one.swap(other);
  EXPECT_EQ(one.snapshot(), Keys{"9"});
  EXPECT_EQ(one.size(), 1u);
  EXPECT_EQ(other.snapshot(), (Keys{"1", "2", "1"}));
  EXPECT_EQ(other.size(), 3u);
  EXPECT_EQ(other.indexOf("2"), 1u);
  EXPECT_TRUE(other.remove("1"));
  EXPECT_EQ(other.roomIDAt(0), 2) << "what is known of each key went with it";
  other.swap(other);
  EXPECT_EQ(other.snapshot(), Keys{"2"});
}

TEST(KeyList, BehavesLikeAPlainVectorOnRandomWalks) {
  std::mt19937 random(20240207);
  KeyList list;
  Keys plain;
  for (int step = 0; step < 30000; ++step) {
    const std::string key = std::to_string(random() % 60);
    const std::size_t place = random() % 40;
    switch (random() % 6) {
      case 0:
      case 1:
        list.insert(place, key);
        plain.insert(plain.begin() + static_cast<std::ptrdiff_t>(std::min(place, plain.size())), key);
        break;
      case 2:
        list.append(key);
        plain.push_back(key);
        break;
      case 3:
        list.remove(key, place);
        std::erase(plain, key);
        break;
      case 4:
        list.removeAt(place);
        if (place < plain.size()) plain.erase(plain.begin() + static_cast<std::ptrdiff_t>(place));
        break;
      default:
        list.removeLast();
        if (!plain.empty()) plain.pop_back();
    }
    ASSERT_EQ(list.snapshot(), plain) << "step " << step;
    ASSERT_EQ(list.size(), plain.size());
    const auto found = std::find(plain.begin(), plain.end(), key);
    const auto index = static_cast<std::size_t>(found - plain.begin());
    ASSERT_EQ(list.contains(key), found != plain.end());
    ASSERT_EQ(list.indexOf(key, place), found == plain.end() ? KeyList::npos : index);
  }
}

TEST(KeyList, IsReadWhileItIsChanged) {
  KeyList list;
  list.assign(numbered(100));
  std::atomic<bool> done = false;
  // Each has a thread of its own, so that no operation hides behind the lock of another.
  std::list<RepeatedRead> readers;
  readers.emplace_back(done, [&] { EXPECT_LE(list.size(), 101u); });
  readers.emplace_back(done, [&] { EXPECT_TRUE(list.at(99)); });
  readers.emplace_back(done, [&] { EXPECT_TRUE(list.contains("0")); });
  readers.emplace_back(done, [&] { EXPECT_EQ(list.indexOf("0", 50), 0u); });
  readers.emplace_back(done, [&] { EXPECT_TRUE(list.roomIDAt(99)); });
  readers.emplace_back(done, [&] { EXPECT_EQ(list.firstRoomBelow(1, 0), 0u); });
  readers.emplace_back(done, [&] { EXPECT_EQ(list.lastRoomAbove(-1, 0), 0u); });
  readers.emplace_back(done, [&] { EXPECT_LE(list.snapshot().size(), 101u); });
  const auto hasReadOften = [](const RepeatedRead& reader) { return reader.hasReadOften(); };
  for (int round = 0; !std::all_of(readers.begin(), readers.end(), hasReadOften); ++round) {
    list.insert(50, std::to_string(1000 + round));
    list.removeLast();
    list.insert(50, "passing");
    list.remove("passing", 50);
    list.insert(50, "by");
    list.removeAt(50);
    if (round % 100 == 0) list.assign(list.snapshot());
    std::this_thread::yield();
  }
  done = true;
  readers.clear();
  EXPECT_EQ(list.size(), 100u);
}

TEST(KeyList, ShowsAPart) {
  KeyList list;
  list.assign(numbered(10));
  EXPECT_EQ(list.snapshot(2, 4), (Keys{"2", "3"}));
  EXPECT_EQ(list.snapshot(8, 99), (Keys{"8", "9"}));
  EXPECT_EQ(list.snapshot(10, 99), Keys{});
  EXPECT_EQ(list.snapshot(4, 2), Keys{});
}

TEST(KeyList, EveryChangeHasARevisionOfItsOwn) {
  KeyList list, other;
  std::uint64_t last = list.revision();
  const auto isAnother = [&] { return std::exchange(last, list.revision()) != list.revision(); };
  list.append("1");
  EXPECT_TRUE(isAnother());
  list.insert(0, "2");
  EXPECT_TRUE(isAnother());
  list.remove("2");
  EXPECT_TRUE(isAnother());
  list.removeAt(0);
  EXPECT_TRUE(isAnother());
  list.assign({"3"});
  EXPECT_TRUE(isAnother());
  list.removeLast();
  EXPECT_TRUE(isAnother());
  list.swap(other);
  EXPECT_TRUE(isAnother());
  list.remove("4");
  list.contains("4");
  list.snapshot();
  EXPECT_FALSE(isAnother());
}

TEST(KeyList, AppendsKeysOfEveryLength) {
  KeyList list;
  std::string expected = "text";
  for (const std::size_t length : {1u, 900u, 2u, 5'000u, 3u, 70'000u, 4u}) {
    const std::string key(length, '7');
    list.append(key);
    expected += "<" + key + "/>";
  }
  std::string text = "text";
  EXPECT_TRUE(list.appendNumbers(text, "<", "/>"));
  EXPECT_EQ(text, expected);
}

TEST(KeyList, AppendsKeysThatAreNumbersToAText) {
  KeyList list;
  std::string text = "keys:";
  EXPECT_FALSE(list.appendNumbers(text, "<", ">")) << "there is none";
  list.assign({"12", "-3"});
  EXPECT_TRUE(list.appendNumbers(text, " <", ">"));
  EXPECT_EQ(text, "keys: <12> <-3>");
  EXPECT_TRUE(list.appendNumbers(text, " <", ">", 1));
  EXPECT_EQ(text, "keys: <12> <-3> <-3>");
  EXPECT_TRUE(list.appendNumbers(text, " <", ">", 0, 1));
  EXPECT_EQ(text, "keys: <12> <-3> <-3> <12>");
  EXPECT_FALSE(list.appendNumbers(text, " <", ">", 1, 1)) << "none";
  EXPECT_FALSE(list.appendNumbers(text, " <", ">", 2, 9)) << "none";
  list.append("4a");
  EXPECT_FALSE(list.appendNumbers(text, "<", ">"));
}

}  // namespace
}  // namespace orv::key_list_test
