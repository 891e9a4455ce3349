#include "orvnetwork/client/CourseListState.h"

namespace orv {

std::string_view nameOf(CourseListPhase phase) noexcept {
  switch (phase) {
    case CourseListPhase::Idle:
      return "Idle";
    case CourseListPhase::Loading:
      return "Loading";
    case CourseListPhase::End:
      return "End";
    case CourseListPhase::Failed:
      return "Failed";
  }
  return "";
}

std::string_view nameOf(CourseListErrorKind kind) noexcept {
  switch (kind) {
    case CourseListErrorKind::NoUser:
      return "NoUser";
    case CourseListErrorKind::NoClassroom:
      return "NoClassroom";
    case CourseListErrorKind::NoLink:
      return "NoLink";
    case CourseListErrorKind::NoSession:
      return "NoSession";
    case CourseListErrorKind::TimedOut:
      return "TimedOut";
    case CourseListErrorKind::Refused:
      return "Refused";
  }
  return "";
}

}  // namespace orv
