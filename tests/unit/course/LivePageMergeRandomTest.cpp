#include <orvnetwork/course/detail/LivePageMerge.h>
#include <orvnetwork/data/JsonIndex.h>

#include "PageGenerator.h"
#include <tests/support/Environment.h>

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace orv::live_page_merge_random_test {
namespace {

using notation::behind;
using notation::indexIn;
using notation::Keys;

/// Half of all records are in memory, always the same ones.
bool isInMemory(const std::string& key) {
  return std::stoll(key) % 2 == 0;
}

/// The rules of the merge one after the other on plain vectors.
struct PlainMerge {
  std::array<Keys, 6> lists;
  std::size_t status = 1;
  OptionalString cursor;
  Keys effects;

  Keys& list() { return lists[status]; }
  void tell(const std::string& what, const std::string& key) {
    std::string sizes;
    for (const Keys& each : lists) sizes += " " + std::to_string(each.size());
    effects.push_back(what + " " + key + " of" + sizes);
  }

  void takeOut(const std::string& key) {
    if (indexIn(list(), key) != notation::kNotFound) {
      tell("old", key);
      std::erase(list(), key);
      return;
    }
    tell("new", key);
    if (!isInMemory(key)) return;
    for (Keys& each : lists) {
      if (std::erase(each, key) > 0) return;
    }
  }

  void merge(std::int64_t page, const json::array& items) {
    std::int64_t last = -1;
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (!items[i].is_object()) continue;
      const std::string key = std::to_string(notation::roomOf(items[i]));
      takeOut(key);
      tell("store", key);
      const std::int64_t place =
          cursor ? behind(indexIn(list(), *cursor)) : 30 * (page - 1) + notation::firstEqualIndex(items, i);
      if (static_cast<std::uint64_t>(place) < list().size()) {
        list().insert(list().begin() + place, key);
      } else {
        list().push_back(key);
      }
      if (last < 0) {
        if (cursor) {
          last = behind(indexIn(list(), *cursor));
        } else if (page == 1) {
          last = 0;
        }
      }
      if (last >= 0 && last < place) {
        for (std::int64_t j = place - 1; j >= last; --j) {
          if (j >= static_cast<std::int64_t>(list().size())) break;
          tell("drop", list()[static_cast<std::size_t>(j)]);
          list().erase(list().begin() + j);
        }
      }
      cursor = key;
      last = behind(indexIn(list(), key));
    }
    if (!items.empty() && items.size() < 30) cutTail(last);
  }

  void cutTail(std::int64_t last) {
    if (last < 0) {
      if (!cursor) return;
      last = behind(indexIn(list(), *cursor));
    }
    while (list().size() > static_cast<std::uint64_t>(last)) {
      const std::string key = list().back();
      list().pop_back();
      tell("trim", key);
    }
  }
};

class Recorded : public LiveMergeEffects {
 public:
  explicit Recorded(std::span<KeyList> lists) : lists_(lists) {}
  bool findRecord(std::size_t, const std::string& key, bool known) override {
    tell(known ? "old" : "new", key);
    return isInMemory(key);
  }
  void storeRecord(std::size_t, const std::string& key) override { tell("store", key); }
  void dropVanished(const std::string& key) override { tell("drop", key); }
  void trim(const std::string& key) override { tell("trim", key); }

  Keys effects;

 private:
  void tell(const std::string& what, const std::string& key) {
    std::string sizes;
    for (const KeyList& each : lists_) sizes += " " + std::to_string(each.size());
    effects.push_back(what + " " + key + " of" + sizes);
  }
  std::span<KeyList> lists_;
};

/// ORV_MERGE_SEEDS=n tries more of them.
const auto kSeeds = static_cast<std::uint32_t>(test::numberFromEnvironment("ORV_MERGE_SEEDS", 3000));

TEST(LivePageMergeRandom, FollowsTheRulesOnPlainVectors) {
  for (std::uint32_t seed = 1; seed <= kSeeds; ++seed) {
    notation::PageGenerator generator(seed);
    PlainMerge plain;
    plain.status = 1 + generator.below(3);
    for (Keys& each : plain.lists) each = generator.oneIn(2) ? Keys{} : generator.list();
    plain.list() = generator.list();
    plain.cursor = generator.cursor(plain.list());
    std::array<KeyList, 6> lists;
    for (std::size_t i = 0; i < lists.size(); ++i) lists[i].assign(plain.lists[i]);
    OptionalString cursor = plain.cursor;
    std::int64_t number = generator.pageNumber();
    for (int pages = 0; pages < 3; ++pages, ++number) {
      const json::array items = generator.page();
      const std::string before = notation::text(plain.list()) + "; cursor " + cursor.value_or("none");
      Recorded recorded(lists);
      plain.effects.clear();
      const std::string sent = json::serialize(items);
      const auto index = seed % 2 == 0 ? JsonIndex::read(sent) : nullptr;
      const PageItems page = index ? PageItems(number, index->root(sent)) : PageItems(number, items);
      mergeLivePage(lists, plain.status, cursor, page, recorded);
      plain.merge(number, items);
      const std::string what = "seed " + std::to_string(seed) + ", page " + std::to_string(number) + " " +
                               json::serialize(items) + " into " + before;
      ASSERT_EQ(recorded.effects, plain.effects) << what;
      for (std::size_t i = 0; i < lists.size(); ++i) ASSERT_EQ(lists[i].snapshot(), plain.lists[i]) << what;
      ASSERT_EQ(cursor, plain.cursor) << what;
    }
  }
}

}  // namespace
}  // namespace orv::live_page_merge_random_test
