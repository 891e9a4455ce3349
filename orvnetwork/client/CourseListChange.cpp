#include "orvnetwork/client/CourseListChange.h"

#include <algorithm>

namespace orv {

namespace {

using Rows = std::vector<CourseRows::Row>;
using Difference = Rows::difference_type;

Difference at(std::size_t index) {
  return static_cast<Difference>(index);
}

void move(Rows& rows, std::size_t from, std::size_t to) {
  const auto begin = rows.begin();
  if (from < to) {
    std::rotate(begin + at(from), begin + at(from + 1), begin + at(to + 1));
  } else {
    std::rotate(begin + at(to), begin + at(from), begin + at(from + 1));
  }
}

/// The same rows in the order of others: their contents are another step.
void putInOrder(Rows& rows, const CourseRows& after) {
  std::ranges::sort(rows, {}, [&after](const CourseRows::Row& row) { return after.indexOf(row->roomID); });
}

}  // namespace

void apply(const CourseListChange& change, Rows& rows) {
  const auto after = change.after->all();
  for (const CourseListRange& range : change.removed) {
    rows.erase(rows.begin() + at(range.first), rows.begin() + at(range.first + range.count));
  }
  for (const CourseListRange& range : change.inserted) {
    const auto from = after.begin() + at(range.first);
    rows.insert(rows.begin() + at(range.first), from, from + at(range.count));
  }
  for (const CourseListMove& step : change.moves) move(rows, step.from, step.to);
  if (change.reordered) putInOrder(rows, *change.after);
  for (const CourseListRange& range : change.updated) {
    std::copy_n(after.begin() + at(range.first), range.count, rows.begin() + at(range.first));
  }
}

}  // namespace orv
