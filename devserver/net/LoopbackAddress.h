#pragma once

#include <string>

namespace orv::devserver {

/// Whether a numeric address is one that only this machine reaches. A name is none.
bool isLoopback(const std::string& address);

/// Whether a numeric address stands for all addresses of this machine, as 0.0.0.0 and :: do.
bool isWildcard(const std::string& address);

/// By which address this machine reaches a server that listens on `address`: the loopback one of its kind where that stands
/// for all, since nobody connects to such a one, and otherwise itself.
std::string addressToReach(const std::string& address);

}  // namespace orv::devserver
