#include "orvnetwork/platform/native/zones/ZoneNames.h"

#include <orvnetwork/data/ZoneRules.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace orv {

std::string_view zoneNameInPath(std::string_view path) {
  constexpr std::string_view kMark = "zoneinfo/";
  const std::size_t mark = path.rfind(kMark);
  return mark == std::string_view::npos ? std::string_view()
                                        : plainZoneName(path.substr(mark + kMark.size()));
}

std::string_view plainZoneName(std::string_view name) {
  for (const std::string_view variant : {"posix/", "right/"}) {
    if (name.starts_with(variant)) name.remove_prefix(variant.size());
  }
  return name;
}

std::string offsetZoneName(int secondsEast) {
  if (secondsEast == 0) return "UTC";
  const int size = std::abs(secondsEast);
  std::array<char, 48> name;
  std::snprintf(name.data(), name.size(), size % 60 == 0 ? "GMT%c%02d:%02d" : "GMT%c%02d:%02d:%02d",
                secondsEast > 0 ? '+' : '-', size / 3600, size / 60 % 60, size % 60);
  return name.data();
}

std::string fixedOffsetZoneName(std::string_view rule) {
  const ZoneRulesResult read = ZoneRules::ofRule(rule);
  const auto offset = read.rules ? read.rules->onlyOffset() : std::nullopt;
  return offset ? offsetZoneName(offset->seconds) : std::string();
}

}  // namespace orv
