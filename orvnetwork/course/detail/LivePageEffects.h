#pragma once

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/LivePageMerge.h>

namespace orv {

/// What the merging of a page of live courses does to the records, in memory and on the disk. The caller holds the
/// catalogue.
class LivePageEffects final : public LiveMergeEffects {
 public:
  LivePageEffects(QXCourseManager& manager, Catalogue& catalogue, const json::array& items)
      : manager_(manager), catalogue_(catalogue), items_(items) {}

  bool findRecord(std::size_t item, const std::string& key, bool known) override;
  void storeRecord(std::size_t item, const std::string& key) override;
  void dropVanished(const std::string& key) override;
  void trim(const std::string& key) override;

  /// The titles of the courses that were stored, each with ", " behind it.
  const std::string& titles() const { return titles_; }

 private:
  QXCourseManager& manager_;
  Catalogue& catalogue_;
  const json::array& items_;
  QXCourseManager::Course course_;
  std::string titles_;
};

}  // namespace orv
