#include "orvnetwork/support/QXDate.h"

namespace orv {

std::string QXDate::stringWithFormat(std::string_view format) const {
  return DateFormat::withPattern(format).format(since1970_);
}

std::string QXDate::stringWithDateStyle_timeStyle(DateStyle dateStyle, DateStyle timeStyle) const {
  return DateFormat::withStyles(dateStyle, timeStyle).format(since1970_);
}

std::string QXDate::shortString() const {
  return stringWithDateStyle_timeStyle(DateStyle::Short, DateStyle::Short);
}

std::string QXDate::shortTimeString() const {
  return stringWithDateStyle_timeStyle(DateStyle::None, DateStyle::Short);
}

std::string QXDate::shortDateString() const {
  return stringWithDateStyle_timeStyle(DateStyle::Short, DateStyle::None);
}

std::string QXDate::mediumString() const {
  return stringWithDateStyle_timeStyle(DateStyle::Medium, DateStyle::Medium);
}

std::string QXDate::mediumTimeString() const {
  return stringWithDateStyle_timeStyle(DateStyle::None, DateStyle::Medium);
}

std::string QXDate::mediumDateString() const {
  return stringWithDateStyle_timeStyle(DateStyle::Medium, DateStyle::None);
}

std::string QXDate::longString() const {
  return stringWithDateStyle_timeStyle(DateStyle::Long, DateStyle::Long);
}

std::string QXDate::longTimeString() const {
  return stringWithDateStyle_timeStyle(DateStyle::None, DateStyle::Long);
}

std::string QXDate::longDateString() const {
  return stringWithDateStyle_timeStyle(DateStyle::Long, DateStyle::None);
}

QXDate QXDate::dateWithYMD() const {
  // Calendars whose years "yyyy" does not tell apart cannot read it back.
  return dateWithFormatter("yyyy-MM-dd").value_or(dateAtStartOfDay());
}

std::optional<QXDate> QXDate::dateWithFormatter(std::string_view format) const {
  const DateFormat formatter = DateFormat::withPattern(format);
  const std::optional<Seconds> moment = formatter.parse(formatter.format(since1970_));
  return moment ? std::optional(QXDate(*moment)) : std::nullopt;
}

}  // namespace orv
