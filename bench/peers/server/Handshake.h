#pragma once

#include <string>
#include <string_view>

namespace peers {

/// The server's answer to a client's opening handshake; empty when there is no key in it.
std::string answerToHandshake(std::string_view request);

}  // namespace peers
