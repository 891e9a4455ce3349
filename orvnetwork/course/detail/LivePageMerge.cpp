#include "orvnetwork/course/detail/LivePageMerge.h"

#include <string>

namespace orv {

namespace {

void removeFromFirst(std::span<KeyList> lists, const std::string& key) {
  for (KeyList& list : lists) {
    if (list.remove(key)) return;
  }
}

/// Makes the record while its key is where it was, and then takes the key out of there.
void takeOut(std::span<KeyList> lists, KeyList& list, std::size_t item, const std::string& key,
             std::size_t hint, LiveMergeEffects& effects) {
  const bool known = list.contains(key);
  const bool wasInMemory = effects.findRecord(item, key, known);
  if (known) {
    list.remove(key, hint);
  } else if (wasInMemory) {
    removeFromFirst(lists, key);
  }
}

}  // namespace

PageMergeResult mergeLivePage(std::span<KeyList> lists, std::size_t status, OptionalString& cursor,
                              const PageItems& items, LiveMergeEffects& effects) {
  const PageMergeResult result{.lastPage = items.isLastPage(), .writeList = !items.empty()};
  if (status >= lists.size()) return result;
  KeyList& list = lists[status];
  PagePass pass(list, cursor, items.page(), effects);
  for (std::size_t item = 0; item < items.size(); ++item) {
    if (!items.course(item).isCourse()) continue;
    const std::string key = items.key(item);
    takeOut(lists, list, item, key, pass.hint(), effects);
    effects.storeRecord(item, key);
    // After the removal, which may have moved the cursor or taken it away.
    const std::int64_t position = cursor ? *pass.behindCursor() : items.position(item);
    list.insert(static_cast<std::size_t>(position), key);
    pass.confirm(key, position);
  }
  if (!items.empty() && items.isLastPage()) pass.trimBehindLast();
  return result;
}

}  // namespace orv
