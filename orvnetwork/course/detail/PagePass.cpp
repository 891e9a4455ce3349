#include "orvnetwork/course/detail/PagePass.h"

#include <orvnetwork/course/detail/PageItems.h>

#include <optional>
#include <string>

namespace orv {

std::optional<std::int64_t> PagePass::behindCursor() const {
  if (!cursor_) return std::nullopt;
  return behind(*cursor_);
}

void PagePass::confirm(const std::string& key, std::int64_t position) {
  if (bound_ < 0) setBound();
  if (bound_ >= 0) {
    for (std::int64_t place = position - 1; place >= bound_; --place) {
      const auto index = static_cast<std::size_t>(place);
      const OptionalString vanished = list_.at(index);
      if (!vanished) break;
      dropped_.dropVanished(*vanished);
      list_.removeAt(index);
    }
  }
  cursor_ = key;
  // The course itself may have been dropped, when it was appended just in front of its place.
  bound_ = behind(key);
}

void PagePass::trimBehindLast() {
  const std::optional<std::int64_t> cut = bound_ < 0 ? behindCursor() : bound_;
  if (cut) trimTo(*cut);
}

void PagePass::trimTo(std::int64_t count) {
  while (static_cast<std::int64_t>(list_.size()) > count) {
    const OptionalString key = list_.at(list_.size() - 1);
    if (!key) return;
    list_.removeLast();
    dropped_.trim(*key);
  }
}

void PagePass::setBound() {
  if (const auto behindLast = behindCursor()) {
    bound_ = *behindLast;
  } else if (page_ == 1) {
    bound_ = 0;
  }
}

std::int64_t PagePass::behind(const std::string& key) const {
  const std::size_t index = list_.indexOf(key, hint());
  return index == KeyList::npos ? kBeyond : static_cast<std::int64_t>(index) + 1;
}

std::size_t PagePass::hint() const {
  if (bound_ >= 0) return static_cast<std::size_t>(bound_);
  const bool fits = page_ > 0 && page_ <= kBeyond / kCoursePageSize;
  return fits ? static_cast<std::size_t>((page_ - 1) * kCoursePageSize) : 0;
}

}  // namespace orv
