#include "orvnetwork/data/detail/ZoneRuleText.h"

#include <orvnetwork/data/detail/Characters.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string_view>
#include <vector>

namespace orv {

namespace {

using std::chrono::days;
using std::chrono::sys_days;

constexpr std::int64_t kSecondsPerDay = 86'400;

/// Reads the parts of a rule off its front. What is not there is told by absence.
class RuleReader {
 public:
  explicit RuleReader(std::string_view text) : rest_(text) {}

  bool atEnd() const { return rest_.empty(); }

  bool take(char wanted) {
    if (!rest_.starts_with(wanted)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  /// Three letters or more, or the like in angle brackets.
  bool takeAbbreviation() {
    const bool bracketed = take('<');
    const auto belongs = [&](char c) {
      return isLetter(c) || (bracketed && (isDigit(c) || c == '+' || c == '-'));
    };
    const std::size_t size = sizeOf(belongs);
    rest_.remove_prefix(size);
    return size >= 3 && (!bracketed || take('>'));
  }

  std::optional<unsigned> takeNumber(unsigned least, unsigned most) {
    constexpr std::size_t kMaxDigits = 3;
    const std::size_t size = sizeOf(isDigit);
    if (size == 0 || size > kMaxDigits) return std::nullopt;
    unsigned number = 0;
    for (const char digit : rest_.substr(0, size)) number = number * 10 + static_cast<unsigned>(digit - '0');
    rest_.remove_prefix(size);
    if (number < least || number > most) return std::nullopt;
    return number;
  }

  /// "2", "+2:30" or "-0:30:15", in seconds.
  std::optional<std::int32_t> takeTime(unsigned mostHours) {
    const bool negative = take('-');
    if (!negative) take('+');
    const auto hours = takeNumber(0, mostHours);
    const auto minutes = hours && take(':') ? takeNumber(0, 59) : std::optional(0U);
    const auto seconds = minutes && take(':') ? takeNumber(0, 59) : std::optional(0U);
    if (!hours || !minutes || !seconds) return std::nullopt;
    const auto sum = static_cast<std::int32_t>(*hours * 3600 + *minutes * 60 + *seconds);
    return negative ? -sum : sum;
  }

  /// "M3.2.0/1" and the like.
  std::optional<YearlyMoment> takeYearlyMoment() {
    constexpr unsigned kMostHours = 167;
    YearlyMoment moment;
    if (take('M')) {
      const auto month = takeNumber(1, 12);
      const auto week = month && take('.') ? takeNumber(1, 5) : std::nullopt;
      const auto day = week && take('.') ? takeNumber(0, 6) : std::nullopt;
      if (!day) return std::nullopt;
      moment = {.kind = YearlyMoment::Day::OfWeek, .month = *month, .week = *week, .day = *day};
    } else {
      const bool withoutLeapDay = take('J');
      const auto day = takeNumber(withoutLeapDay ? 1 : 0, 365);
      if (!day) return std::nullopt;
      moment.kind = withoutLeapDay ? YearlyMoment::Day::WithoutLeapDay : YearlyMoment::Day::FromZero;
      moment.day = *day;
    }
    const auto time = take('/') ? takeTime(kMostHours) : std::optional(2 * 3600);
    if (!time) return std::nullopt;
    moment.seconds = *time;
    return moment;
  }

 private:
  template <typename Belongs>
  std::size_t sizeOf(const Belongs& belongs) const {
    const auto end = std::find_if_not(rest_.begin(), rest_.end(), belongs);
    return static_cast<std::size_t>(end - rest_.begin());
  }

  std::string_view rest_;
};

/// A rule counts hours west of Greenwich as positive.
std::optional<std::int32_t> takeOffset(RuleReader& reader) {
  const auto west = reader.takeTime(24);
  return west ? std::optional(-*west) : std::nullopt;
}

std::optional<ZoneRuleText::Summer> takeSummer(RuleReader& reader, const ZoneOffset& standard) {
  constexpr std::string_view kDaysOfTheUnitedStates = ",M3.2.0,M11.1.0";
  if (!reader.takeAbbreviation()) return std::nullopt;
  ZoneRuleText::Summer summer{.offset = {standard.seconds + 3600, true}, .begin = {}, .end = {}};
  bool hasDays = reader.take(',');
  if (!hasDays && !reader.atEnd()) {
    const auto offset = takeOffset(reader);
    if (!offset) return std::nullopt;
    summer.offset.seconds = *offset;
    hasDays = reader.take(',');
  }
  if (!hasDays || reader.atEnd()) {
    if (!reader.atEnd()) return std::nullopt;
    reader = RuleReader(kDaysOfTheUnitedStates);
    reader.take(',');
  }
  const auto begin = reader.takeYearlyMoment();
  const auto end = begin && reader.take(',') ? reader.takeYearlyMoment() : std::nullopt;
  if (!end) return std::nullopt;
  summer.begin = *begin;
  summer.end = *end;
  return summer;
}

/// A year of the same form, leap day and weekdays alike, that the standard library's dates can hold.
std::chrono::year likeYear(std::int64_t year) {
  const std::int64_t inCycle = year - floorDivide(year, kCycleYears) * kCycleYears;
  return std::chrono::year(static_cast<int>(2000 + inCycle));
}

/// How many days of a year lie before the first one of a rule.
days dayOfYear(const YearlyMoment& moment, std::chrono::year year) {
  const sys_days newYear = year / 1 / 1;
  switch (moment.kind) {
    case YearlyMoment::Day::WithoutLeapDay:
      return days(moment.day - 1 + (year.is_leap() && moment.day >= 60 ? 1 : 0));
    case YearlyMoment::Day::FromZero:
      return days(moment.day);
    case YearlyMoment::Day::OfWeek:
      break;
  }
  const auto month = year / static_cast<int>(moment.month);
  const std::chrono::weekday weekday(moment.day);
  const sys_days day = moment.week == 5 ? sys_days(month / weekday[std::chrono::last])
                                        : sys_days(month / weekday[moment.week]);
  return day - newYear;
}

}  // namespace

std::int64_t momentOfYear(std::int64_t year) {
  const std::int64_t cycles = floorDivide(year, kCycleYears);
  const std::chrono::sys_seconds inCycle = sys_days(likeYear(year) / 1 / 1);
  return inCycle.time_since_epoch().count() + (cycles - 2000 / kCycleYears) * kCycleSeconds;
}

std::int64_t yearOfMoment(std::int64_t moment) {
  const std::int64_t cycles = floorDivide(moment, kCycleSeconds);
  const days inCycle((moment - cycles * kCycleSeconds) / kSecondsPerDay);
  const std::chrono::year_month_day date{sys_days(inCycle)};
  return static_cast<int>(date.year()) + cycles * kCycleYears;
}

std::int64_t YearlyMoment::ofYear(std::int64_t year) const {
  return momentOfYear(year) + dayOfYear(*this, likeYear(year)).count() * kSecondsPerDay + seconds;
}

std::vector<ZoneChange> ZoneRuleText::changes(std::int64_t firstYear, std::int64_t lastYear) const {
  std::vector<ZoneChange> changes;
  if (!summer) return changes;
  for (std::int64_t year = firstYear; year <= lastYear; ++year) {
    changes.push_back({summer->begin.ofYear(year) - standard.seconds, summer->offset});
    changes.push_back({summer->end.ofYear(year) - summer->offset.seconds, standard});
  }
  // Stable: where one year's summer ends as the next one's begins, it goes on.
  std::stable_sort(changes.begin(), changes.end(),
                   [](const auto& one, const auto& other) { return one.moment < other.moment; });
  return changes;
}

std::optional<ZoneRuleText> readZoneRuleText(std::string_view text) {
  RuleReader reader(text);
  if (!reader.takeAbbreviation()) return std::nullopt;
  const auto offset = takeOffset(reader);
  if (!offset) return std::nullopt;
  ZoneRuleText rule;
  rule.standard.seconds = *offset;
  if (reader.atEnd()) return rule;
  rule.summer = takeSummer(reader, rule.standard);
  if (!rule.summer || !reader.atEnd()) return std::nullopt;
  return rule;
}

}  // namespace orv
