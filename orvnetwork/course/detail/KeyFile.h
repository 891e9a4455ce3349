#pragma once

#include <orvnetwork/platform/LockFile.h>
#include <orvnetwork/platform/PropertyListStore.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

/// The file of a collection's keys. Where only this device has the courses, other programs with the same home may
/// change it too; then it is changed in turns, and each turn begins with a look at what the others have done since.
///
/// Any thread; what belongs together, as a turn does, is for the caller to keep together.
class KeyFile {
 public:
  KeyFile(std::string path, PropertyListStore::Options options);

  const std::string& path() const { return store_.path(); }

  /// The keys; absent when there are none. A damaged file is set aside.
  std::optional<json::array> read();
  /// What another program has made of the file.
  struct Change {
    json::array before, now;
  };
  /// Absent when the file is as it was read or written last, when it cannot be read or is gone, and when it was never
  /// read.
  std::optional<Change> readChange();
  /// False, too, while another program has the turn, for which the console gets a line.
  bool write(const json::array& keys);
  /// The same of a file that only one program writes, as the text of the property list.
  bool writeText(std::string_view text) { return store_.writeText(text); }

  /// Begins a turn. False, after some time, when another program does not end its own: then nothing is written until
  /// a later turn. Files that only one program writes, and those for which no lock is to be had, are always free.
  bool beginTurn();
  void endTurn();
  /// The same for several turns, which are then parts of this one and wait for nobody: for who must not wait later, when
  /// others wait for him. When another program keeps the lock, those turns find that too.
  void beginTurns();
  void endTurns();
  /// Whether the last writing has found that it was another program's turn.
  bool isUnwritten() const;
  /// The same, but only until somebody has taken it upon himself to write again, which ends with `unclaim`.
  bool claimUnwritten();
  void unclaim();
  /// A turn for what could not be written, after the catalogue that knew it has been left. It is still unwritten afterwards
  /// when the other program has not moved on.
  void writeUnwritten();
  /// Takes a number for this program; false when another one has it.
  bool reserve(std::uint64_t number);

 private:
  /// Tells one content of the file from another.
  using Mark = std::pair<std::size_t, std::size_t>;
  enum class Turn { Free, Ours, Theirs };

  std::optional<Mark> look() const;
  /// Remembers what the file holds, and gives what it held before.
  json::array note(std::optional<Mark> mark, json::array keys);
  LockFile* lockFile();
  Turn take();
  void giveBack();

  PropertyListStore store_;
  const bool isShared_;
  mutable std::mutex mutex_;
  bool wasRead_ = false;
  std::optional<Mark> mark_;
  json::array known_;
  std::unique_ptr<LockFile> lock_;
  Turn turn_ = Turn::Free;
  /// Guards the next three, and is held while another program is waited for. Taken before `mutex_`.
  std::mutex taking_;
  std::size_t holders_ = 0;
  Turn held_ = Turn::Free;
  bool wasTheirs_ = false;
  std::optional<json::array> unwritten_;
  bool isClaimed_ = false;
};

}  // namespace orv
