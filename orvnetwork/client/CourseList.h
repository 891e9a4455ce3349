#pragma once

#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/CourseListState.h>
#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/data/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orv {

namespace detail {
class CourseListCore;
}  // namespace detail

/// A list of the courses of the user who is signed in, for a view: the recorded ones of the classroom, its live ones of
/// one status, or those that were recorded on this device.
///
///     class Window {
///       orv::CourseList courses_ = orv::CourseList::recorded();
///       orv::Subscription changed_ = courses_.onChanged([](const orv::CourseListChange& change) { show(change); });
///       void scrolledToTheBottom() { if (courses_.canLoadMore()) courses_.loadMore(); }
///     };
///
/// **Rows.** `at` gives a row that is there: never the disk, never a wait. Rows are copies that nobody changes. They begin
/// with what the catalogue has stored, without a link too, and become the server's with the first load. No course stands
/// in a list twice.
///
/// **Changes.** All that happens to the rows and the state is told through `onChanged`, one change a turn of the main
/// queue at most, never inside the call that caused it. Each brings the rows that it leads to, and what the list itself
/// gives out follows it: `size` and `at` change when the change is told, not before.
///
/// **The server's list.** Pages are read one at a time, in order. A list that changes between two pages would have a course
/// twice, or miss one: each page is held against the page in front of it, which is read once more where what is known does
/// not tell that the two belong together, and where they do not all pages are read anew. A load of the first page costs
/// one request, of every further page two, a refresh one request a page as long as nothing on the server has moved out of
/// its place, and at most seven a page whatever happens; a request that is not answered is made three times. What was read
/// is taken over by the catalogue, which drops what the server lists no longer.
///
/// **The end** is known when a page is not full, or brings no course that has a room. Nothing is ever asked for behind it
/// until a `refresh`. One load reads no more than 1,000 pages beyond those that are there; a list that is longer is idle
/// then, and goes on with the next load.
///
/// **The link.** When it is up again, a list that has been loaded refreshes itself, within 2 s when somebody is subscribed
/// and in the 2 s after that otherwise; a load that was under way goes on then, or fails when that takes too long. That is so
/// after a silence of the server on the same connection too, beside a `Client`, which notices it.
///
/// **The session.** A load that the server keeps back for want of a session fails as `NoSession` after 12 s. When a renewal
/// of the session succeeds, which follows a sign-in too, the list tries again by itself within the same spans.
///
/// **The user.** When another user comes, or another classroom, all rows go in one change, and those of the new user come;
/// a list that has been loaded is loaded for the new user.
///
/// Local courses need no server: that list is complete as soon as it is read, and follows what anybody in the process does
/// to them. All lists follow what is done to the courses through `QXCourseManager`.
///
/// Lists are made after the `Client`: the first one makes the managers, which read the disk there and then, on the main
/// thread, and settle in which folder everything is kept. Beside a client this has happened already.
///
/// Main thread; a debug build looks after that. Destroying a list is silence for good, from inside its own callbacks too,
/// and withdraws what is under way.
class ORV_EXPORT CourseList {
 public:
  /// The recorded courses of the classroom.
  static CourseList recorded();
  /// The live courses of the classroom that have a status.
  /// @param status 1: to come; 2: on the air; 3: over. Any other has no list on the server: such a list stays empty and
  ///   every load fails as refused
  static CourseList live(std::uint64_t status);
  /// The courses that were recorded on this device and are not published yet.
  static CourseList local();

  /// The other one may then only be destroyed, or become another list.
  CourseList(CourseList&& other) noexcept;
  /// Destroys the list that it was.
  CourseList& operator=(CourseList&& other) noexcept;
  ~CourseList();

  /// How many rows there are now. Says nothing about the end.
  std::size_t size() const;
  /// The row at an index; null when the index is not below the size.
  CourseRows::Row at(std::size_t index) const;
  /// Where the course of a room stands; absent when it is not in the list.
  std::optional<std::size_t> indexOf(std::int64_t roomID) const;
  /// The rooms' numbers, in the order of the rows.
  std::vector<std::int64_t> keys() const;
  /// All rows as they are now; never null.
  CourseRowsPointer rows() const;

  /// What the list is about. Loading begins inside the call that begins it; all else is told first.
  const CourseListState& state() const;
  bool isLoading() const { return state().phase == CourseListPhase::Loading; }
  /// Whether all courses are here and nothing is under way.
  bool atEnd() const { return state().phase == CourseListPhase::End; }
  /// Why the last load failed; absent when it did not. The next load clears it.
  const std::optional<CourseListError>& lastError() const { return state().error; }
  /// Whether a view that wants rows may ask for more by itself: not while some are on their way, not at the end, and not
  /// after a failure, which a person, or the link or the session when they are back, has to try anew.
  bool canLoadMore() const { return state().phase == CourseListPhase::Idle; }

  /// Loads until there is at least one row more, or the end is reached. Rows that are only stored are brought up to date
  /// first. After a failure it tries again. Does nothing while the list is loading or at its end.
  void loadMore();
  /// Brings the rows that are there up to date with the server: what it lists now stands in the list, in its order. A list
  /// that was at its end is complete afterwards. Asked for while the list is loading, it follows once that is done. A local
  /// list reads what is stored anew.
  void refresh();

  /// Waits for the rows that are stored, which a worker reads: answered when they have been told, at once when they were.
  /// A list that is still empty then has nothing stored. Needs no link.
  [[nodiscard]] Pending<> whenStored();

  /// Calls `callback` with all that changes from now on, in turns of the main queue of their own, until the subscription is
  /// destroyed. How things stand now is what the list gives out. One that runs a loop of its own is told the rest when it has
  /// returned: the list may be further by then.
  [[nodiscard]] Subscription onChanged(std::function<void(const CourseListChange&)> callback);

 private:
  explicit CourseList(std::shared_ptr<detail::CourseListCore> core) noexcept;

  std::shared_ptr<detail::CourseListCore> core_;
};

}  // namespace orv
