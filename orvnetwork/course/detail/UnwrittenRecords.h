#pragma once

#include <orvnetwork/data/Types.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace orv {

/// What is to become of files, for who changes them faster than the disk does and must not wait for it. Whoever wants to
/// know what a file holds asks here first. Bounded by who adds: a page and what it drops from the list.
///
/// Any thread; each operation is whole.
class UnwrittenRecords {
 public:
  /// What a file is to hold; absent when it is to be removed.
  using Values = std::optional<json::object>;
  using Change = std::shared_ptr<const Values>;

  /// In the place of what was added for the same file and is not done yet.
  void add(std::string path, Values values);
  /// What is to become of a file; null when it is as it shall be.
  Change find(const std::string& path) const;
  /// For who changes a file at once: what was added for it is not done any more. Waits while it is just being done.
  void forget(const std::string& path);
  using Work = std::function<void(const std::string& path, const Values& values)>;
  /// Does all that was added, the oldest first. Returns when it is done, by whichever thread. `work` must finish and forget
  /// nothing here.
  void finish(const Work& work);

 private:
  /// False when there is none.
  bool doOldest(const Work& work);
  /// Gives its path, as the one that is being changed.
  OptionalString begin(Change& change);
  void end(const std::string& path, const Change& change);

  /// Held while a file is being changed. Taken before `mutex_`.
  std::mutex working_;
  mutable std::mutex mutex_;
  std::unordered_map<std::string, Change> changes_;
  /// The paths, in the order in which they came; one may stand here that has no change any more.
  std::deque<std::string> order_;
  /// The file that is being changed.
  OptionalString busy_;
};

}  // namespace orv
