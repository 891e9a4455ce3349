#pragma once

#include <orvnetwork/support/QXDate.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>

namespace orv::test {

/// The moment of a date and a time of day in UTC, by the standard library.
inline QXDate utc(int year, int month, int day, int hour = 0, int minute = 0, double second = 0) {
  using namespace std::chrono;
  const sys_days date = std::chrono::year(year) / month / day;
  return QXDate(Seconds(date.time_since_epoch()) + hours(hour) + minutes(minute) + Seconds(second));
}

/// A date in the user's zone, "2024-01-31 08:45:02", by its fields.
inline std::string localText(const QXDate& date) {
  const CalendarFields fields = QXDate::currentCalendar().fields(date.since1970());
  char text[128];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", static_cast<int>(fields.year),
                static_cast<int>(fields.month), static_cast<int>(fields.day), static_cast<int>(fields.hour),
                static_cast<int>(fields.minute), static_cast<int>(fields.second));
  return text;
}

/// The date that a text of that form tells of; the first one where there are two.
inline QXDate local(std::string_view text) {
  return QXDate::date_WithFormat(text, "yyyy-MM-dd HH:mm:ss").value();
}

}  // namespace orv::test
