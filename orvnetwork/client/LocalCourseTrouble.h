#pragma once

#include <orvnetwork/data/Export.h>

#include <string_view>

namespace orv {

/// Domain of the errors of `LocalCourses`; their code is a `LocalCourseTrouble`, their description a part of a sentence.
/// Errors of waiting itself, such as "cancelled", have the domain `kPendingErrorDomain`.
inline constexpr std::string_view kLocalCourseErrorDomain = "OrvLocalCourses";

/// Why something could not be done with a local course.
enum class LocalCourseTrouble {
  NotFound = 1,    ///< there is no local course with this number
  NotWritten = 2,  ///< the disk has not taken it; the console was told why
  OtherUser = 3,   ///< the user or the classroom has changed meanwhile: nothing was done here
  NotAllowed = 4,  ///< the course is being announced to the server already
  Refused = 5,     ///< the server has refused; the text is its own, with its code
  NoAnswer = 6,    ///< there was no link, or the server has not answered
};

/// Its name, for example "NotWritten". Any thread.
ORV_EXPORT std::string_view nameOf(LocalCourseTrouble trouble) noexcept;

}  // namespace orv
