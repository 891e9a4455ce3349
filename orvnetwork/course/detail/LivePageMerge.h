#pragma once

#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/course/detail/PagePass.h>

#include <span>
#include <string>

namespace orv {

/// What merging a page of live courses does beside changing the lists, in the order of the merge and with the
/// lists as they are at that moment. The effects must leave the lists alone.
class LiveMergeEffects : public DroppedCourses {
 public:
  /// Makes the record of the item at an index of the page, or brings it up to date. `known` tells that the key
  /// is in the list of the page's status.
  /// @return whether the record was in memory: then the course leaves the list of another status that it is in
  virtual bool findRecord(std::size_t item, const std::string& key, bool known) = 0;

  /// Stores that record. Its key is in no list that the merge knows of: it was taken out and is not yet back
  /// in its place.
  virtual void storeRecord(std::size_t item, const std::string& key) = 0;

 protected:
  ~LiveMergeEffects() = default;
};

/// Merges a page of live courses of one status into their lists. The courses stand one behind the other in the
/// order of the server. What lies behind the last page is cut off, but an empty page cuts nothing. What is no
/// dictionary is passed over.
///
/// @param lists  one for each status, changed in place: that of `status`, and those that a course leaves for it
/// @param status a page of one that has no list changes nothing
/// @param cursor key of the course that was confirmed last in this pass; none at its start
PageMergeResult mergeLivePage(std::span<KeyList> lists, std::size_t status, OptionalString& cursor,
                              const PageItems& items, LiveMergeEffects& effects);

}  // namespace orv
