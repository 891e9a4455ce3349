#pragma once

#include <orvnetwork/course/detail/Collection.h>
#include <orvnetwork/course/detail/CourseCollections.h>
#include <orvnetwork/course/detail/LivePageMerge.h>
#include <orvnetwork/course/detail/RecordsAhead.h>

#include <cstdint>
#include <string>

namespace orv {

/// What the merging of a page of live courses does to the records, in memory and on the disk. It is made before the
/// catalogue is held, when it reads what it will need, and its files are written after that (`RecordFiles::finish`).
class LivePageEffects final : public LiveMergeEffects {
 public:
  LivePageEffects(CourseCollections& courses, std::uint64_t status, const PageItems& items)
      : courses_(courses), items_(items), ahead_(courses.live, status, items) {}

  /// The caller holds the catalogue from here on.
  void begin() { ahead_.begin(); }

  bool findRecord(std::size_t item, const std::string& key, bool known) override;
  void storeRecord(std::size_t item, const std::string& key) override;
  void dropVanished(const std::string& key) override { courses_.live.dropVanished(key); }
  void trim(const std::string& key) override;

  /// The titles of the courses that were stored, each with ", " behind it.
  const std::string& titles() const { return titles_; }

 private:
  CourseCollections& courses_;
  const PageItems& items_;
  RecordsAhead ahead_;
  Collection::Course course_;
  std::string titles_;
};

}  // namespace orv
