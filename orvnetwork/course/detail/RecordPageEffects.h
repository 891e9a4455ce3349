#pragma once

#include <orvnetwork/course/detail/CloudPageMerge.h>
#include <orvnetwork/course/detail/CourseCollections.h>

#include <string>

namespace orv {

/// What the merging of a page of recorded courses does to the records, in memory and on the disk. The caller holds the
/// catalogue.
class RecordPageEffects final : public CloudMergeEffects {
 public:
  RecordPageEffects(CourseCollections& courses, const json::array& items)
      : courses_(courses), items_(items) {}

  void take(std::size_t item, const std::string& key, bool known) override;
  void dropVanished(const std::string& key) override { courses_.cloud.dropVanished(key); }
  void trim(const std::string& key) override { courses_.cloud.drop(key); }

 private:
  CourseCollections& courses_;
  const json::array& items_;
};

}  // namespace orv
