#pragma once

#include <orvnetwork/course/detail/CatalogueSteps.h>
#include <orvnetwork/course/detail/Paging.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Merges a page of recorded courses into the catalogue, for who holds it: the list and what is in memory at once, so that
/// nobody asks for the page again, and then the files, in steps between which others may have the catalogue. The list is
/// written last: where the process ends before, no course is listed whose record is missing, unless others have written the
/// list meanwhile; such a course leaves it when the catalogue is opened. Ends early when another catalogue is opened.
/// @param unmerged ends as soon as the page is in the list
/// @return whether it was the last page
bool mergeRecordedPage(Catalogue& catalogue, const PageLoad& load, const json::array& items,
                       CatalogueSteps& steps, UnmergedPage& unmerged);

}  // namespace orv
