#include "cli/NetworkOptions.h"

namespace orv::cli {

NetworkSettings networkSettings(const Options& options) {
  NetworkSettings settings;
  settings.proxy = options.proxy;
  settings.tls.rootFiles = options.roots;
  settings.tls.pins = options.pins;
  return settings;
}

}  // namespace orv::cli
