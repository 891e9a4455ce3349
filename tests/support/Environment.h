#pragma once

#include <cstdint>
#include <cstdlib>

namespace orv::test {

/// A number that whoever starts the tests may set to make them longer or to begin elsewhere, as script/nightly does.
inline std::uint64_t numberFromEnvironment(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

}  // namespace orv::test
