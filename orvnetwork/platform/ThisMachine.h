#pragma once

#include <orvnetwork/data/Export.h>

#include <string_view>

namespace orv {

/// Whether a host is this machine by its name or number alone: "localhost", what ends with ".localhost", an address in
/// 127.0.0.0/8, also in its short forms, or "::1". Case and dots at the end do not count, and nobody is asked for a name.
/// Such a server is reached without a proxy, and whenever the loopback interface is up.
///
///     const auto url = orv::parseUrl(server);
///     if (url && orv::isThisMachine(url->server.host)) hint.show("a server on this computer");
///
/// @param host as `HostAndPort` has it, without brackets
/// Any thread.
ORV_EXPORT bool isThisMachine(std::string_view host);

}  // namespace orv
