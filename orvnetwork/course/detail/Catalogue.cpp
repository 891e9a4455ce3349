#include "orvnetwork/course/detail/Catalogue.h"

#include <string>
#include <vector>

namespace orv {

void Catalogue::observe(ObserverToken token) {
  const std::lock_guard lock(observing_);
  observers_.push_back(std::move(token));
}

std::vector<CourseRequest> Catalogue::open(std::string base, std::int64_t userID) {
  const std::lock_guard lock(opening_);
  clear();
  std::vector<CourseRequest> dropped = paging.requests.get();
  for (CourseRequest& request : livePaging.requests.get()) dropped.push_back(std::move(request));
  paging.requests.set({});
  livePaging.requests.set({});
  base_ = std::move(base);
  userID_ = userID;
  ++opened_;
  loadPending_ = true;
  return dropped;
}

bool Catalogue::belongsTo(std::int64_t userID, std::uint64_t opened) const {
  const std::lock_guard lock(opening_);
  return opened_ == opened && userID_ == userID;
}

bool Catalogue::startAnew(Paging& kind, std::uint64_t opened) {
  if (opened_ == opened) return false;
  const CatalogueLock lock(*this);
  std::vector<CourseRequest> requests = kind.requests.get();
  for (CourseRequest& request : requests) request.endIndex.reset();
  kind.requests.set(std::move(requests));
  return true;
}

void Catalogue::ensureLoaded() {
  if (!loadPending_) return;
  const Console::Hold console;
  const std::lock_guard lock(loading_);
  while (loadPending_) {
    std::uint64_t opened = 0;
    std::string base;
    {
      const std::lock_guard opening(opening_);
      opened = opened_;
      base = base_;
    }
    // Read apart: what is in use can be changed for another catalogue meanwhile without waiting.
    CourseCollections loaded;
    loaded.load(base);
    const std::lock_guard opening(opening_);
    if (opened != opened_) continue;
    follow(loaded);
    loadPending_ = false;
  }
}

}  // namespace orv
