#pragma once

#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/course/detail/PagePass.h>

#include <string>

namespace orv {

/// What merging a page of recorded courses does beside changing the list, in the order of the merge and with
/// the list as it is at that moment. The effects must leave the list alone.
class CloudMergeEffects : public DroppedCourses {
 public:
  /// Makes the record of the item at an index of the page and stores it. The key is in the list; `known` tells
  /// that it was there before this item.
  virtual void take(std::size_t item, const std::string& key, bool known) = 0;

 protected:
  ~CloudMergeEffects() = default;
};

/// Whether a course of the server's list stands in the list of recorded courses: items with status 4, and those with
/// status 5 that are not published (1 or 3), do not.
bool isListedInCloud(std::int64_t status, std::int64_t publishStatus);

/// Merges a page of recorded courses into their list: puts new keys where the order of room identifiers wants
/// them, drops what the server passed over since the course that it listed before, and cuts off what lies
/// behind the last page. An empty page empties the list, which is not written then.
///
/// Items that are not listed (`isListedInCloud`) are passed over, and so is what is no dictionary.
///
/// A new key whose place in all pages lies behind the end of the list is appended. When that place is one too
/// far, as behind an item that was passed over, the key counts as one of the entries in front of its place
/// and is dropped at once; it comes back with the next pass.
///
/// @param list   changed in place
/// @param cursor key of the course that was confirmed last in this pass; none at its start
PageMergeResult mergeCloudPage(KeyList& list, OptionalString& cursor, const PageItems& items,
                               CloudMergeEffects& effects);

}  // namespace orv
