#include "orvnetwork/support/QXDate.h"

#include <orvnetwork/platform/Platform.h>

namespace orv {

QXDate QXDate::now() {
  return QXDate(Platform::current().clock().wallNow());
}

const Calendar& QXDate::currentCalendar() {
  return Calendar::current();
}

QXDate QXDate::dateWithDaysFromNow(std::int64_t days) {
  return now().dateByAddingDays(days);
}

QXDate QXDate::dateWithDaysBeforeNow(std::int64_t days) {
  return now().dateBySubtractingDays(days);
}

QXDate QXDate::dateTomorrow() {
  return dateWithDaysFromNow(1);
}

QXDate QXDate::dateYesterday() {
  return dateWithDaysBeforeNow(1);
}

QXDate QXDate::dateWithHoursFromNow(std::int64_t hours) {
  return now().dateByAddingHours(hours);
}

QXDate QXDate::dateWithHoursBeforeNow(std::int64_t hours) {
  return now().dateBySubtractingHours(hours);
}

QXDate QXDate::dateWithMinutesFromNow(std::int64_t minutes) {
  return now().dateByAddingMinutes(minutes);
}

QXDate QXDate::dateWithMinutesBeforeNow(std::int64_t minutes) {
  return now().dateBySubtractingMinutes(minutes);
}

std::optional<QXDate> QXDate::date_WithFormat(std::string_view text, std::string_view format) {
  const std::optional<Seconds> moment = DateFormat::withPattern(format).parse(text);
  return moment ? std::optional(QXDate(*moment)) : std::nullopt;
}

}  // namespace orv
