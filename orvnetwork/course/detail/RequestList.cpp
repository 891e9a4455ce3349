#include "orvnetwork/course/detail/RequestList.h"

#include <memory>
#include <mutex>
#include <utility>

namespace orv {

std::vector<CourseRequest> RequestList::get() const {
  Entries entries;
  {
    const std::lock_guard lock(mutex_);
    entries = entries_;
  }
  std::vector<CourseRequest> requests;
  requests.reserve(entries.size());
  for (const Entry& entry : entries) requests.push_back(*entry);
  return requests;
}

RequestList::Entries RequestList::set(std::vector<CourseRequest> requests) {
  Entries entries;
  entries.reserve(requests.size());
  for (CourseRequest& request : requests) {
    entries.push_back(std::make_shared<const CourseRequest>(std::move(request)));
  }
  const std::lock_guard lock(mutex_);
  return std::exchange(entries_, std::move(entries));
}

void RequestList::add(CourseRequest request) {
  auto entry = std::make_shared<const CourseRequest>(std::move(request));
  const std::lock_guard lock(mutex_);
  entries_.push_back(std::move(entry));
}

RequestList::Entries RequestList::take(const std::function<bool(const Entry& entry)>& leaves) {
  Entries taken;
  const std::lock_guard lock(mutex_);
  auto kept = entries_.begin();
  for (Entry& entry : entries_) {
    if (leaves(entry)) {
      taken.push_back(std::move(entry));
    } else {
      if (&*kept != &entry) *kept = std::move(entry);
      ++kept;
    }
  }
  // What is behind has been moved from.
  entries_.erase(kept, entries_.end());
  return taken;
}

RequestList::Entry RequestList::first() const {
  const std::lock_guard lock(mutex_);
  return entries_.empty() ? nullptr : entries_.front();
}

RequestList::Entry RequestList::noteEndIndex(const Entry& request, std::optional<std::uint64_t> endIndex) {
  if (request->endIndex == endIndex) return nullptr;
  CourseRequest noted = *request;
  noted.endIndex = endIndex;
  auto entry = std::make_shared<const CourseRequest>(std::move(noted));
  const std::lock_guard lock(mutex_);
  if (!entries_.empty() && entries_.front() == request) std::swap(entries_.front(), entry);
  return entry;
}

}  // namespace orv
