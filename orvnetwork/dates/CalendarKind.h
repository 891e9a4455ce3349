#pragma once

namespace orv {

/// Which calendar counts: the one of the user's locale (Gregorian for most), or always the Gregorian one.
enum class CalendarKind { OfLocale, Gregorian };

}  // namespace orv
