#include "orvnetwork/course/detail/MergedKeys.h"

#include <orvnetwork/data/LooseRead.h>

#include <string_view>
#include <unordered_set>
#include <utility>

namespace orv {

namespace {

using Set = std::unordered_set<std::string_view>;

Set setOf(const std::vector<std::string>& keys) {
  return {keys.begin(), keys.end()};
}

}  // namespace

std::vector<std::string> keysOf(const json::array* stored) {
  std::vector<std::string> keys;
  if (stored == nullptr) return keys;
  keys.reserve(stored->size());
  for (const json::value& item : *stored) {
    if (OptionalString key = looseString(&item)) keys.push_back(std::move(*key));
  }
  return keys;
}

json::array asArray(const std::vector<std::string>& keys) {
  json::array array;
  array.reserve(keys.size());
  for (const std::string& key : keys) array.emplace_back(json::string_view(key));
  return array;
}

std::vector<std::string> mergedKeys(const std::vector<std::string>& base,
                                    const std::vector<std::string>& ours,
                                    const std::vector<std::string>& theirs) {
  const Set inBase = setOf(base);
  const Set inOurs = setOf(ours);
  Set taken;
  std::vector<std::string> merged;
  const auto take = [&](const std::string& key) {
    if (taken.insert(key).second) merged.push_back(key);
  };
  for (const std::string& key : ours) {
    if (!inBase.contains(key)) take(key);
  }
  for (const std::string& key : theirs) {
    const bool deletedByUs = inBase.contains(key) && !inOurs.contains(key);
    if (!deletedByUs) take(key);
  }
  return merged;
}

}  // namespace orv
