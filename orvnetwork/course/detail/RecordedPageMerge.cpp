#include "orvnetwork/course/detail/RecordedPageMerge.h"

#include <orvnetwork/course/detail/CloudPageMerge.h>
#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/course/detail/PageRepeats.h>
#include <orvnetwork/course/detail/RecordPageEffects.h>

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
  catalogue.tell(pageChange({CourseListKind::Recorded}, load.page, items));
  return result;
}

}  // namespace

bool mergeRecordedPage(Catalogue& catalogue, const PageLoad& load, const json::array& items,
                       CatalogueSteps& steps) {
  RecordPageEffects effects(catalogue, items);
  while (effects.readNext()) {
    if (!steps.next()) return false;
  }
  if (!steps.rest()) return false;
  const PageMergeResult result = mergeInMemory(catalogue, load, items, effects);
  while (steps.next() && effects.writeNext()) {
  }
  if (result.writeList && steps.rest()) catalogue.cloud.saveLists();
  return result.lastPage;
}

}  // namespace orv
