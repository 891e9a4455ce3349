#include "orvnetwork/course/detail/PageMerging.h"

#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/Collection.h>
#include <orvnetwork/course/detail/PageRepeats.h>
#include <orvnetwork/platform/Console.h>

#include <shared_mutex>

namespace orv {

namespace {

using Merge = std::function<PageMergeResult(OptionalString& cursor)>;

/// What a page is a part of. There are statuses that have no list.
const KeyList& listOf(const Collection& courses, std::uint64_t status) {
  static const auto& none = *new KeyList();
  const auto lists = courses.lists();
  return status < lists.size() ? lists[status] : none;
}

/// The caller holds the catalogue.
PageMergeResult mergeInMemory(Paging& paging, const KeyList& list, const PageLoad& load, const Merge& merge) {
  const PageView before(list, load.page);
  OptionalString cursor = paging.cursor;
  const PageMergeResult result = merge(cursor);
  paging.cursor = cursor;
  paging.repeats.merged(load.page, load.status, before != PageView(list, load.page));
  return result;
}

/// With many thousands of keys others have the catalogue in between. It stays this user's: `changing` is shared.
Collection::Keys keysGivingWay(Collection& courses, CatalogueLock& lock) {
  while (!courses.prepareKeys()) lock.giveWay();
  return courses.keysToSave();
}

}  // namespace

std::optional<PageMergeResult> mergePage(Catalogue& catalogue, CourseListKind kind, const PageLoad& load,
                                         const PageItems& items, const Merge& merge) {
  const bool isLive = kind == CourseListKind::Live;
  Collection& courses = isLive ? catalogue.live : catalogue.cloud;
  // The host's sink is called when nothing is locked any more.
  const Console::Hold console;
  const std::shared_lock staying(catalogue.changing);
  if (catalogue.opened() != load.opened) return std::nullopt;
  PageMergeResult result;
  Collection::Keys keys;
  {
    CatalogueLock lock(catalogue);
    result = mergeInMemory(isLive ? catalogue.livePaging : catalogue.paging, listOf(courses, load.status),
                           load, merge);
    catalogue.tell(pageChange({kind, load.status}, items));
    if (result.writeList) keys = keysGivingWay(courses, lock);
  }
  courses.files().finish();
  if (result.writeList) courses.saveKeys(keys);
  return result;
}

}  // namespace orv
