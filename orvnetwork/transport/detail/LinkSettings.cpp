#include "orvnetwork/transport/detail/LinkSettings.h"

namespace orv {

LinkSettings& LinkSettings::standard() {
  static auto* const settings = new LinkSettings;
  return *settings;
}

}  // namespace orv
