#pragma once

#include <orvnetwork/platform/PropertyListFile.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace orv {

/// A property-list file that is read and written again, and of which nothing gets lost: what lies there and cannot be
/// read is moved out of the way before anything is written in its place.
///
/// A file that is damaged, or holds something else than what is read, is set aside by the reading: renamed to its
/// name with ".damaged" at the end, in the place of an older one of that name. What cannot be renamed then, and what
/// cannot be read at all (no permission, a failing disk, a folder in the file's place), stays where it is and is set
/// aside by the next writing; as long as that fails, nothing is written, and when the disk then refuses what is written
/// it comes back. The store knows only what it has read: whoever may find something reads before writing.
///
/// What a property list cannot hold, such as a text with a zero byte in it, keeps the rest from nothing: it is left out
/// of the file, member by member (see `writePartialPropertyList`).
///
/// Nothing throws. What goes wrong, and what is set aside or left out, is logged to the console, one line each, without
/// the values. Any thread; two threads that read and write one file at the same time put that in order themselves.
///
///     PropertyListStore store(folder + "/marks.plist");
///     json::object marks = store.readDictionary().value_or(json::object());
///     marks["algebra"] = 2;
///     if (!store.write(marks)) tell("the marks are not saved");
class ORV_EXPORT PropertyListStore {
 public:
  struct Options {
    /// How files are written. A file that is written plainly is one that can be made anew: what merely cannot be read
    /// is written over.
    Durability durability = Durability::Durable;
    /// Permissions of the files that are written, narrowed by the process's umask.
    unsigned mode = kPrivateFileMode;
    /// Called with the path whenever something has been set aside, on the thread that reads or writes; may be empty.
    std::function<void(const std::string& path)> onSetAside{};
  };

  /// A store for the file at an absolute path. Does not touch the disk.
  explicit PropertyListStore(std::string path) : PropertyListStore(std::move(path), Options()) {}
  PropertyListStore(std::string path, Options options)
      : path_(std::move(path)), options_(std::move(options)) {}

  PropertyListStore(const PropertyListStore&) = delete;
  PropertyListStore& operator=(const PropertyListStore&) = delete;

  /// The path that it was made with. Any thread.
  const std::string& path() const { return path_; }

  /// What the file holds. Absent when there is no file or an empty one, when it cannot be read, when it is damaged,
  /// and when it holds something else; all but the first two are told.
  std::optional<json::object> readDictionary();
  std::optional<json::array> readArray();

  /// Writes the file, which is the old one or the new one at every moment. False, and the old file is untouched, when
  /// something is in the way and cannot be set aside, and when the disk refuses.
  bool write(const json::object& dictionary);
  bool write(const json::array& array);
  /// The same of a text that is a property list already, as `writePropertyList` makes it; it is not looked at.
  bool writeText(std::string_view text);

  /// Whether the last reading left something at the path that could not be read, and no writing has set it aside.
  bool isSomethingInTheWay() const { return isSomethingInTheWay_; }

 private:
  json::value readRoot(json::kind root);
  template <typename Root>
  bool writeRoot(const Root& root);
  bool setAsideWhatIsInTheWay(bool& renamed);
  bool rename(std::error_code& error);
  bool putBack();

  const std::string path_;
  const Options options_;
  std::atomic<bool> isSomethingInTheWay_ = false;
};

}  // namespace orv
