#pragma once

#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/data/Export.h>

#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// What a list of courses is about.
enum class CourseListPhase {
  Idle,     ///< nothing is under way; there may be more courses
  Loading,  ///< courses are on their way
  End,      ///< nothing is under way, and all courses are here
  Failed,   ///< what was under way has failed; the rows are those of before
};

/// Why courses did not come.
enum class CourseListErrorKind {
  NoUser,       ///< nobody is signed in
  NoClassroom,  ///< the user has no classroom, and so no courses on the server
  NoLink,       ///< there is no link to the server, or it was lost
  NoSession,    ///< the server keeps its answer back until the user has a session again
  TimedOut,     ///< the server did not answer
  Refused,      ///< the server refused
};

/// A failure of a list.
struct CourseListError {
  CourseListErrorKind kind = CourseListErrorKind::NoLink;
  /// For people: the server's own text where there is one. One line, without a full stop.
  std::string text;
  /// What the server answered with; absent where it did not refuse.
  std::optional<ReplyCode> code{};
  friend bool operator==(const CourseListError&, const CourseListError&) = default;

  /// All of it in one line for a log and its reader, without a full stop, for example
  /// `the courses did not come (Refused, code 5): no lists today`. Control characters are blanks. Any thread.
  ORV_EXPORT std::string sentence() const;
};

/// What a list of courses is about, and why it failed when it did. A plain value.
struct CourseListState {
  CourseListPhase phase = CourseListPhase::Idle;
  /// There when the phase is `Failed`, and only then.
  std::optional<CourseListError> error;
  friend bool operator==(const CourseListState&, const CourseListState&) = default;
};

/// Their names, for example "Loading" and "NoLink". Any thread.
ORV_EXPORT std::string_view nameOf(CourseListPhase phase) noexcept;
ORV_EXPORT std::string_view nameOf(CourseListErrorKind kind) noexcept;

}  // namespace orv
