#pragma once

namespace orv {

/// Which calendar counts.
enum class CalendarKind {
  OfLocale,   ///< the one of the user's locale: Gregorian for most, Buddhist or Persian for some
  Gregorian,  ///< always the Gregorian one, as in formats that machines read
};

}  // namespace orv
