#pragma once

#include <orvnetwork/course/detail/CloudPageMerge.h>
#include <orvnetwork/course/detail/Collection.h>
#include <orvnetwork/course/detail/CourseCollections.h>
#include <orvnetwork/data/Types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace orv {

/// What the merging of a page of recorded courses does to the records, in memory and on the disk. The caller holds the
/// catalogue at each call.
///
/// Files take most of the time, so most of them are read before the merge and written after it, one a call: between two
/// calls the caller may let others have the catalogue, and what they do to it counts.
///
///     while (effects.readNext()) giveWay();
///     mergeCloudPage(list, cursor, page, items, effects);
///     while (effects.writeNext()) giveWay();
class RecordPageEffects final : public CloudMergeEffects {
 public:
  RecordPageEffects(CourseCollections& courses, const json::array& items)
      : courses_(courses), items_(items), filesAsRead_(courses.cloud.files().changes()) {}

  /// Reads the next record that the merge needs and that is not in memory. False when there is none left.
  bool readNext();

  void take(std::size_t item, const std::string& key, bool known) override;
  void dropVanished(const std::string& key) override;
  void trim(const std::string& key) override;

  /// Writes the next record, unless its course has left the list since the merge. False when there is none left.
  bool writeNext();

 private:
  using Course = Collection::Course;
  struct Unwritten {
    std::size_t item;
    std::string key;
    Course course;
  };

  Course readRecord(const std::string& key) const;
  void writeAll();

  CourseCollections& courses_;
  const json::array& items_;
  std::size_t nextRead_ = 0;
  /// What was read before the merge; it holds as long as nobody has written or removed a file of the collection.
  std::unordered_map<std::string, Course> read_;
  const std::uint64_t filesAsRead_;
  std::vector<Unwritten> unwritten_;
  std::size_t nextWritten_ = 0;
};

}  // namespace orv
