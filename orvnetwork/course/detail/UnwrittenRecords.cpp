#include "orvnetwork/course/detail/UnwrittenRecords.h"

#include <utility>

namespace orv {

void UnwrittenRecords::add(std::string path, Values values) {
  auto change = std::make_shared<const Values>(std::move(values));
  const std::lock_guard lock(mutex_);
  order_.push_back(path);
  changes_.insert_or_assign(std::move(path), std::move(change));
}

UnwrittenRecords::Change UnwrittenRecords::find(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  const auto found = changes_.find(path);
  return found != changes_.end() ? found->second : nullptr;
}

void UnwrittenRecords::forget(const std::string& path) {
  {
    const std::lock_guard lock(mutex_);
    changes_.erase(path);
    if (busy_ != path) return;
  }
  const std::lock_guard untilDone(working_);
}

void UnwrittenRecords::finish(const Work& work) {
  while (doOldest(work)) {
  }
}

bool UnwrittenRecords::doOldest(const Work& work) {
  const std::lock_guard working(working_);
  Change change;
  const OptionalString path = begin(change);
  if (!path) return false;
  work(*path, *change);
  end(*path, change);
  return true;
}

OptionalString UnwrittenRecords::begin(Change& change) {
  const std::lock_guard lock(mutex_);
  while (!order_.empty()) {
    std::string path = std::move(order_.front());
    order_.pop_front();
    const auto found = changes_.find(path);
    if (found == changes_.end()) continue;
    change = found->second;
    return busy_ = std::move(path);
  }
  return std::nullopt;
}

void UnwrittenRecords::end(const std::string& path, const Change& change) {
  const std::lock_guard lock(mutex_);
  busy_.reset();
  // Another one may have been added meanwhile.
  if (const auto same = changes_.find(path); same != changes_.end() && same->second == change) {
    changes_.erase(same);
  }
}

}  // namespace orv
