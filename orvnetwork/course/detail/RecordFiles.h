#pragma once

#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/course/detail/KeyFile.h>
#include <orvnetwork/course/detail/UnwrittenRecords.h>
#include <orvnetwork/platform/PropertyListStore.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

namespace orv {

/// The files of one collection of courses: a folder with a file for each record, named by its key, and the file of
/// the list of keys beside them.
///
/// Writing is atomic, and durable where it is asked for. What fails is logged to the console and changes nothing
/// on the disk. Without a folder nothing is found and nothing written. Of what is written durably nothing is lost that
/// was there before: files that are damaged or cannot be read are set aside before they are written over. Any thread;
/// each operation is whole.
class RecordFiles {
 public:
  explicit RecordFiles(Durability durability) : durability_(durability) {}

  /// Goes to where the other one is, with what that knows of its list.
  void follow(const RecordFiles& other);
  /// Where the records and the list are.
  OptionalString folder() const;
  void setFolder(OptionalString folder);
  OptionalString listFile() const;
  void setListFile(OptionalString file);

  /// The record of a key; null when there is no file, or none that holds anything.
  std::shared_ptr<OrvCourseModel> read(std::string_view key) const;
  bool write(std::string_view key, const OrvCourseModel& course);
  void remove(std::string_view key);
  /// The same of records that can be made anew, for who must not wait for the disk: each file is changed by `finish`, the
  /// oldest change first. All operations here but `names` speak as if it were changed at once.
  void writeLater(std::string_view key, const OrvCourseModel& course);
  void removeLater(std::string_view key);
  /// Makes the changes that were left for later. When it returns they are made, by this thread or by another one.
  void finish();
  /// Another number after each change of a record or of the folder, and only then: who has read in the middle of one learns
  /// of it. Takes no lock.
  std::uint64_t revision() const { return revision_.load(std::memory_order_acquire); }
  /// Whether a record has a file, whatever that holds.
  bool has(std::string_view key) const;
  using Names = std::unordered_set<std::string>;
  /// The names of all that lies in the folder, one look for many `isIn`; absent when that cannot be told.
  std::optional<Names> names() const;
  static bool isIn(const Names& names, std::string_view key);

  /// The list; absent when there is none. A damaged one is set aside.
  std::optional<json::array> readList() const;
  bool writeList(const json::array& keys) const;
  /// The same of a list that is written plainly, as the text of the property list.
  bool writeListText(std::string_view text) const;
  /// The file of the list; null without one.
  std::shared_ptr<KeyFile> list() const;

 private:
  OptionalString pathOf(std::string_view key) const;
  bool writeValues(const std::string& path, const json::object& values) const;
  void changed() { revision_.fetch_add(1, std::memory_order_acq_rel); }
  PropertyListStore::Options options() const { return {.durability = durability_, .mode = kPrivateFileMode}; }

  const Durability durability_;
  mutable std::mutex mutex_;
  OptionalString folder_;
  /// Null without a file for the list.
  std::shared_ptr<KeyFile> list_;
  UnwrittenRecords unwritten_;
  std::atomic<std::uint64_t> revision_ = 0;
};

}  // namespace orv
