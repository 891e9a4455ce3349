#pragma once

#include <orvnetwork/platform/ProxySettings.h>
#include <orvnetwork/platform/TlsSettings.h>

namespace orv {

/// How a link gets to its server. As it is made it goes straight there, and trusts whom the machine trusts. A plain value:
/// any thread.
///
///     orv::NetworkSettings settings;
///     settings.proxy.source = orv::ProxySource::Environment;
///     settings.tls.lowestVersion = orv::TlsVersion::Tls13;
///
/// Set with `QXWebSocketMgr::setNetworkSettings` or `ClientOptions::network`; links that are opened afterwards follow it.
struct NetworkSettings {
  /// Whether the way leads through a proxy, and which.
  ProxySettings proxy{};
  /// Which servers are trusted, and what we show them.
  TlsSettings tls{};

  /// Whether a link would be made the same way: sessions of TLS are taken up again only then.
  bool operator==(const NetworkSettings&) const = default;
};

}  // namespace orv
