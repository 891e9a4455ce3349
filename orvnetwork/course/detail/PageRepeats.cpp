#include "orvnetwork/course/detail/PageRepeats.h"

#include <orvnetwork/course/detail/KeyList.h>
#include <orvnetwork/course/detail/PageItems.h>

#include <algorithm>
#include <optional>

namespace orv {

PageView::PageView(const KeyList& list, std::int64_t page) : size(list.size()) {
  const std::int64_t pagesBefore = std::max<std::int64_t>(page, 1) - 1;
  if (pagesBefore > static_cast<std::int64_t>(size) / kCoursePageSize) return;
  const auto first = static_cast<std::size_t>(pagesBefore * kCoursePageSize);
  // A course more on either side: new ones are put in front of their neighbours.
  const std::size_t end = std::min(size, first + static_cast<std::size_t>(kCoursePageSize) + 1);
  for (std::size_t index = first - std::min<std::size_t>(first, 1); index < end; ++index) {
    keys.push_back(list.at(index));
  }
}

void PageRepeats::merged(std::int64_t page, std::uint64_t list, bool isChanged) {
  const bool isSame = page == page_ && list == list_;
  page_ = page;
  list_ = list;
  unchanged_ = isChanged ? 0 : (isSame ? unchanged_ : 0) + 1;
}

Seconds PageRepeats::pauseBefore(std::int64_t page, std::uint64_t list) const {
  if (unchanged_ == 0 || page != page_ || list != list_) return Seconds(0);
  Seconds pause = kFirstPause;
  for (unsigned time = 1; time < unchanged_ && pause < kLongestPause; ++time) pause *= 2;
  return std::min(pause, kLongestPause);
}

std::optional<std::uint64_t> PageRepeats::wait() {
  if (waiting_ != 0) return std::nullopt;
  waiting_ = ++lastTicket_;
  return waiting_;
}

bool PageRepeats::endWait(std::uint64_t ticket) {
  if (waiting_ != ticket) return false;
  waiting_ = 0;
  return true;
}

void PageRepeats::reset() {
  page_ = 0;
  unchanged_ = 0;
  waiting_ = 0;
}

}  // namespace orv
