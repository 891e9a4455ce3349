#pragma once

#include <cstdio>
#include <cstdlib>

namespace orv::test {

/// Ends a fuzz target, which the fuzzer takes for a finding, unless what must hold does.
inline void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

}  // namespace orv::test
