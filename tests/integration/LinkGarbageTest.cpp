// Frames that no client should have to expect, on real sockets: the link lives on or comes back.

#include "devserver/faults/Garbage.h"
#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>

#include <string>
#include <string_view>

namespace orv::link_garbage_test {
namespace {

using devserver::Garbage;

class LinkGarbage : public test::LiveLinkTest {
 protected:
  void SetUp() override {
    server.start();
    bringUp(server.url());
  }

  /// Sends something that the link should shrug off, with a line in the log.
  void isShruggedOff(const Garbage& garbage, std::string_view line) {
    const std::size_t before = countLogged(line);
    ASSERT_EQ(server.sendGarbage(garbage), 1u);
    EXPECT_TRUE(echoes()) << "replies keep their order, so the garbage has been dealt with";
    EXPECT_EQ(countLogged(line), before + 1);
    EXPECT_EQ(names(), Strings{});
    EXPECT_EQ(server.counters().opened, 1u);
  }
  /// Sends something that breaks the protocol: the link ends with this close notification and comes back.
  void endsTheLink(const Garbage& garbage, const char* userInfo) {
    ASSERT_TRUE(waitForReconnectPause());
    notifications.clear();
    ASSERT_EQ(server.sendGarbage(garbage), 1u);
    ASSERT_TRUE(waitUntilReopened());
    EXPECT_EQ(names(), (Strings{"QXNotificationDidCloseWithCode", "QXNotificationDidOpen"}));
    EXPECT_EQ(notifications[0].userInfo, userInfo);
    EXPECT_TRUE(echoes());
  }

  DevServer server;
};

constexpr std::string_view kUnreadable = "websocket parse json error! dic->";
constexpr std::string_view kUnknown = "### WebSocket Timeout ###";

TEST_F(LinkGarbage, DropsWhatIsNoFrame) {
  isShruggedOff(Garbage::array(), kUnreadable);
  isShruggedOff(Garbage::deepNesting(), kUnreadable);
  isShruggedOff(Garbage::binary("\x01\x02{}"), kUnreadable);
  isShruggedOff(Garbage::binary("PONG"), kUnreadable);
  isShruggedOff(Garbage::text(""), kUnreadable);
  isShruggedOff(Garbage::text("{\"C\":\"Dev.Echo\""), kUnreadable);
  isShruggedOff(Garbage::text("null"), kUnreadable);
  isShruggedOff(Garbage::text(R"({"C":"Dev.Echo","s":1,"v":[1]})"), kUnreadable);
  isShruggedOff(Garbage::text("PONG "), kUnreadable);
}

TEST_F(LinkGarbage, DropsFramesThatAnswerNobody) {
  isShruggedOff(Garbage::huge(), kUnknown);
  isShruggedOff(Garbage::text("{}"), kUnknown);
  isShruggedOff(Garbage::text(R"({"C":7,"s":{},"v":null})"), kUnknown);
  isShruggedOff(Garbage::text(R"({"C":"Dev.Echo","s":1e300,"v":{"ret":"x"}})"), kUnknown);
}

TEST_F(LinkGarbage, TakesPongsThatNobodyAskedFor) {
  isShruggedOff(Garbage::text("PONG"), "Recieve PONG form server, connect server success");
}

TEST_F(LinkGarbage, ComesBackAfterBreachesOfTheProtocol) {
  endsTheLink(Garbage::invalidUtf8(), R"({"code":0})");
  // A reserved opcode; a masked frame; a continuation of nothing.
  endsTheLink(Garbage::wire("\x83\x01x"), R"({"code":0})");
  endsTheLink(Garbage::wire(std::string("\x81\x81\0\0\0\0x", 7)), R"({"code":0})");
  endsTheLink(Garbage::wire(std::string("\x80\0", 2)), R"({"code":0})");
}

TEST_F(LinkGarbage, ReadsWhatArrivesByteByByte) {
  server.faults().setOneByteWrites(true);
  EXPECT_TRUE(echoes());
  for (int i = 0; i < 20; ++i) send("Dev.Echo");
  EXPECT_TRUE(waitForOutcomes(21));
  EXPECT_EQ(server.push("Rooms.Push.Message"), 1u);
  EXPECT_TRUE(waitForPosted(QXNotificationPushOrvMessage));
}

TEST_F(LinkGarbage, CompletesARequestOnceThoughItsReplyComesThreeTimes) {
  server.faults().duplicateReplies(1, "Dev.Twice", 2);
  send("Dev.Twice");
  ASSERT_TRUE(waitForOutcomes(1));
  EXPECT_TRUE(echoes());
  EXPECT_EQ(outcomes, (Strings{"Dev.Twice ok", "Dev.Echo ok"}));
  EXPECT_EQ(countLogged("### WebSocket Timeout ### Dev.Twice"), 2u);
}

TEST_F(LinkGarbage, MatchesRepliesThatComeInAnotherOrder) {
  server.faults().reorderReplies(3);
  for (const char* command : {"Dev.One", "Dev.Two", "Dev.Three"}) send(command);
  ASSERT_TRUE(waitForOutcomes(3));
  EXPECT_EQ(outcomes, (Strings{"Dev.Three ok", "Dev.Two ok", "Dev.One ok"}));
}

}  // namespace
}  // namespace orv::link_garbage_test
