#include <orvnetwork/course/detail/KeyListText.h>
#include <orvnetwork/data/PropertyList.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace orv::key_list_text_test {

namespace {

using Keys = std::vector<std::string>;

/// What the general writer makes of the lists.
std::string plainly(std::span<const KeyList> lists) {
  json::array stored;
  for (const KeyList& list : lists) {
    json::array keys;
    for (const std::string& key : list.snapshot()) keys.emplace_back(key);
    stored.emplace_back(std::move(keys));
  }
  return writePropertyList(lists.size() == 1 ? stored.front() : json::value(stored)).value();
}

std::string textOf(KeyListText& text, std::span<const KeyList> lists) {
  const KeyListText::Text made = text.of(lists);
  return made != nullptr ? *made : "none";
}

TEST(KeyListText, IsThatOfTheGeneralWriter) {
  for (const std::size_t count : {1u, 2u, 6u}) {
    std::vector<KeyList> lists(count);
    KeyListText text;
    EXPECT_EQ(textOf(text, lists), plainly(lists)) << "without keys";
    lists[0].assign({"5000123", "7", "-1", "0"});
    EXPECT_EQ(textOf(text, lists), plainly(lists));
    lists[count - 1].assign({"0", "1", "2", "3", "4", "5"});
    EXPECT_EQ(textOf(text, lists), plainly(lists)) << "keys as the lists are numbered";
    lists[0].assign({});
    EXPECT_EQ(textOf(text, lists), plainly(lists));
  }
}

TEST(KeyListText, FollowsEveryChange) {
  std::mt19937 random(20240417);
  std::vector<KeyList> lists(6);
  KeyListText text;
  KeyList other;
  for (int step = 0; step < 3000; ++step) {
    KeyList& list = lists[random() % lists.size()];
    const std::string key = std::to_string(random() % 60);
    const std::size_t place = random() % (list.size() + 2);
    switch (random() % 8) {
      case 0:
        list.remove(key);
        break;
      case 1:
        list.removeAt(place);
        break;
      case 2:
        list.removeLast();
        break;
      case 3:
        other.assign({key, "8", "9"});
        list.swap(other);
        break;
      case 4:
        if (random() % 10 == 0) list.assign({});
        break;
      default:
        list.insert(place, key);
    }
    ASSERT_EQ(textOf(text, lists), plainly(lists)) << "step " << step;
  }
}

TEST(KeyListText, IsMadeOncePerChange) {
  std::vector<KeyList> lists(1);
  lists[0].assign({"1", "2"});
  KeyListText text;
  for (int times = 0; times < 3; ++times) EXPECT_EQ(textOf(text, lists), plainly(lists));
  EXPECT_EQ(text.made(), 1u);
  lists[0].append("3");
  for (int times = 0; times < 3; ++times) EXPECT_EQ(textOf(text, lists), plainly(lists));
  EXPECT_EQ(text.made(), 2u);
  EXPECT_FALSE(lists[0].remove("4"));
  lists[0].removeAt(3);
  text.of(lists);
  EXPECT_EQ(text.made(), 2u) << "nothing has changed";
}

TEST(KeyListText, IsTheSameHoweverManyKeysAreMadeAtOnce) {
  for (const std::size_t atOnce : {1u, 2u, 3u, 7u, 100u}) {
    std::vector<KeyList> lists(4);
    lists[0].assign({"1", "22", "333", "4", "5", "6"});
    lists[2].assign({"7", "8", "9"});
    KeyListText text;
    std::size_t steps = 1;
    while (!text.makeSome(lists, atOnce)) ++steps;
    EXPECT_EQ(steps, (9 + atOnce - 1) / atOnce);
    EXPECT_EQ(textOf(text, lists), plainly(lists)) << atOnce;
    EXPECT_EQ(text.made(), 1u);
  }
}

TEST(KeyListText, IsBegunAnewWhenAListChangesMeanwhile) {
  std::vector<KeyList> lists(2);
  lists[0].assign({"1", "2", "3"});
  KeyListText text;
  EXPECT_FALSE(text.makeSome(lists, 2));
  lists[0].removeAt(0);
  while (!text.makeSome(lists, 2)) {
  }
  EXPECT_EQ(textOf(text, lists), plainly(lists));
  EXPECT_EQ(text.made(), 2u);
}

TEST(KeyListText, GoesOnWithWhatWasBegun) {
  std::vector<KeyList> lists(1);
  lists[0].assign({"1", "2", "3"});
  KeyListText text;
  EXPECT_FALSE(text.makeSome(lists, 2));
  EXPECT_EQ(textOf(text, lists), plainly(lists));
  EXPECT_EQ(text.made(), 1u);
}

TEST(KeyListText, OfAListThatChangesAllTheTimeIsMadeAtOnceInTheEnd) {
  std::vector<KeyList> lists(1);
  lists[0].assign({"1", "2", "3"});
  KeyListText text;
  for (int round = 0; round < 2; ++round) {
    int steps = 1;
    for (; !text.makeSome(lists, 1); ++steps) lists[0].append(std::to_string(steps));
    EXPECT_EQ(steps, 4) << "each time anew";
    EXPECT_EQ(textOf(text, lists), plainly(lists));
    lists[0].append("0");
  }
}

TEST(KeyListText, LeavesKeysThatAreNoNumbersToTheGeneralWriter) {
  for (const char* key : {"", "a", "1 ", "1<2", "&amp;", "课", "\x80"}) {
    std::vector<KeyList> lists(2);
    KeyListText text;
    lists[1].assign({"1", "2"});
    EXPECT_NE(text.of(lists), nullptr);
    lists[1].append(key);
    // An empty key has no other character; its line is the general writer's just the same.
    if (*key == 0) {
      EXPECT_EQ(textOf(text, lists), plainly(lists));
    } else {
      EXPECT_EQ(text.of(lists), nullptr) << key;
      EXPECT_EQ(text.of(lists), nullptr) << "again: " << key;
    }
    lists[1].removeLast();
    EXPECT_EQ(textOf(text, lists), plainly(lists)) << "after " << key;
  }
}

}  // namespace

}  // namespace orv::key_list_text_test
