#pragma once

#include "devserver/net/Http.h"

#include <string_view>

namespace orv::devserver {

/// Why a request that a browser was made to send by a page of someone else is refused; empty: it may go on.
/// The host that it names has to be this machine, which keeps out names that were led here, and the page that
/// it comes from, where it tells one, has to be the server's own.
std::string_view foreignRequest(const HttpRequest& request);

/// The same for a request that asks for a WebSocket. Such a link may also lead to the address that the server listens
/// on, where that is not one of this machine alone.
std::string_view foreignUpgrade(const HttpRequest& request);

}  // namespace orv::devserver
