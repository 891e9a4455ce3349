#pragma once

#include <orvnetwork/course/detail/CatalogueSteps.h>
#include <orvnetwork/course/detail/Paging.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Merges a page of recorded courses into the catalogue, for who holds it: the list and the records in memory at once,
/// and their files before and after that in steps between which others may have the catalogue. The list is written last:
/// whenever the process ends, no course is listed whose record is missing. Ends early when another catalogue is opened.
/// @return whether it was the last page
bool mergeRecordedPage(Catalogue& catalogue, const PageLoad& load, const json::array& items,
                       CatalogueSteps& steps);

}  // namespace orv
