#include "orvnetwork/course/detail/RecordedPageMerge.h"

#include <orvnetwork/course/detail/CloudPageMerge.h>
#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/course/detail/PageRepeats.h>
#include <orvnetwork/course/detail/RecordPageEffects.h>

#include <cstdint>

namespace orv {

namespace {

PageMergeResult mergeInMemory(Catalogue& catalogue, const PageLoad& load, const json::array& items,
                              RecordPageEffects& effects) {
  KeyList& list = catalogue.cloud.list();
  const PageView before(list, load.page);
  OptionalString cursor = catalogue.paging.cursor;
  const PageMergeResult result = mergeCloudPage(list, cursor, load.page, items, effects);
  catalogue.paging.cursor = cursor;
  const bool isChanged = before != PageView(list, load.page);
  catalogue.paging.repeats.merged(load.page, load.status, isChanged);
  return result;
}

/// Writes the list, which takes a while when it is long, without the catalogue; and once more when others have changed it
/// meanwhile, since theirs may have been written first.
void saveList(Collection& cloud, CatalogueSteps& steps) {
  const std::uint64_t revision = cloud.list().revision();
  if (const auto writing = cloud.writingOfLists()) {
    if (!steps.aside(writing) || cloud.list().revision() == revision) return;
  }
  cloud.saveLists();
}

}  // namespace

bool mergeRecordedPage(Catalogue& catalogue, const PageLoad& load, const json::array& items,
                       CatalogueSteps& steps, UnmergedPage& unmerged) {
  RecordPageEffects effects(catalogue, items);
  const PageMergeResult result = mergeInMemory(catalogue, load, items, effects);
  unmerged.end();
  while (steps.rest() && effects.finishNext()) {
  }
  if (result.writeList && steps.isSame()) saveList(catalogue.cloud, steps);
  // Whoever is told finds all records with what the page says of them.
  if (steps.isSame()) catalogue.tell(pageChange({CourseListKind::Recorded}, load.page, items));
  return result.lastPage;
}

}  // namespace orv
