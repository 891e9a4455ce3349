#pragma once

#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/CourseRows.h>

namespace orv::detail {

/// The steps that lead from some rows to others; the states are left empty. Rows are the same course when their rooms are
/// the same, and have another content when they are not the same object. Takes time in proportion to the rows, and is
/// meant for a worker. Any thread.
///
/// The fewest moves are told that there can be, as long as they are few.
CourseListChange diffOf(CourseRowsPointer before, CourseRowsPointer after);

/// Takes the steps and says whether they lead where they should.
bool leadsThere(const CourseListChange& change);

}  // namespace orv::detail
