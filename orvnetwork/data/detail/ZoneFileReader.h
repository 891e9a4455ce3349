#pragma once

#include <orvnetwork/data/ZoneOffset.h>
#include <orvnetwork/data/detail/ZoneRuleText.h>

#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace orv {

/// What a zone file says.
struct ZoneFileContent {
  ZoneOffset first;                 ///< before the first change
  std::vector<ZoneChange> changes;  ///< in the order of time
  bool countsLeapSeconds = false;
  std::optional<ZoneRuleText> rule;  ///< after the last change; absent: it stays as it is then
};

/// Says why bytes are no zone file.
struct ZoneFileDamage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Throws `ZoneFileDamage`. See `ZoneRules::ofZoneFile`.
ZoneFileContent readZoneFile(std::string_view bytes);

}  // namespace orv
