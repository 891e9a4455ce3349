#pragma once

#include <orvnetwork/client/CourseListState.h>
#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/data/Export.h>

#include <cstddef>
#include <vector>

namespace orv {

/// Rows that stand one behind the other.
struct CourseListRange {
  std::size_t first = 0;
  std::size_t count = 0;
  friend bool operator==(const CourseListRange&, const CourseListRange&) = default;
};

/// A row that is taken out at one index, and then put in at another.
struct CourseListMove {
  std::size_t from = 0;
  std::size_t to = 0;
  friend bool operator==(const CourseListMove&, const CourseListMove&) = default;
};

/// What has become of a list of courses: its rows before and after, and the steps that lead from one to the other.
///
/// The steps are to be taken in the order of the members, each on the rows as the steps in front of it have left them:
/// what has gone, what has come, what has moved, and what has another content. Whoever takes them so, one at a time, is
/// never ahead of its data nor behind it:
///
///     for (const auto& range : change.removed) view.remove(range.first, range.count);
///     for (const auto& range : change.inserted) view.insert(range.first, change.after->all().subspan(range.first, range.count));
///     for (const auto& move : change.moves) view.move(move.from, move.to);
///     if (change.reordered) view.layOutAnew(change.after);
///     for (const auto& range : change.updated) view.repaint(range.first, range.count);
struct CourseListChange {
  /// Never null. The same object when nothing but the state has changed.
  CourseRowsPointer before, after;
  /// Rows that have gone, from the last to the first, by their index before the change.
  std::vector<CourseListRange> removed;
  /// Rows that have come, from the first to the last, by their index in `after`. While there are moves to come they
  /// stand among rows that are not in their places yet; the index is the one at which to put them in all the same.
  std::vector<CourseListRange> inserted;
  /// Rows that are elsewhere, one after another. Never more than `kMostMoves`.
  std::vector<CourseListMove> moves;
  /// More rows than that are elsewhere: no moves are told, and when the rows have gone and come, the rest stands in
  /// another order, which is that of `after`.
  bool reordered = false;
  /// Rows whose course has other fields than before, from the first to the last, by their index in `after`. No row that
  /// has come is among them.
  std::vector<CourseListRange> updated;
  /// The state before and after.
  CourseListState stateBefore, state;

  /// More moves cost a view more than to lay its rows out anew.
  static constexpr std::size_t kMostMoves = 3;

  /// Whether there are other rows, or rows elsewhere, or rows with another content.
  bool changesRows() const noexcept { return before != after; }
};

/// Takes the steps of a change, for hosts that keep rows of their own, and for tests: what is `change.before` in order
/// and content becomes `change.after`. Any thread.
/// @param rows must be equal to the rows of `change.before`
ORV_EXPORT void apply(const CourseListChange& change, std::vector<CourseRows::Row>& rows);

}  // namespace orv
