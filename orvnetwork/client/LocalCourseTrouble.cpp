#include "orvnetwork/client/LocalCourseTrouble.h"

#include <orvnetwork/client/ReplyCode.h>

namespace orv {

std::optional<LocalCourseTrouble> localCourseTroubleOf(const Error& error) noexcept {
  if (error.domain == kReplyErrorDomain) return LocalCourseTrouble::Refused;
  if (error.domain != kLocalCourseErrorDomain) return std::nullopt;
  return static_cast<LocalCourseTrouble>(error.code);
}

std::string_view nameOf(LocalCourseTrouble trouble) noexcept {
  switch (trouble) {
    case LocalCourseTrouble::NotFound:
      return "NotFound";
    case LocalCourseTrouble::NotWritten:
      return "NotWritten";
    case LocalCourseTrouble::OtherUser:
      return "OtherUser";
    case LocalCourseTrouble::NotAllowed:
      return "NotAllowed";
    case LocalCourseTrouble::Refused:
      return "Refused";
    case LocalCourseTrouble::NoAnswer:
      return "NoAnswer";
  }
  return {};
}

}  // namespace orv
