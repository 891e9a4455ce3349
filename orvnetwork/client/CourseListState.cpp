#include "orvnetwork/client/CourseListState.h"

#include <orvnetwork/client/detail/PlainText.h>

#include <cstdint>
#include <utility>

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

std::string CourseListError::sentence() const {
  std::string line("the courses did not come (");
  line += nameOf(kind);
  if (code) {
    line += ", code " + std::to_string(static_cast<std::int32_t>(*code));
    if (const auto name = nameOf(*code); !name.empty()) line.append(" ").append(name);
  }
  line += ')';
  return asOneLine(std::move(line), text);
}

}  // namespace orv
