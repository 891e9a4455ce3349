#include "orvnetwork/course/detail/PageItems.h"

#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/data/JsonEquality.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace orv {

namespace {

const json::value* roomOf(const json::value& item) {
  return member(item.if_object(), "roomID");
}

}  // namespace

CourseChange pageChange(const CourseListName& list, std::int64_t page, const json::array& items) {
  const PageItems read(page, items);
  CourseChange change{.what = CourseChange::What::Page, .list = list};
  change.first =
      static_cast<std::size_t>(read.empty() ? 0 : (std::max<std::int64_t>(page, 1) - 1) * kCoursePageSize);
  for (std::size_t index = 0; index < read.size(); ++index) {
    if (read.course(index) != nullptr) change.rooms.push_back(read.roomID(index));
  }
  return change;
}

std::shared_ptr<const json::array> keepItems(const json::object& reply) {
  std::shared_ptr<const json::object> kept = keepReply(reply);
  const json::array* const items = looseArray(member(looseObject(member(*kept, "v")), "data"));
  return items == nullptr ? nullptr : std::shared_ptr<const json::array>(std::move(kept), items);
}

PageItems::PageItems(std::int64_t page, const json::array& items)
    : page_(page < 1 ? 1 : page), items_(items) {
  rooms_.reserve(items.size());
  for (const json::value& item : items) {
    const json::value* room = roomOf(item);
    rooms_.push_back(room == nullptr ? 0 : hashOfJson(*room));
  }
}

std::string PageItems::key(std::size_t index) const {
  return courseKey(roomID(index));
}

std::int64_t PageItems::roomID(std::size_t index) const {
  return looseInt64(roomOf(items_[index]));
}

std::int64_t PageItems::position(std::size_t index) const {
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  const auto inPage = static_cast<std::int64_t>(firstEqual(index));
  const std::int64_t pagesBefore = page_ - 1;
  return pagesBefore > (kMax - inPage) / kCoursePageSize ? kMax : pagesBefore * kCoursePageSize + inPage;
}

std::size_t PageItems::firstEqual(std::size_t index) const {
  for (std::size_t earlier = 0; earlier < index; ++earlier) {
    if (rooms_[earlier] == rooms_[index] && sameJson(items_[earlier], items_[index])) return earlier;
  }
  return index;
}

}  // namespace orv
