#pragma once

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CloudPageMerge.h>

namespace orv {

/// What the merging of a page of recorded courses does to the records, in memory and on the disk. The caller holds the
/// catalogue.
class RecordPageEffects final : public CloudMergeEffects {
 public:
  RecordPageEffects(QXCourseManager& manager, Catalogue& catalogue, const json::array& items)
      : manager_(manager), catalogue_(catalogue), items_(items) {}

  void take(std::size_t item, const std::string& key, bool known) override;
  void dropVanished(const std::string& key) override;
  void trim(const std::string& key) override;

 private:
  QXCourseManager::Course recordOf(std::size_t item, const std::string& key, bool known);

  QXCourseManager& manager_;
  Catalogue& catalogue_;
  const json::array& items_;
};

}  // namespace orv
