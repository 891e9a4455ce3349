#pragma once

#include <orvnetwork/course/CourseRequest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace orv {

/// Requests that wait, oldest first. There are as many as the host makes and as the rules leave waiting, thousands
/// perhaps, so one that waits is neither copied nor moved for the others' sake.
///
/// Any thread; but what changes the list after a look at it is for who holds the catalogue. A callback is the host's:
/// copying it and letting it go runs code of the host. So nothing of that happens while the list is locked, and what
/// leaves the list is handed back, to be let go when nothing is locked any more.
class RequestList {
 public:
  using Entry = std::shared_ptr<const CourseRequest>;
  using Entries = std::vector<Entry>;

  RequestList() = default;
  RequestList(const RequestList&) = delete;
  RequestList& operator=(const RequestList&) = delete;

  /// Copies of all, and others in their place.
  std::vector<CourseRequest> get() const;
  Entries set(std::vector<CourseRequest> requests);

  void add(CourseRequest request);
  /// Takes those out that `leaves` says, and hands them back in their order. It is asked in the order of the list, with
  /// the list locked.
  Entries take(const std::function<bool(const Entry& entry)>& leaves);
  /// The oldest one; null when there is none.
  Entry first() const;
  /// Notes in the oldest one, if that is still `request`, what the pages asked for so far cover. A noted one is a copy,
  /// and takes the place of the one that is handed back; null when nothing had to be noted.
  Entry noteEndIndex(const Entry& request, std::optional<std::uint64_t> endIndex);

 private:
  mutable std::mutex mutex_;
  Entries entries_;
};

}  // namespace orv
