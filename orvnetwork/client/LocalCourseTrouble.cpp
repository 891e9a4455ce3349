#include "orvnetwork/client/LocalCourseTrouble.h"

namespace orv {

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
