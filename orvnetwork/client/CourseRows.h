#pragma once

#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace orv {

/// The rows of a list of courses at one moment: what a view shows. Never changed once it is there, so that it can be kept
/// and read on any thread for as long as somebody holds it; what is new comes as other rows (`CourseListChange`).
///
///     const orv::CourseRowsPointer rows = list.rows();
///     for (const auto& course : rows->all()) show(*course);
class ORV_EXPORT CourseRows {
 public:
  /// One course as it was then: a copy that nobody changes. Two rows that are the same object are the same in every field.
  using Row = std::shared_ptr<const OrvCourseModel>;

  /// No rows.
  CourseRows() = default;
  /// For those who make lists.
  /// @param rows none of them null, and none with the `roomID` of another
  explicit CourseRows(std::vector<Row> rows);

  std::size_t size() const noexcept { return rows_.size(); }
  bool empty() const noexcept { return rows_.empty(); }
  /// The row at an index; null when the index is not below the size.
  Row at(std::size_t index) const noexcept { return index < rows_.size() ? rows_[index] : nullptr; }
  /// All of them, in their order. Valid as long as this object.
  std::span<const Row> all() const noexcept { return rows_; }
  /// Where the course of a room stands; absent when it is not among them. Costs the same however many there are.
  std::optional<std::size_t> indexOf(std::int64_t roomID) const;
  /// The rooms' numbers, in the order of the rows.
  std::vector<std::int64_t> keys() const;

 private:
  std::vector<Row> rows_;
  std::unordered_map<std::int64_t, std::size_t> places_;
};

/// Rows that are shared; never null where the library gives them out.
using CourseRowsPointer = std::shared_ptr<const CourseRows>;

}  // namespace orv
