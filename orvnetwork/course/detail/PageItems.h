#pragma once

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/data/Types.h>

#include <memory>
#include <vector>

namespace orv {

/// How many courses a page holds; one with fewer is the last one.
inline constexpr std::int64_t kCoursePageSize = 30;

/// What tells those who follow a list that a page of it was merged. `page` counts from 1.
CourseChange pageChange(const CourseListName& list, std::int64_t page, const json::array& items);

/// The items of a page, out of the reply that came with it, for as long as they are needed; null where it holds no
/// array. In the reply's own callback nothing is copied. They may be read and dropped on any thread. Main thread.
std::shared_ptr<const json::array> keepItems(const json::object& reply);

/// The items of one page that a server sent, whatever they are. Refers to the array.
class PageItems {
 public:
  /// `page` counts from 1; a lower one is taken as the first.
  PageItems(std::int64_t page, const json::array& items);

  std::size_t size() const { return items_.size(); }
  bool empty() const { return items_.empty(); }
  bool isLastPage() const { return items_.size() < static_cast<std::size_t>(kCoursePageSize); }

  /// The item at an index; null when it is no dictionary, and so no course.
  const json::object* course(std::size_t index) const { return items_[index].if_object(); }
  std::string key(std::size_t index) const;
  std::int64_t roomID(std::size_t index) const;

  /// Where an item stands in the whole of all pages, held to 64 bits. An item that equals an earlier one of the
  /// page stands where that one does.
  std::int64_t position(std::size_t index) const;

 private:
  std::size_t firstEqual(std::size_t index) const;

  std::int64_t page_;
  const json::array& items_;
  /// Hashes of the rooms' members: what differs in them need not be compared.
  std::vector<std::size_t> rooms_;
};

}  // namespace orv
