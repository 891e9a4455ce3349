#pragma once

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/detail/CourseValues.h>
#include <orvnetwork/data/Types.h>

#include <vector>

namespace orv {

/// How many courses a page holds; one with fewer is the last one.
inline constexpr std::int64_t kCoursePageSize = 30;

/// The items of one page that a server sent, whatever they are. Refers to them.
class PageItems {
 public:
  /// `page` counts from 1; a lower one is taken as the first.
  PageItems(std::int64_t page, const json::array& items);
  /// The same of an array that stands in a text.
  PageItems(std::int64_t page, const JsonView& items);

  /// The page's number, as it was given.
  std::int64_t page() const { return page_; }
  std::size_t size() const { return items_.size(); }
  bool empty() const { return items_.empty(); }
  bool isLastPage() const { return items_.size() < static_cast<std::size_t>(kCoursePageSize); }

  /// The item at an index. When it is no dictionary it is no course.
  const CourseValues& course(std::size_t index) const { return items_[index]; }
  std::string key(std::size_t index) const;
  std::int64_t roomID(std::size_t index) const { return items_[index].roomID(); }

  /// Where an item stands in the whole of all pages, held to 64 bits. An item that equals an earlier one of the
  /// page stands where that one does.
  std::int64_t position(std::size_t index) const;

 private:
  std::size_t firstEqual(std::size_t index) const;

  std::int64_t page_;
  std::vector<CourseValues> items_;
};

/// What tells those who follow a list that a page of it was merged.
CourseChange pageChange(const CourseListName& list, const PageItems& items);

}  // namespace orv
