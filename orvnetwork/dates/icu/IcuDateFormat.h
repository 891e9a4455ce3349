#pragma once

#include <orvnetwork/dates/DateFormatKey.h>

#include <unicode/calendar.h>
#include <unicode/smpdtfmt.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// ICU's formatter for a pattern or for styles, with the calendar that it counts by. One thread at a time.
class IcuDateFormat {
 public:
  /// Null when ICU cannot make one.
  static std::unique_ptr<IcuDateFormat> make(const detail::DateFormatKey& key);

  std::string format(UDate millis);
  std::optional<UDate> parse(std::string_view text);

 private:
  /// What only reading needs.
  struct Reading {
    bool hasWeekYear;
    UDate unsetFields;
  };

  IcuDateFormat(std::unique_ptr<icu::SimpleDateFormat> formatter, std::unique_ptr<icu::Calendar> calendar,
                std::unique_ptr<icu::TimeZone> zone)
      : formatter_(std::move(formatter)), calendar_(std::move(calendar)), zone_(std::move(zone)) {}
  Reading prepareReading();
  /// A text that names a zone leaves the calendar with ICU's zone of that name.
  void takeOurRulesOfZoneRead();
  bool everyFieldIsInRange() const;

  std::unique_ptr<icu::SimpleDateFormat> formatter_;
  std::unique_ptr<icu::Calendar> calendar_;
  std::unique_ptr<icu::TimeZone> zone_;  // the one to write and to read in
  std::optional<Reading> reading_;
};

}  // namespace orv
