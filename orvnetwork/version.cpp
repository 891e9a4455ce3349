#include "orvnetwork/version.h"

namespace orv {

std::string_view libraryVersion() noexcept {
  return ORV_VERSION_TEXT;
}

}  // namespace orv
