#pragma once

#include "devserver/net/Http.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::devserver {

/// Who may come in beside this machine.
struct Door {
  /// Names by which others reach the server.
  std::vector<std::string> names;
  /// What opens the page and the control to others; empty: nothing does.
  std::string token;
};

/// Why a request for a WebSocket is refused; empty: it may go on. It is one that a browser was made to send by a page of
/// someone else: the host that it names has to be this machine, a name of the server's, or the address that it listens on,
/// which keeps out names that were led here; and the page that it comes from, where it tells one, has to be the server's own.
std::string_view foreignUpgrade(const HttpRequest& request, const Door& door);

/// The answer that refuses any other request; absent: it may go on. From this machine, and to a loopback address of it, all
/// that is asked is the same as above. Others need the token as well, as `Authorization: Bearer TOKEN` or, where no such
/// header can be sent, as "?token=TOKEN" behind the target, which is taken off. `isPublic` tells of a target that holds
/// nothing but what is in every copy of the program, and so needs no token.
std::optional<HttpAnswer> refusedHttp(HttpRequest& request, const Door& door,
                                      bool (*isPublic)(std::string_view target));

}  // namespace orv::devserver
