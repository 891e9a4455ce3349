// What the page is told of frames that no well-behaved client sends.

#include "tests/devserver/EventReader.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"
#include <devserver/faults/Garbage.h>

#include <string>

namespace orv::test::shown_frames_test {
namespace {

class ShownFrames : public ServerTest {};

TEST_F(ShownFrames, SecretsAreHiddenInWhatIsShownAsBytes) {
  EventReader events(server.port());
  RawClient client = open();
  client.sendFrame(2, R"({"c":"User.Post.Login","v":{"pwd":"abcd"}})");
  const std::string binary = events.frame("binary").at("hex").as_string().c_str();
  server.sendGarbage(devserver::Garbage::wire("token=abcd"));
  const std::string wire = events.frame("wire").at("hex").as_string().c_str();
  for (const std::string& hex : {binary, wire}) {
    EXPECT_EQ(hex.find("61 62 63 64"), std::string::npos) << hex;
    EXPECT_NE(hex.find("2a 2a 2a"), std::string::npos) << hex;
  }
}

}  // namespace
}  // namespace orv::test::shown_frames_test
