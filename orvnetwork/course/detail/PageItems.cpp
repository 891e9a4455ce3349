#include "orvnetwork/course/detail/PageItems.h"

#include <orvnetwork/course/detail/CourseKey.h>

#include <algorithm>
#include <limits>

namespace orv {

PageItems::PageItems(std::int64_t page, const json::array& items) : page_(page) {
  items_.reserve(items.size());
  for (const json::value& item : items) items_.emplace_back(item);
}

PageItems::PageItems(std::int64_t page, const JsonView& items) : page_(page) {
  items_.reserve(static_cast<std::size_t>(kCoursePageSize));
  items.eachItem([&](const JsonView& item) { items_.emplace_back(item); });
}

std::string PageItems::key(std::size_t index) const {
  return courseKey(roomID(index));
}

std::int64_t PageItems::position(std::size_t index) const {
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  const auto inPage = static_cast<std::int64_t>(firstEqual(index));
  const std::int64_t pagesBefore = std::max<std::int64_t>(page_, 1) - 1;
  return pagesBefore > (kMax - inPage) / kCoursePageSize ? kMax : pagesBefore * kCoursePageSize + inPage;
}

std::size_t PageItems::firstEqual(std::size_t index) const {
  for (std::size_t earlier = 0; earlier < index; ++earlier) {
    if (course(earlier).isSameAs(course(index))) return earlier;
  }
  return index;
}

CourseChange pageChange(const CourseListName& list, const PageItems& items) {
  CourseChange change{.what = CourseChange::What::Page, .list = list};
  change.first = static_cast<std::size_t>(
      items.empty() ? 0 : (std::max<std::int64_t>(items.page(), 1) - 1) * kCoursePageSize);
  for (std::size_t index = 0; index < items.size(); ++index) {
    if (items.course(index).isCourse()) change.rooms.push_back(items.roomID(index));
  }
  return change;
}

}  // namespace orv
