#pragma once

#include "ClientFixture.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orv {

/// A client whose supervisor's chance is the test's.
class SupervisorFixture : public ClientFixture {
 protected:
  static constexpr std::uint32_t kMost = 0xFFFFFFFF;

  /// The next waits are the longest that there can be.
  void waitLong(std::size_t times) { platform.queueRandom(std::vector<std::uint32_t>(times, kMost)); }
  void waitShort(std::size_t times) { platform.queueRandom(std::vector<std::uint32_t>(times, 0)); }
  void expectTimes(const Times& seen, const Times& expected) const {
    ASSERT_EQ(seen.size(), expected.size()) << history();
    for (std::size_t i = 0; i < seen.size(); ++i) {
      EXPECT_NEAR(seen[i], expected[i], 1e-6) << i << "\n" << history();
    }
  }
};

}  // namespace orv
