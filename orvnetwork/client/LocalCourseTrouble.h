#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>

#include <optional>
#include <string_view>

namespace orv {

/// Domain of the errors of `LocalCourses`; their code is a `LocalCourseTrouble`, their description a part of a sentence.
/// A refusal by the server has the domain `kReplyErrorDomain` and the server's code instead, and errors of waiting itself,
/// such as "cancelled", have the domain `kPendingErrorDomain`; `localCourseTroubleOf` sorts them.
inline constexpr std::string_view kLocalCourseErrorDomain = "OrvLocalCourses";

/// Why something could not be done with a local course.
enum class LocalCourseTrouble {
  NotFound = 1,    ///< there is no local course with this number
  NotWritten = 2,  ///< the disk has not taken it; the console was told why
  OtherUser = 3,   ///< the user or the classroom has changed meanwhile: nothing was done on this device
  NotAllowed = 4,  ///< the course is being announced to the server already
  Refused = 5,     ///< the server has refused, or has told no room; where it gave a code the error has that
  NoAnswer = 6,    ///< there was no link, or the server has not answered
};

/// What an error of `LocalCourses` means, for example:
///
///     orv::LocalCourses local;
///     const auto kept = local.publish(1690000001).then([](const orv::LocalCourses::Answer& published) {
///       if (published) return show("the course is on the server");
///       const orv::Error& error = published.error();
///       if (error.domain == orv::kReplyErrorDomain && error.code == 1203) return show("this is not your classroom");
///       const auto trouble = orv::localCourseTroubleOf(error);
///       if (trouble == orv::LocalCourseTrouble::NoAnswer) show("the server does not answer, try again");
///     });
///
/// @return absent for an error of waiting itself, and for one of somebody else's. Any thread.
ORV_EXPORT std::optional<LocalCourseTrouble> localCourseTroubleOf(const Error& error) noexcept;
/// Its name, for example "NotWritten". Any thread.
ORV_EXPORT std::string_view nameOf(LocalCourseTrouble trouble) noexcept;

}  // namespace orv
