#include "orvnetwork/course/detail/UnwrittenRecords.h"

#include <utility>

namespace orv {

void UnwrittenRecords::add(std::string path, Values values) {
  auto change = std::make_shared<const Values>(std::move(values));
  const Lock lock(mutex_);
  order_.push_back(path);
  changes_.insert_or_assign(std::move(path), std::move(change));
}

UnwrittenRecords::Change UnwrittenRecords::find(const std::string& path) const {
  const Lock lock(mutex_);
  const auto found = changes_.find(path);
  return found != changes_.end() ? found->second : nullptr;
}

void UnwrittenRecords::forget(const std::string& path) {
  Lock lock(mutex_);
  changes_.erase(path);
  done_.wait(lock, [&] { return busy_ != path; });
}

void UnwrittenRecords::finish(const Work& work) {
  Lock lock(mutex_);
  while (busy_ || !order_.empty()) {
    if (busy_) {
      done_.wait(lock, [this] { return !busy_; });
    } else {
      doOldest(lock, work);
    }
  }
}

void UnwrittenRecords::doOldest(Lock& lock, const Work& work) {
  const std::string path = std::move(order_.front());
  order_.pop_front();
  const auto found = changes_.find(path);
  if (found == changes_.end()) return;
  const Change change = found->second;
  busy_ = path;
  lock.unlock();
  work(path, *change);
  lock.lock();
  busy_.reset();
  // Another one may have been added meanwhile.
  if (const auto same = changes_.find(path); same != changes_.end() && same->second == change) {
    changes_.erase(same);
  }
  done_.notify_all();
}

}  // namespace orv
