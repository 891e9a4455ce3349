#pragma once

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/platform/NotificationCenter.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace orv::detail {

/// Collects what is done to the catalogue, on whatever thread, and wakes the main thread once for all that has come. Where
/// the main thread is long in coming, many changes become one: that anything may be different.
class CourseInbox : public std::enable_shared_from_this<CourseInbox> {
 public:
  /// @param wake called on the main thread, in a turn of the main queue
  explicit CourseInbox(std::function<void()> wake) : wake_(std::move(wake)) {}

  /// Begins to listen. Main thread.
  void open();
  /// Ends it: `wake` is not called any more. Main thread.
  void close();
  /// What has come, in its order; it is gone afterwards. Main thread.
  std::vector<CourseChange> take();

 private:
  static constexpr std::size_t kMostChanges = 1000;

  void note(const CourseChange& change);
  void joinChanges();

  std::function<void()> wake_;
  ObserverToken token_;
  std::mutex mutex_;
  std::vector<CourseChange> changes_;
};

}  // namespace orv::detail
