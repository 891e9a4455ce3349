#pragma once

namespace orv {

/// Which calendar counts.
/// What a host shows to its user goes by the locale; what it sends, stores or compares goes by the Gregorian
/// calendar: the year 2024 of that one is 2567 of the Buddhist.
enum class CalendarKind {
  OfLocale,   ///< the one of the user's locale: Gregorian for most, Buddhist or Persian for some
  Gregorian,  ///< always the Gregorian one, as in formats that machines read
};

}  // namespace orv
