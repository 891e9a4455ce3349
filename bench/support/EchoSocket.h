#pragma once

#include <orvnetwork/platform/Platform.h>

#include <memory>
#include <string>
#include <string_view>

namespace bench {

/// The operating system's platform with another socket: it reaches no server, but answers each request by itself, on a
/// thread of its own. What such an exchange costs is what the library spends above the socket.
///
/// Each request is answered by a reply of some 400 bytes with the same "s". Replies that are there together go to
/// the main queue together, as those of one read from a network do.
std::unique_ptr<orv::Platform> makeEchoPlatform();

/// The text of a reply to the request with this "s".
std::string echoReply(std::string_view timestamp);

}  // namespace bench
