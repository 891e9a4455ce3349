#pragma once

#include <orvnetwork/course/OrvCourseModel.h>

#include "cli/Table.h"

namespace orv::cli {

/// Courses as a person reads them, a row each.
class CourseTable {
 public:
  CourseTable();
  void add(const OrvCourseModel& course);
  const Table& table() const { return table_; }

 private:
  Table table_;
};

}  // namespace orv::cli
