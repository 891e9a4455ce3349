#pragma once

#include <orvnetwork/data/Types.h>

#include <string>
#include <string_view>

namespace orv::cli {

/// Lets through those entries of a log that are wanted, without their secrets and as any terminal may be given them. An
/// entry is a line of the log with the lines of its message behind it.
class LogFilter {
 public:
  /// @param since the stamp of the first moment that is wanted; absent: any. Lines in front of the first entry go then.
  /// @param text what the entry has to hold, upper and lower case of the Latin letters counting as the same; absent: anything
  LogFilter(OptionalString since, OptionalString text);

  /// Takes whole lines; what is wanted of the entries that they end.
  std::string take(std::string_view lines);
  /// The last entry, if it is wanted: nothing more belongs to it.
  std::string flush();

 private:
  bool isWanted(std::string_view entry) const;

  const OptionalString since_;
  const OptionalString text_;
  std::string entry_;
  bool isCut_ = false;
};

}  // namespace orv::cli
