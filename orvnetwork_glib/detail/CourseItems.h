#pragma once

#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/CourseRows.h>

#include <orvnetwork_glib/Course.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace orv::glib::detail {

/// The rows of a list with an object for each one that somebody has asked for, and how they follow a change.
class CourseItems {
 public:
  /// Rows at a place have been replaced by others; false when whoever is told does not want to hear more.
  using Told = std::function<bool(std::size_t place, std::size_t removed, std::size_t added)>;

  explicit CourseItems(const CourseRows& rows);
  ~CourseItems();
  CourseItems(const CourseItems&) = delete;
  CourseItems& operator=(const CourseItems&) = delete;

  std::size_t size() const { return rows_.size(); }
  /// The object of a row, with one reference, the caller's; null when there is no such row.
  OrvCourse* at(std::size_t index);

  /// Becomes `change.after`. Each step is told when it is taken.
  void take(const CourseListChange& change, const Told& told);

 private:
  struct Item {
    CourseRows::Row row;
    OrvCourse* object = nullptr;
  };

  bool remove(CourseListRange range, const Told& told);
  bool insert(const CourseListChange& change, CourseListRange range, const Told& told);
  bool layOutAnew(const CourseListChange& change, const Told& told);
  void update(const CourseListChange& change);

  std::vector<Item> rows_;
};

}  // namespace orv::glib::detail
