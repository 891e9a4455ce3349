#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/PropertyListStore.h>
#include <orvnetwork/platform/SerialQueue.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace orv {

/// The file that keeps the user: a property list with one dictionary, an empty one for nobody.
///
/// Everything that is to be written has a place in an order, taken with `takePlace()` at the moment at which it is
/// decided. What was decided earlier never replaces what was decided later, whichever thread comes to the disk first.
/// Writes are atomic and durable, and the file is closed to other users. Any thread.
class UserFile final : public std::enable_shared_from_this<UserFile> {
 public:
  /// A place in the order of writes; the greater one was decided later.
  using Place = std::uint64_t;

  static std::shared_ptr<UserFile> make(std::string path);

  const std::string& path() const { return store_.path(); }

  /// Removes, on the worker pool, what processes that were killed in the middle of a writing have left beside the file. It
  /// may hold the token of a user.
  void tidyLater();

  /// What the file holds, after all that waits has been written; what the disk did not take counts as held. Absent
  /// when there is no file or an empty one, and when it is damaged or cannot be read: then it is set aside now or by
  /// the next writing, as `PropertyListStore` does it, and log and console are told.
  std::optional<json::object> read();

  Place takePlace() { return ++lastPlace_; }

  /// Writes before it returns, unless something decided later has been written already. A file that cannot be
  /// written stays as it is and the console gets a line; one that is to hold nobody is removed instead if that can
  /// be done.
  void write(Place place, json::object content);

  /// The same on the worker pool. Of several that wait only the latest is written.
  void writeLater(Place place, json::object content);

 private:
  struct Entry {
    Place place = 0;
    json::object content;
  };

  explicit UserFile(std::string path);

  void writeWaiting();
  bool save(const json::object& content);

  PropertyListStore store_;
  const std::shared_ptr<SerialQueue> queue_;
  std::atomic<Place> lastPlace_{0};

  std::mutex waitingMutex_;
  std::optional<Entry> waiting_;

  // Held while the disk is used. Recursive, since what the console gets a line meanwhile may bring the host back here.
  std::recursive_mutex diskMutex_;
  Place newest_ = 0;
  /// What the file ought to hold but the disk did not take.
  std::optional<json::object> unsaved_;
};

}  // namespace orv
