// Whatever the bytes, as a zone file and as a rule: reading ends, and what was read answers with offsets that can be.

#include <orvnetwork/data/ZoneRules.h>

#include <tests/fuzz/Require.h>

#include <limits>

namespace {

using namespace orv;
using orv::test::require;

constexpr std::int32_t kMaxOffset = 26 * 3600;

void use(const ZoneRulesResult& result) {
  if (!result.rules) {
    require(!result.error.description.empty(), "a failure says why");
    return;
  }
  for (const std::int64_t moment :
       {std::int64_t{0}, std::int64_t{1'706'690'702}, std::int64_t{-9'000'000'000},
        std::int64_t{99'000'000'000}, std::int64_t{1} << 58, -(std::int64_t{1} << 58)}) {
    const std::int32_t offset = result.rules->at(moment).seconds;
    require(std::abs(offset) <= kMaxOffset, "an offset can be");
    const std::int64_t back = result.rules->momentOf(moment + offset);
    require(back <= moment && moment - back <= 2 * kMaxOffset,
            "a local time leads back, or to the first one like it");
  }
  for (const std::int64_t moment :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    require(std::abs(result.rules->at(moment).seconds) <= kMaxOffset,
            "an offset can be at the end of numbers");
    result.rules->momentOf(moment);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  use(ZoneRules::ofZoneFile(bytes));
  use(ZoneRules::ofRule(bytes));
  return 0;
}
