#pragma once

#include <devserver/DevServer.h>
#include <tests/devserver/RawClient.h>

#include <boost/json/object.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv::test {

/// Another device on which the first user of the embedded server's school is signed in.
class OtherDevice {
 public:
  explicit OtherDevice(std::uint16_t port) : client_(RawClient::open(port)) {
    // The MD5 of "classroom".
    client_.request("User.Post.Login",
                    {{"phone", "13800000001"}, {"dev", 1}, {"pwd", "c756662595bb0948d9bbe352fef1c53a"}});
  }
  /// Reads what the server sends until it is this push.
  bool hears(const char* push) {
    for (auto frame = client_.receiveObject(); !frame.empty(); frame = client_.receiveObject()) {
      if (frame.at("C") == push) return true;
    }
    return false;
  }

 private:
  RawClient client_;
};

/// What a device does that ends the session of another one, whose user this is: a renewal of that which is under way is
/// refused, and does not confirm it again.
inline void endSessionOf(DevServer& server, std::string_view user) {
  server.revokeTokens(user);
  server.push("User.OtherDevice.Logout");
}

/// How many frames with this command in them the server has got.
inline std::ptrdiff_t timesAsked(const DevServer& server, std::string_view command) {
  return std::ranges::count_if(server.receivedFrames(), [command](const auto& frame) {
    return frame.text.find(command) != std::string::npos;
  });
}

}  // namespace orv::test
