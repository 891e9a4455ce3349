#pragma once

#include <string>
#include <string_view>

namespace orv {

/// The zone name at the end of the path of a zone file; empty when the path is not one of a zone file.
std::string_view zoneNameInPath(std::string_view path);

/// A name without the "posix/" or "right/" at its front.
std::string_view plainZoneName(std::string_view name);

/// "GMT+08:00" for an offset in seconds east of Greenwich, "UTC" for none.
std::string offsetZoneName(int secondsEast);

/// "GMT+08:00" for a rule such as "CST-8" or "<+08>-08:00", "UTC" for one without an offset; empty for a rule
/// that changes in the year and for any other text.
std::string fixedOffsetZoneName(std::string_view rule);

}  // namespace orv
