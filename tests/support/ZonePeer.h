#pragma once

#include <tests/support/ChildProgram.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// What an independent reader of zone files says of one zone; moments and local times in seconds since 1970.
struct ZonePeerCase {
  struct Moment {
    std::int64_t moment, offset;
    std::int64_t
        back;  ///< what its local time stands for: this moment or, where it is there twice, the one before
  };
  struct LeftOut {
    std::int64_t localTime, moment;
  };
  std::string zone;
  std::vector<Moment> moments;
  std::vector<LeftOut> leftOut;
};

/// Asks `zone_peer.py` for all zones, or for those named.
inline std::vector<ZonePeerCase> casesOfZonePeer(int seed, const std::vector<std::string>& zones = {}) {
  std::vector<std::string> arguments{"-B", ORV_TEST_SOURCE_DIR "/support/zone_peer.py", std::to_string(seed)};
  arguments.insert(arguments.end(), zones.begin(), zones.end());
  ChildProgram peer("/usr/bin/python3", arguments);
  peer.closeInput();
  const ChildResult result = peer.wait(std::chrono::seconds(100));
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  std::vector<ZonePeerCase> cases;
  for (std::string_view rest = result.output; !rest.empty(); rest.remove_prefix(rest.find('\n') + 1)) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    const auto number = [&line] {
      std::int64_t value = 0;
      const char* end = std::from_chars(line.data(), line.data() + line.size(), value).ptr;
      line.remove_prefix(std::min(line.size(), static_cast<std::size_t>(end - line.data()) + 1));
      return value;
    };
    if (line.starts_with("zone ")) {
      cases.push_back({.zone = std::string(line.substr(5)), .moments = {}, .leftOut = {}});
    } else if (line.starts_with("- ")) {
      line.remove_prefix(2);
      const std::int64_t localTime = number();
      cases.back().leftOut.push_back({localTime, number()});
    } else {
      const std::int64_t moment = number();
      const std::int64_t offset = number();
      cases.back().moments.push_back({moment, offset, number()});
    }
  }
  return cases;
}

}  // namespace orv::test
