#pragma once

#include <orvnetwork/course/detail/KeyList.h>
#include <orvnetwork/course/detail/KeyListText.h>
#include <orvnetwork/course/detail/RecordCache.h>
#include <orvnetwork/course/detail/RecordFiles.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// How one kind of course is kept.
struct CourseKind {
  /// Its folder in the catalogue's, and the file of its keys in there.
  const char* folder;
  const char* listFile;
  /// Durable is what exists on this device only: its keys stay, whatever has become of their records.
  Durability durability = Durability::Plain;
  std::size_t lists = 1;
};

/// The courses of one kind: their keys in order, in one list or in several, the records that are in memory, and the
/// files of both. All lists share the records.
///
/// Each part is safe by itself on any thread. An operation on the whole takes one part after the other, so its caller
/// holds the catalogue; `size` and the parts may be read without.
class Collection {
 public:
  using Course = RecordCache::Course;

  explicit Collection(const CourseKind& kind) : kind_(kind), lists_(kind.lists), files_(kind.durability) {}

  KeyList& list(std::size_t number = 0) { return lists_[number]; }
  std::span<KeyList> lists() { return lists_; }
  std::span<const KeyList> lists() const { return lists_; }
  RecordCache& memory() { return memory_; }
  const RecordCache& memory() const { return memory_; }
  RecordFiles& files() { return files_; }
  const RecordFiles& files() const { return files_; }

  /// How many keys a list holds, and whether it holds one; a list that there is not holds none.
  std::size_t size(std::uint64_t list = 0) const { return list < lists_.size() ? lists_[list].size() : 0; }
  bool contains(std::string_view key, std::uint64_t list = 0) const {
    return list < lists_.size() && lists_[list].contains(key);
  }

  /// The record of a key: from memory, else from its file; null when neither has it.
  Course find(const std::string& key) const;
  using Visitor = std::function<bool(const std::string& key, const Course& course)>;
  /// Shows the records of a list's indices from `first` up to, but not including, `end`, as the list is now; gives how
  /// many there are. Ends early when the visitor says so, by false.
  std::int64_t visit(std::uint64_t list, std::uint64_t first, std::uint64_t end,
                     const Visitor& visitor) const;
  /// Puts a record into memory and writes it.
  void store(const std::string& key, const Course& course);
  /// Removes a record from memory and from the disk.
  void drop(const std::string& key);
  /// The same, the file soon (`RecordFiles::removeLater`).
  void dropLater(const std::string& key);
  /// The same for a course that the server lists no longer. A record that is not in memory is taken for room 0, on
  /// purpose: its file stays.
  void dropVanished(const std::string& key);
  /// Removes a key from every list, and its record from memory and from the disk.
  void remove(const std::string& key);
  /// Writes the keys, after the records that were left for later: one list as it is, several as an array of lists. Whether
  /// the disk has taken them.
  bool saveLists();
  /// The keys as their file is to hold them.
  struct Keys {
    KeyListText::Text text;
    /// Where there is no text.
    json::array stored;
    /// Later ones have a higher number.
    std::uint64_t number = 0;
  };
  /// The same in two steps, for who does not hold the catalogue in the second one: keys that are older than what is
  /// written by then are not written. False when the disk has not taken them.
  Keys keysToSave();
  bool saveKeys(const Keys& keys);
  /// Makes a part of what `keysToSave` gives, so that with many thousands of keys nobody holds the catalogue for all of
  /// it: others may have it in between. Says whether nothing of it is left to be made.
  bool prepareKeys();

  /// Makes the folder below the catalogue's, `base`, and notes where the files are.
  void open(const std::string& base);
  /// Reads the keys. Those whose record is gone leave the lists of what the server can give again, and the file.
  void load();
  /// Takes over what another program has made of the file of the keys. Gives the keys that have left the list; absent
  /// when the list is as it was.
  std::optional<std::vector<std::string>> takeOverChanges();
  /// Goes to where the other one is and changes lists with it.
  void follow(Collection& opened);
  /// Changes keys and the records in memory with another one of its kind, at once however many they are; the files stay.
  void swapContents(Collection& other);

 private:
  const CourseKind kind_;
  std::vector<KeyList> lists_;
  RecordCache memory_;
  RecordFiles files_;
  KeyListText text_;
  std::uint64_t keysMade_ = 0;
  /// Held while keys are written.
  std::mutex saving_;
  std::uint64_t keysSaved_ = 0;
};

}  // namespace orv
