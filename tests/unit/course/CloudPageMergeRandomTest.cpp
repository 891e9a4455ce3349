#include <orvnetwork/course/detail/CloudPageMerge.h>
#include <orvnetwork/data/JsonIndex.h>

#include "PageGenerator.h"
#include <tests/support/Environment.h>

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

namespace orv::cloud_page_merge_random_test {
namespace {

using notation::behind;
using notation::indexIn;
using notation::Keys;

/// The rules of the merge one after the other on a plain vector, without any thought of what they cost.
struct PlainMerge {
  Keys list;
  OptionalString cursor;
  Keys effects;

  void tell(const std::string& what, const std::string& key) {
    effects.push_back(what + " " + key + " of " + std::to_string(list.size()));
  }
  std::int64_t count() const { return static_cast<std::int64_t>(list.size()); }
  void insertAt(std::int64_t place, const std::string& key) { list.insert(list.begin() + place, key); }
  std::int64_t roomAt(std::int64_t place) const { return std::stoll(list[static_cast<std::size_t>(place)]); }

  std::int64_t placeOfNew(std::int64_t expected, const std::string& key, std::int64_t room) {
    std::int64_t place = 0;
    if (expected >= count()) {
      list.push_back(key);
      return expected;
    }
    if (roomAt(expected) > room) {
      place = count() - 1;
      for (std::int64_t j = expected; j < count(); ++j) {
        if (roomAt(j) < room) {
          place = j - 1;
          break;
        }
      }
    } else {
      for (std::int64_t j = expected; j >= 0; --j) {
        if (roomAt(j) > room) {
          place = j;
          break;
        }
      }
    }
    insertAt(place, key);
    return place;
  }

  void merge(std::int64_t page, const json::array& items) {
    std::int64_t last = -1;
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (!items[i].is_object()) continue;
      const auto status = items[i].at("status").to_number<int>();
      const auto published = items[i].at("publishStatus").to_number<int>();
      if (status == 4) continue;
      if (status == 5 && published != 1 && published != 3) continue;
      const std::int64_t room = notation::roomOf(items[i]);
      const std::string key = std::to_string(room);
      std::int64_t place = indexIn(list, key);
      const bool known = place != notation::kNotFound;
      if (!known) place = placeOfNew(30 * (page - 1) + notation::firstEqualIndex(items, i), key, room);
      tell(known ? "old" : "new", key);
      if (last < 0) {
        if (cursor) {
          last = behind(indexIn(list, *cursor));
        } else if (page == 1) {
          last = 0;
        }
      }
      if (last >= 0 && last < place) {
        for (std::int64_t j = place - 1; j >= last; --j) {
          if (j >= count()) break;
          tell("drop", list[static_cast<std::size_t>(j)]);
          list.erase(list.begin() + j);
        }
      }
      place = indexIn(list, key);
      cursor = key;
      last = behind(place);
    }
    if (items.size() < 30) cutTail(items.empty(), last);
  }

  void cutTail(bool pageIsEmpty, std::int64_t last) {
    std::int64_t cut = last;
    if (pageIsEmpty) {
      cut = 0;
    } else if (last < 0) {
      if (!cursor) return;
      cut = behind(indexIn(list, *cursor));
    }
    while (list.size() > static_cast<std::uint64_t>(cut)) {
      const std::string key = list.back();
      list.pop_back();
      tell("trim", key);
    }
  }
};

class Recorded : public CloudMergeEffects {
 public:
  explicit Recorded(KeyList& list) : list_(list) {}
  void take(std::size_t, const std::string& key, bool known) override { tell(known ? "old" : "new", key); }
  void dropVanished(const std::string& key) override { tell("drop", key); }
  void trim(const std::string& key) override { tell("trim", key); }

  Keys effects;

 private:
  void tell(const std::string& what, const std::string& key) {
    effects.push_back(what + " " + key + " of " + std::to_string(list_.size()));
  }
  KeyList& list_;
};

/// ORV_MERGE_SEEDS=n tries more of them.
const auto kSeeds = static_cast<std::uint32_t>(test::numberFromEnvironment("ORV_MERGE_SEEDS", 3000));

TEST(CloudPageMergeRandom, FollowsTheRulesOnAPlainVector) {
  for (std::uint32_t seed = 1; seed <= kSeeds; ++seed) {
    notation::PageGenerator generator(seed);
    PlainMerge plain;
    plain.list = generator.list();
    plain.cursor = generator.cursor(plain.list);
    KeyList list;
    list.assign(plain.list);
    OptionalString cursor = plain.cursor;
    // Some pages of one pass, each on what the one before has left.
    std::int64_t number = generator.pageNumber();
    for (int pages = 0; pages < 3; ++pages, ++number) {
      const json::array items = generator.page();
      const std::string before = notation::text(plain.list) + "; cursor " + cursor.value_or("none");
      Recorded recorded(list);
      plain.effects.clear();
      const std::string sent = json::serialize(items);
      const auto index = seed % 2 == 0 ? JsonIndex::read(sent) : nullptr;
      const PageItems page = index ? PageItems(number, index->root(sent)) : PageItems(number, items);
      mergeCloudPage(list, cursor, page, recorded);
      plain.merge(number, items);
      const std::string what = "seed " + std::to_string(seed) + ", page " + std::to_string(number) + " " +
                               json::serialize(items) + " into " + before;
      ASSERT_EQ(recorded.effects, plain.effects) << what;
      ASSERT_EQ(list.snapshot(), plain.list) << what;
      ASSERT_EQ(cursor, plain.cursor) << what;
    }
  }
}

}  // namespace
}  // namespace orv::cloud_page_merge_random_test
