#include "orvnetwork/support/QXDate.h"

#include <orvnetwork/support/detail/Spans.h>

namespace orv {

namespace {

/// Cut off towards 0.
std::int64_t wholeSpans(Seconds distance, Seconds span) {
  return static_cast<std::int64_t>(distance / span);
}

CalendarFields fieldsOf(const QXDate& date) {
  return QXDate::currentCalendar().fields(date.since1970());
}

}  // namespace

CalendarFields QXDate::componentsWithOffsetFromDate(const QXDate& other) const {
  return currentCalendar().difference(other.since1970_, since1970_);
}

std::int64_t QXDate::minutesAfterDate(const QXDate& other) const {
  return wholeSpans(since1970_ - other.since1970_, kMinute);
}

std::int64_t QXDate::minutesBeforeDate(const QXDate& other) const {
  return wholeSpans(other.since1970_ - since1970_, kMinute);
}

std::int64_t QXDate::hoursAfterDate(const QXDate& other) const {
  return wholeSpans(since1970_ - other.since1970_, kHour);
}

std::int64_t QXDate::hoursBeforeDate(const QXDate& other) const {
  return wholeSpans(other.since1970_ - since1970_, kHour);
}

std::int64_t QXDate::daysAfterDate(const QXDate& other) const {
  return wholeSpans(since1970_ - other.since1970_, kDay);
}

std::int64_t QXDate::daysBeforeDate(const QXDate& other) const {
  return wholeSpans(other.since1970_ - since1970_, kDay);
}

std::int64_t QXDate::distanceInDaysToDate(const QXDate& other) const {
  return Calendar(Calendar::Kind::Gregorian).daysBetween(since1970_, other.since1970_);
}

std::int64_t QXDate::nearestHour() const {
  constexpr Seconds kHalfAnHour{1800};
  return fieldsOf(QXDate(now().since1970() + kHalfAnHour)).hour;
}

std::int64_t QXDate::hour() const {
  return fieldsOf(*this).hour;
}

std::int64_t QXDate::minute() const {
  return fieldsOf(*this).minute;
}

std::int64_t QXDate::seconds() const {
  return fieldsOf(*this).second;
}

std::int64_t QXDate::day() const {
  return fieldsOf(*this).day;
}

std::int64_t QXDate::month() const {
  return fieldsOf(*this).month;
}

std::int64_t QXDate::year() const {
  return fieldsOf(*this).year;
}

std::int64_t QXDate::week() const {
  return fieldsOf(*this).weekOfMonth;
}

std::int64_t QXDate::weekday() const {
  return fieldsOf(*this).weekday;
}

std::int64_t QXDate::nthWeekday() const {
  return fieldsOf(*this).weekdayOrdinal;
}

}  // namespace orv
