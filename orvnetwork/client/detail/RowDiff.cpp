#include "orvnetwork/client/detail/RowDiff.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace orv::detail {

namespace {

using Rows = std::span<const CourseRows::Row>;
using Places = std::vector<std::size_t>;

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

/// What two lists of rows do not have in common at their beginnings and their ends.
struct Middle {
  Middle(Rows before, Rows after) {
    const auto sameRoom = [](const auto& one, const auto& other) { return one->roomID == other->roomID; };
    const std::size_t shorter = std::min(before.size(), after.size());
    while (first < shorter && sameRoom(before[first], after[first])) ++first;
    std::size_t tail = 0;
    while (first + tail < shorter &&
           sameRoom(before[before.size() - 1 - tail], after[after.size() - 1 - tail])) {
      ++tail;
    }
    endBefore = before.size() - tail;
    endAfter = after.size() - tail;
  }
  std::size_t first = 0, endBefore = 0, endAfter = 0;
};

void addUpwards(std::vector<CourseListRange>& ranges, std::size_t index) {
  if (!ranges.empty() && ranges.back().first + ranges.back().count == index) {
    ++ranges.back().count;
  } else {
    ranges.push_back({index, 1});
  }
}

void addDownwards(std::vector<CourseListRange>& ranges, std::size_t index) {
  if (!ranges.empty() && ranges.back().first == index + 1) {
    ranges.back() = {index, ranges.back().count + 1};
  } else {
    ranges.push_back({index, 1});
  }
}

/// Tells what has gone and what has come. Gives, for what then stands between the common ends, its place in the end.
Places takeOutAndPutIn(CourseListChange& change, const Middle& middle) {
  for (std::size_t index = middle.endBefore; index > middle.first; --index) {
    const auto room = change.before->all()[index - 1]->roomID.get();
    if (!change.after->indexOf(room)) addDownwards(change.removed, index - 1);
  }
  Places places(middle.endAfter - middle.first, kNone);
  for (std::size_t index = middle.first; index < middle.endAfter; ++index) {
    if (change.before->indexOf(change.after->all()[index]->roomID)) continue;
    addUpwards(change.inserted, index);
    places[index - middle.first] = index;
  }
  auto free = places.begin();
  for (std::size_t index = middle.first; index < middle.endBefore; ++index) {
    const auto place = change.after->indexOf(change.before->all()[index]->roomID);
    if (!place) continue;
    free = std::find(free, places.end(), kNone);
    *free++ = *place;
  }
  return places;
}

/// Those that can stay: the longest run of places that goes up, as a flag for each.
std::vector<bool> longestRun(const Places& places) {
  std::vector<std::size_t> lowestEnd;  // of the runs of each length, by index
  std::vector<std::size_t> previous(places.size(), kNone);
  for (std::size_t index = 0; index < places.size(); ++index) {
    const auto longer =
        std::ranges::lower_bound(lowestEnd, places[index], {}, [&](std::size_t end) { return places[end]; });
    if (longer != lowestEnd.begin()) previous[index] = *(longer - 1);
    if (longer == lowestEnd.end()) {
      lowestEnd.push_back(index);
    } else {
      *longer = index;
    }
  }
  std::vector<bool> stays(places.size(), false);
  for (std::size_t index = lowestEnd.empty() ? kNone : lowestEnd.back(); index != kNone;
       index = previous[index]) {
    stays[index] = true;
  }
  return stays;
}

/// Moves each that cannot stay behind the one that it follows in the end.
void tellMoves(CourseListChange& change, Places places, std::size_t first) {
  const std::vector<bool> stays = longestRun(places);
  Places moved;
  for (std::size_t index = 0; index < places.size(); ++index) {
    if (!stays[index]) moved.push_back(places[index]);
  }
  change.reordered = moved.size() > CourseListChange::kMostMoves;
  if (change.reordered) return;
  std::ranges::sort(moved);
  for (const std::size_t place : moved) {
    const auto from = std::ranges::find(places, place);
    const auto fromIndex = static_cast<std::size_t>(from - places.begin());
    places.erase(from);
    const auto to = place == first ? places.begin() : std::ranges::find(places, place - 1) + 1;
    const auto toIndex = static_cast<std::size_t>(to - places.begin());
    places.insert(to, place);
    if (fromIndex != toIndex) change.moves.push_back({first + fromIndex, first + toIndex});
  }
}

void tellUpdated(CourseListChange& change) {
  const Rows before = change.before->all(), after = change.after->all();
  for (std::size_t index = 0; index < after.size(); ++index) {
    if (index < before.size() && before[index] == after[index]) continue;
    const auto place = change.before->indexOf(after[index]->roomID);
    if (place && before[*place] != after[index]) addUpwards(change.updated, index);
  }
}

}  // namespace

CourseListChange diffOf(CourseRowsPointer before, CourseRowsPointer after) {
  CourseListChange change;
  change.before = std::move(before);
  change.after = std::move(after);
  if (change.before == change.after) return change;
  const Middle middle(change.before->all(), change.after->all());
  Places places = takeOutAndPutIn(change, middle);
  if (!std::ranges::is_sorted(places)) tellMoves(change, std::move(places), middle.first);
  tellUpdated(change);
  return change;
}

bool leadsThere(const CourseListChange& change) {
  const auto before = change.before->all();
  std::vector<CourseRows::Row> rows(before.begin(), before.end());
  apply(change, rows);
  return std::ranges::equal(rows, change.after->all());
}

}  // namespace orv::detail
