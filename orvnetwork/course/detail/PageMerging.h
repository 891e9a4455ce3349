#pragma once

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/course/detail/PagePass.h>
#include <orvnetwork/course/detail/Paging.h>
#include <orvnetwork/data/Types.h>

#include <functional>
#include <optional>

namespace orv {

struct Catalogue;

/// Brings a page into the catalogue: `merge` changes the list and the records in memory, for which the catalogue is
/// held; then the files are written, one after the other and the list's last, without it. So who looks a course up waits for
/// none of them. What is not written yet is found all the same (`RecordFiles::writeLater`), and the
/// catalogue is not changed for another one meanwhile.
///
/// @param kind  recorded or live courses
/// @param merge changes the cursor that it is called with; called once or, when the page is of an earlier catalogue, never
/// @return absent when the page is of an earlier catalogue: another user's page is merged nowhere
std::optional<PageMergeResult> mergePage(Catalogue& catalogue, CourseListKind kind, const PageLoad& load,
                                         const PageItems& items,
                                         const std::function<PageMergeResult(OptionalString& cursor)>& merge);

}  // namespace orv
