#pragma once

#include <orvnetwork/course/detail/CloudPageMerge.h>
#include <orvnetwork/course/detail/CourseCollections.h>
#include <orvnetwork/course/detail/RecordsAhead.h>

#include <string>

namespace orv {

/// What the merging of a page of recorded courses does to the records, in memory and on the disk. It is made before the
/// catalogue is held, when it reads what it will need, and its files are written after that (`RecordFiles::finish`).
class RecordPageEffects final : public CloudMergeEffects {
 public:
  RecordPageEffects(CourseCollections& courses, const PageItems& items)
      : courses_(courses), items_(items), ahead_(courses.cloud, 0, items) {}

  /// The caller holds the catalogue from here on.
  void begin() { ahead_.begin(); }

  void take(std::size_t item, const std::string& key, bool known) override;
  void dropVanished(const std::string& key) override { courses_.cloud.dropVanished(key); }
  void trim(const std::string& key) override { courses_.cloud.dropLater(key); }

 private:
  CourseCollections& courses_;
  const PageItems& items_;
  RecordsAhead ahead_;
};

}  // namespace orv
