#include "orvnetwork/support/QXDate.h"

#include <orvnetwork/support/detail/Spans.h>

#include <limits>

namespace orv {

namespace {

/// The smallest number has no opposite; the largest is as far beyond every limit.
std::int64_t opposite(std::int64_t amount) {
  constexpr auto kLimits = std::numeric_limits<std::int64_t>();
  return amount == kLimits.min() ? kLimits.max() : -amount;
}

}  // namespace

QXDate QXDate::dateByAddingYears(std::int64_t years) const {
  return QXDate(Calendar().adding(since1970_, CalendarUnit::Year, years));
}

QXDate QXDate::dateBySubtractingYears(std::int64_t years) const {
  return dateByAddingYears(opposite(years));
}

QXDate QXDate::dateByAddingMonths(std::int64_t months) const {
  return QXDate(Calendar().adding(since1970_, CalendarUnit::Month, months));
}

QXDate QXDate::dateBySubtractingMonths(std::int64_t months) const {
  return dateByAddingMonths(opposite(months));
}

QXDate QXDate::dateByAddingDays(std::int64_t days) const {
  return QXDate(Calendar().adding(since1970_, CalendarUnit::Day, days));
}

QXDate QXDate::dateBySubtractingDays(std::int64_t days) const {
  return dateByAddingDays(opposite(days));
}

QXDate QXDate::dateByAddingHours(std::int64_t hours) const {
  return shifted(hours, kHour);
}

QXDate QXDate::dateBySubtractingHours(std::int64_t hours) const {
  return dateByAddingHours(opposite(hours));
}

QXDate QXDate::dateByAddingMinutes(std::int64_t minutes) const {
  return shifted(minutes, kMinute);
}

QXDate QXDate::dateBySubtractingMinutes(std::int64_t minutes) const {
  return dateByAddingMinutes(opposite(minutes));
}

QXDate QXDate::dateAtStartOfDay() const {
  return atTimeOfDay(0, 0, 0);
}

QXDate QXDate::dateAtEndOfDay() const {
  return atTimeOfDay(23, 59, 59);
}

QXDate QXDate::shifted(std::int64_t amount, Seconds span) const {
  return QXDate(since1970_ + static_cast<double>(amount) * span);
}

QXDate QXDate::atTimeOfDay(int hour, int minute, int second) const {
  const Calendar calendar = currentCalendar().fixed();
  CalendarFields fields = calendar.fields(since1970_);
  fields.hour = hour;
  fields.minute = minute;
  fields.second = second;
  return QXDate(calendar.moment(fields).value_or(since1970_));
}

}  // namespace orv
