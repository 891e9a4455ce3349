#include "cli/NetworkOptions.h"

namespace orv::cli {

NetworkSettings networkSettings(const Options& options) {
  NetworkSettings settings;
  settings.proxy = options.proxy;
  settings.tls.rootFiles = options.roots;
  settings.tls.pins = options.pins;
  settings.tls.certificateFile = options.certificate;
  settings.tls.keyFile = options.key;
  if (options.wantsTls13) settings.tls.lowestVersion = TlsVersion::Tls13;
  return settings;
}

}  // namespace orv::cli
