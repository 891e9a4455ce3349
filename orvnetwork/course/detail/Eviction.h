#pragma once

#include <orvnetwork/course/CourseLimits.h>
#include <orvnetwork/course/detail/RecencyQueue.h>

#include <functional>

namespace orv {

/// The records in memory of the local and of the recorded courses, by course key.
class CachedRecords {
 public:
  virtual bool localHas(const std::string& key) const = 0;
  /// Whether a local record has to stay: its course is no longer as it was created.
  virtual bool localIsExempt(const std::string& key) const = 0;
  virtual void evictLocal(const std::string& key) = 0;
  virtual bool cloudHas(const std::string& key) const = 0;
  virtual void evictCloud(const std::string& key) = 0;

 protected:
  ~CachedRecords() = default;
};

/// Evicts the least recently used of the local and recorded courses until at most 60 are queued. Entries of
/// exempt records go to the front instead. One call looks at as many entries as are queued, and at one more,
/// which is counted anew after each look: of more than 121 entries about half go at a time, and more than 60
/// stay when most are exempt. An entry without a record in memory stays the last one and ends the eviction.
///
/// The local record of a room is the one evicted when there is one, whichever record the entry stands for.
void evictRecordCourses(RecencyQueue& queue, CachedRecords& records);

/// Evicts the least recently used live courses until at most 60 are queued; none is exempt.
void evictLiveCourses(RecencyQueue& queue, const std::function<void(const std::string& key)>& evict);

}  // namespace orv
