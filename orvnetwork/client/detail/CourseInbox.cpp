#include "orvnetwork/client/detail/CourseInbox.h"

#include <orvnetwork/course/CourseStore.h>
#include <orvnetwork/platform/MainQueue.h>

#include <algorithm>
#include <utility>

namespace orv::detail {

void CourseInbox::open() {
  token_ = CourseStore::getInstance().observe([weak = weak_from_this()](const CourseChange& change) {
    if (const auto inbox = weak.lock()) inbox->note(change);
  });
}

void CourseInbox::close() {
  token_.reset();
  wake_ = nullptr;
}

std::vector<CourseChange> CourseInbox::take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(changes_, {});
}

void CourseInbox::note(const CourseChange& change) {
  {
    const std::lock_guard lock(mutex_);
    changes_.push_back(change);
    if (changes_.size() > kMostChanges) joinChanges();
    if (changes_.size() > 1) return;
  }
  MainQueue::instance().post([weak = weak_from_this()] {
    const auto inbox = weak.lock();
    if (inbox && inbox->wake_) inbox->wake_();
  });
}

void CourseInbox::joinChanges() {
  const bool isAnother = std::ranges::count(changes_, CourseChange::What::Opened, &CourseChange::what) != 0;
  changes_.clear();
  if (isAnother) changes_.push_back({.what = CourseChange::What::Opened});
  for (const auto kind : {CourseListKind::Local, CourseListKind::Recorded, CourseListKind::Live}) {
    changes_.push_back({.what = CourseChange::What::All, .list = {kind}});
  }
}

}  // namespace orv::detail
