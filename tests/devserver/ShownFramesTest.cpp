// What the page is told of frames that no well-behaved client sends.

#include "tests/devserver/EventReader.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"
#include <devserver/faults/Garbage.h>
#include <devserver/page/PassedFrame.h>

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

TEST_F(ShownFrames, SecretsAreHiddenWhereTheirNameIsWrittenInEscapesOrStandsInACommand) {
  EventReader events(server.port());
  RawClient client = open();
  client.sendText(R"({"c":"Dev.Cut","s":1,"v":{"\u0070w\u0064":"cut-secret","note":"\u4e2d\u0022\u0)");
  std::string deep = R"({"\u0070wd":"deep-secret"})";
  for (int i = 0; i < 120; ++i) deep = R"({"a":)" + deep + "}";
  client.sendText(R"({"c":"Dev.pwd=command-secret","s":1,"v":)" + deep + "}");
  events.frame("malformed");
  events.frame("request");
  events.frame("reply");
  EXPECT_EQ(events.text().find("secret"), std::string::npos) << events.text();
  EXPECT_NE(events.text().find(R"(\\u4e2d\\u0022\\u0)"), std::string::npos) << "what is no letter stays";
}

TEST_F(ShownFrames, AnEndlessCommandIsKeptAndShownUpToABound) {
  EventReader events(server.port());
  RawClient client = open();
  std::string command = "Dev.";
  while (command.size() < 60'000) command += "小";
  EXPECT_EQ(code(client.request(command, {})), 0);
  for (const char* kind : {"request", "reply"}) {
    const std::string shown = events.frame(kind).at("command").as_string().c_str();
    EXPECT_LE(shown.size(), devserver::PassedFrame::kMaxCommand) << kind;
    EXPECT_EQ(shown, command.substr(0, shown.size())) << kind;
    EXPECT_GT(shown.size(), devserver::PassedFrame::kMaxCommand - 4) << kind;
  }
}

}  // namespace
}  // namespace orv::test::shown_frames_test
