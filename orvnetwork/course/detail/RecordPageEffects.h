#pragma once

#include <orvnetwork/course/detail/CloudPageMerge.h>
#include <orvnetwork/course/detail/Collection.h>
#include <orvnetwork/course/detail/CourseCollections.h>
#include <orvnetwork/data/Types.h>

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

namespace orv {

/// What the merging of a page of recorded courses does to the records, in memory and on the disk. The caller holds the
/// catalogue at each call.
///
/// The merge itself touches memory only. Files take most of the time, so they are read and written afterwards, those of
/// one record a call: between two calls the caller may let others have the catalogue, and what they do to it counts.
///
///     mergeCloudPage(list, cursor, page, items, effects);
///     while (effects.finishNext()) giveWay();
class RecordPageEffects final : public CloudMergeEffects {
 public:
  RecordPageEffects(CourseCollections& courses, const json::array& items)
      : courses_(courses), items_(items) {}

  void take(std::size_t item, const std::string& key, bool known) override;
  void dropVanished(const std::string& key) override;
  void trim(const std::string& key) override;

  /// Finishes the next record that was taken, unless its course has left the list since: reads it where it was not in
  /// memory, and writes it. False when there is none left.
  bool finishNext();

 private:
  using Course = Collection::Course;
  struct Unfinished {
    std::size_t item = 0;
    std::string key;
    /// With what the page says of it; null when it is to be read from its file.
    Course course;
    /// Of one that is to be read: it was put into the queue, so that those that follow come behind it there.
    bool isQueued = false;
  };

  bool queue(const std::string& key);
  void finish(const Unfinished& record);
  void finishBeforeDropping(const std::string& key);

  CourseCollections& courses_;
  const json::array& items_;
  std::vector<Unfinished> unfinished_;
  std::size_t next_ = 0;
  std::unordered_set<std::string> unfinishedKeys_;
};

}  // namespace orv
