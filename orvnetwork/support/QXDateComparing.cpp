#include "orvnetwork/support/QXDate.h"

namespace orv {

namespace {

constexpr Seconds kWeek{604'800};
constexpr std::int64_t kSunday = 1;
constexpr std::int64_t kSaturday = 7;

/// The fields of two dates under the same settings.
struct FieldsOfBoth {
  FieldsOfBoth(const QXDate& left, const QXDate& right) {
    const Calendar calendar = QXDate::currentCalendar().fixed();
    first = calendar.fields(left.since1970());
    second = calendar.fields(right.since1970());
  }
  CalendarFields first;
  CalendarFields second;
};

}  // namespace

bool QXDate::isEqualToDateIgnoringTime(const QXDate& other) const {
  const auto [mine, others] = FieldsOfBoth(*this, other);
  return mine.year == others.year && mine.month == others.month && mine.day == others.day;
}

bool QXDate::isToday() const {
  return isEqualToDateIgnoringTime(now());
}

bool QXDate::isTomorrow() const {
  return isEqualToDateIgnoringTime(dateTomorrow());
}

bool QXDate::isYesterday() const {
  return isEqualToDateIgnoringTime(dateYesterday());
}

bool QXDate::isSameWeekAsDate(const QXDate& other) const {
  const auto [mine, others] = FieldsOfBoth(*this, other);
  return mine.weekOfMonth == others.weekOfMonth && std::chrono::abs(since1970_ - other.since1970_) < kWeek;
}

bool QXDate::isThisWeek() const {
  return isSameWeekAsDate(now());
}

bool QXDate::isNextWeek() const {
  return isSameWeekAsDate(QXDate(now().since1970() + kWeek));
}

bool QXDate::isLastWeek() const {
  return isSameWeekAsDate(QXDate(now().since1970() - kWeek));
}

bool QXDate::isSameMonthAsDate(const QXDate& other) const {
  const auto [mine, others] = FieldsOfBoth(*this, other);
  return mine.year == others.year && mine.month == others.month;
}

bool QXDate::isThisMonth() const {
  return isSameMonthAsDate(now());
}

bool QXDate::isNextMonth() const {
  return isSameMonthAsDate(now().dateByAddingMonths(1));
}

bool QXDate::isLastMonth() const {
  return isSameMonthAsDate(now().dateBySubtractingMonths(1));
}

bool QXDate::isSameYearAsDate(const QXDate& other) const {
  const auto [mine, others] = FieldsOfBoth(*this, other);
  return mine.year == others.year;
}

bool QXDate::isThisYear() const {
  return isSameYearAsDate(now());
}

bool QXDate::isNextYear() const {
  const auto [mine, current] = FieldsOfBoth(*this, now());
  return mine.year == current.year + 1;
}

bool QXDate::isLastYear() const {
  const auto [mine, current] = FieldsOfBoth(*this, now());
  return mine.year == current.year - 1;
}

bool QXDate::isEarlierThanDate(const QXDate& other) const {
  return *this < other;
}

bool QXDate::isLaterThanDate(const QXDate& other) const {
  return *this > other;
}

bool QXDate::isInFuture() const {
  return isLaterThanDate(now());
}

bool QXDate::isInPast() const {
  return isEarlierThanDate(now());
}

bool QXDate::isTypicallyWeekend() const {
  const std::int64_t today = weekday();
  return today == kSunday || today == kSaturday;
}

bool QXDate::isTypicallyWorkday() const {
  return !isTypicallyWeekend();
}

}  // namespace orv
