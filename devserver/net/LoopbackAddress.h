#pragma once

#include <string>

namespace orv::devserver {

/// Whether a numeric address is one that only this machine reaches. A name is none.
bool isLoopback(const std::string& address);

}  // namespace orv::devserver
