#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/data/ZoneOffset.h>

#include <vector>

namespace orv {

/// Domain and code of every error of those who read zone rules.
inline constexpr std::string_view kZoneRulesErrorDomain = "OrvZoneRules";
inline constexpr std::int64_t kZoneRulesErrorCode = 1;

struct ZoneRulesResult;
struct ZoneRuleText;

/// When the clocks of a time zone go how: which local time a moment has, and which moment a local time.
///
/// A value that knows no operating system, made of the bytes of a zone file or of the text of a rule. Moments
/// are whole seconds since 1970-01-01 00:00 UTC without leap seconds; local times are told the same way, as if
/// the clock on the wall showed UTC. Rules without an end repeat for ever, with the 400 years of the Gregorian
/// calendar. Any number will do for a moment; beyond 2^60 seconds it counts as that. Any thread.
class ORV_EXPORT ZoneRules {
 public:
  using Change = ZoneChange;

  /// Those of UTC.
  ZoneRules() = default;

  /// Those of a place whose clocks never change. Offsets of more than 26 hours count as 26 hours.
  static ZoneRules ofOffset(std::int32_t secondsEast);

  /// Reads the bytes of a zone file: the form "TZif" of RFC 8536 in its versions 1 to 4, of up to
  /// `kMaxZoneFileSize` bytes. Of those that have it the 64-bit part counts, and the rule at their end for
  /// what comes after their last change. What comes before the first change has the first offset that is not
  /// summer time.
  ///
  /// The moments of a file that counts leap seconds (one of "right/") become those of a clock that does not.
  ///
  /// A file that is cut short, whose numbers contradict each other, or whose offsets exceed 26 hours is an
  /// error.
  static ZoneRulesResult ofZoneFile(std::string_view bytes);

  /// Reads a rule such as "CST-8", "<+0330>-3:30" or "EST5EDT,M3.2.0,M11.1.0/1", as the variable `TZ` may
  /// hold; with the hours of -167 to 167 that zone files use. One that has summer time but does not say when
  /// keeps to the days of the United States, ",M3.2.0,M11.1.0". What comes before 1970 is like the beginning of
  /// 1970, as it is with the C library. Anything before, between or after is an error.
  static ZoneRulesResult ofRule(std::string_view rule);

  /// The offset at a moment.
  ZoneOffset at(std::int64_t moment) const;

  /// The moment of a local time. One that is there twice stands for the first moment; one that a change of the
  /// clocks leaves out moves forward by what is left out.
  std::int64_t momentOf(std::int64_t localTime) const;

  /// The only offset there is; absent when the clocks change.
  std::optional<ZoneOffset> onlyOffset() const;

 private:
  void goOnWith(const ZoneRuleText& rule);
  std::int64_t wholeCyclesTo(std::int64_t moment) const;
  std::size_t changesUntil(std::int64_t moment) const;
  ZoneOffset offsetAfter(std::size_t changes) const;

  ZoneOffset first_;                        // before all changes
  std::vector<Change> changes_;             // in the order of time
  std::optional<std::int64_t> cycleBegin_;  // from this moment on the changes repeat themselves
};

/// What reading zone rules answers: the rules, or why there are none.
struct ZoneRulesResult {
  std::optional<ZoneRules> rules;
  /// Whether they come from a file that counts leap seconds; those end when the next leap second was not known.
  bool countsLeapSeconds = false;
  /// Meaningful only without rules.
  Error error;
};

}  // namespace orv
