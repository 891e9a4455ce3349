#include "orvnetwork/data/Result.h"

#include <cstdio>
#include <cstdlib>

namespace orv::detail {

void endForMissingValue(const Error& error) noexcept {
  std::fprintf(stderr, "OrvNetwork: the value of a result was asked for that holds an error: %s %lld: %s\n",
               error.domain.c_str(), static_cast<long long>(error.code), error.description.c_str());
  std::abort();
}

}  // namespace orv::detail
