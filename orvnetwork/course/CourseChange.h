#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orv {

/// The kinds of courses that the catalogue keeps.
enum class CourseListKind {
  Local,     ///< recorded on this device
  Recorded,  ///< recorded, in the cloud
  Live,      ///< live, with a list for each status
};

/// One of the catalogue's lists.
struct CourseListName {
  CourseListKind kind = CourseListKind::Recorded;
  /// Of live courses; 0 for the other kinds.
  std::uint64_t status = 0;
  friend bool operator==(const CourseListName&, const CourseListName&) = default;
};

/// What has been done to the catalogue; see `CourseStore::observe`.
struct CourseChange {
  enum class What {
    Opened,  ///< the catalogue is another user's or another classroom's now
    Course,  ///< one course was added, changed, put elsewhere, or removed
    Page,    ///< courses have come from the server
    All,     ///< anything may be different in this kind of courses
  };
  What what = What::All;
  CourseListName list{};
  /// Of `Course`: the number of its room.
  std::int64_t roomID = 0;
  /// Of `Page`: the rooms in the order of the server, those included that are passed over, and which place in the
  /// server's list the first of them has.
  std::vector<std::int64_t> rooms{};
  std::size_t first = 0;
  /// Of `Page` with `by`: which courses have another record now, have come into the list, or have left it.
  std::vector<std::int64_t> news{};
  /// Of `Page`: who has taken them over with `CourseStore::takeOver`; null for a range that was asked of the manager.
  const void* by = nullptr;
};

}  // namespace orv
