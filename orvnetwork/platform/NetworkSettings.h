#pragma once

#include <orvnetwork/platform/ProxySettings.h>
#include <orvnetwork/platform/TlsSettings.h>

namespace orv {

/// How a link gets to its server. As it is made it goes straight there, and trusts whom the machine trusts.
struct NetworkSettings {
  ProxySettings proxy{};
  TlsSettings tls{};

  bool operator==(const NetworkSettings&) const = default;
};

}  // namespace orv
