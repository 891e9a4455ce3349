#pragma once

#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/CourseStore.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <unordered_set>
#include <vector>

namespace orv::detail {

/// How many courses a page of the server holds; one with fewer is the last one.
inline constexpr std::size_t kCoursesAPage = 30;

/// One page of the server's list, or in its stead all that is stored. Never changed once it is there.
struct CoursePage {
  /// In the server's order, those included that are passed over: they have no course.
  std::vector<CourseStore::Read> items;
  /// Whether there may be a page behind it.
  bool isFull = false;

  /// Whether two pages have the same rooms in the same order.
  static bool sameRooms(const CoursePage& one, const CoursePage& other);
  bool has(std::int64_t roomID) const;
  std::size_t rows() const;
};
using CoursePagePointer = std::shared_ptr<const CoursePage>;
using CoursePages = std::vector<CoursePagePointer>;
using Rooms = std::set<std::int64_t>;

// All of this is for workers.

/// A page from the items that the server sent. What is no dictionary, and has no room, is passed over.
/// @param base rows that are used again where they are the same in every field
CoursePagePointer makePage(const CourseListName& list, const json::array& items, const CourseRows& base);

/// The rows of the pages, one behind the other; of a room that comes twice the first one. Gives `base` itself when that has
/// the very same rows.
CourseRowsPointer rowsOf(const CoursePages& pages, const CourseRowsPointer& base);

/// What is stored, as one page.
/// @param again the rooms whose records are to be read anew; of others the rows of `base` are taken
/// @param opened becomes the catalogue that it was read from
CoursePages storedPages(const CourseListName& list, const CourseRows& base, const Rooms& again,
                        std::uint64_t& opened);

/// The pages after something has been done to single courses in the catalogue: what it lists no longer has gone, what it
/// has changed is changed, and live courses that were added have come, behind the course that they follow there.
/// @param isWhole whether there is nothing behind the last page
CoursePages touchedPages(const CourseListName& list, CoursePages pages, const Rooms& rooms, bool isWhole,
                         std::uint64_t& opened);

}  // namespace orv::detail
