#include <orvnetwork/testing/ReplyFault.h>

#include "LinkFixture.h"

#include <string>
#include <vector>

namespace orv::testing::simulated_server_test {
namespace {

class SimulatedServerTest : public LinkFixture {
 protected:
  void SetUp() override {
    connect();
    server.onRequest([this](ConnectionId connection, const json::object& frame) {
      EXPECT_FALSE(platform.mainQueue().isCurrent());
      server.reply(connection, frame, {{"ret", 0}});
    });
  }
  void request(int timestamp) {
    socket->send(text(R"({"c":"Room.Get","s":")" + std::to_string(timestamp) + R"(","v":{}})"));
  }
  static std::string answer(int timestamp) {
    return R"(text {"C":"Room.Get","s":")" + std::to_string(timestamp) + R"(","v":{"ret":0}})";
  }
};

TEST_F(SimulatedServerTest, AnswersPingUnlessToldNotTo) {
  socket->send(text("PING"));
  EXPECT_EQ(settled(), Events{"text PONG"});
  server.setAnswersPing(false);
  socket->send(text("PING"));
  EXPECT_TRUE(settled().empty());
  EXPECT_EQ(server.countFrames("PING"), 2U);
}

TEST_F(SimulatedServerTest, AnswersARequestWithItsCommandAndTimestamp) {
  request(17);
  EXPECT_EQ(settled(), Events{answer(17)});
  socket->send(text(R"({"c":"A","s":5,"v":{"x":1}})"));
  EXPECT_EQ(settled(), Events{R"(text {"C":"A","s":5,"v":{"ret":0}})"});
}

TEST_F(SimulatedServerTest, RecordsRequestsByCommand) {
  request(1);
  socket->send(text(R"({"c":"Other","s":2})"));
  socket->send(text("not JSON"));
  socket->send(text("[1]"));
  request(3);
  platform.settle();
  EXPECT_EQ(server.frames().size(), 5U);
  EXPECT_EQ(server.requests().size(), 3U);
  EXPECT_EQ(server.requests("Room.Get").size(), 2U);
  EXPECT_EQ(server.lastRequest("Room.Get")->at("s"), json::value("3"));
  EXPECT_FALSE(server.lastRequest("None"));
  EXPECT_EQ(server.takeFrames().size(), 5U);
  EXPECT_TRUE(server.frames().empty());
}

TEST_F(SimulatedServerTest, Pushes) {
  server.push(id, "Rooms.Push.Message", {{"data", "x"}});
  EXPECT_EQ(settled(), Events{R"(text {"C":"Rooms.Push.Message","s":0,"v":{"data":"x"}})"});
}

TEST_F(SimulatedServerTest, DropsDelaysAndDuplicatesReplies) {
  server.faultNextReply(ReplyFault::drop());
  server.faultNextReply(ReplyFault::late(Seconds(11)));
  server.faultNextReply(ReplyFault::duplicate());
  for (int i = 1; i <= 4; ++i) {
    request(i);
  }
  EXPECT_EQ(settled(), (Events{answer(3), answer(3), answer(4)}));
  platform.runFor(Seconds(10.9));
  EXPECT_TRUE(listener.events.empty());
  platform.runFor(Seconds(0.1));
  EXPECT_EQ(listener.take(), Events{answer(2)});
}

TEST_F(SimulatedServerTest, ReordersReplies) {
  server.faultNextReply(ReplyFault::reorder());
  server.faultNextReply(ReplyFault::reorder());
  request(1);
  request(2);
  EXPECT_TRUE(settled().empty());
  request(3);
  EXPECT_EQ(settled(), (Events{answer(3), answer(1), answer(2)}));
  server.faultNextReply(ReplyFault::reorder());
  request(4);
  platform.settle();
  server.sendHeldReplies(id);
  EXPECT_EQ(settled(), Events{answer(4)});
}

TEST_F(SimulatedServerTest, ShiftsTimestampsOfBothKinds) {
  server.faultNextReply(ReplyFault::wrongTimestamp());
  request(41);
  EXPECT_EQ(settled(), Events{answer(42)});
  server.faultNextReply(ReplyFault::wrongTimestamp(-2));
  socket->send(text(R"({"c":"A","s":5})"));
  EXPECT_EQ(settled(), Events{R"(text {"C":"A","s":3,"v":{"ret":0}})"});
}

TEST_F(SimulatedServerTest, AsksTheChooserWhenNoFaultIsPlanned) {
  server.faultNextReply(ReplyFault::none());
  server.setFaultChooser([](const json::object& reply) {
    return reply.at("s") == json::value("2") ? ReplyFault::none() : ReplyFault::drop();
  });
  request(1);
  request(2);
  request(3);
  EXPECT_EQ(settled(), (Events{answer(1), answer(2)}));
}

TEST_F(SimulatedServerTest, SaysNothingWhileSilent) {
  server.setSilent(id);
  socket->send(text("PING"));
  socket->sendPing("p");
  request(1);
  platform.runFor(Seconds(100));
  EXPECT_TRUE(listener.events.empty()) << "the connection itself is well";
  EXPECT_EQ(server.frames().size(), 2U);
  server.setSilent(id, false);
  socket->send(text("PING"));
  EXPECT_EQ(settled(), Events{"text PONG"});
}

TEST_F(SimulatedServerTest, TellsItsHandlersOfConnectionsAndTheirEnd) {
  std::string story;
  server.onConnect([&](ConnectionId connection) {
    story += "+" + std::to_string(connection);
    server.send(connection, "welcome");
  });
  server.onEnd([&](ConnectionId connection) { story += "-" + std::to_string(connection); });
  const auto second = makeSocket();
  second->open();
  EXPECT_EQ(settled(), (Events{"opened", "text welcome"}));
  EXPECT_EQ(server.connections(), (std::vector<ConnectionId>{1, 2}));
  second->close();
  platform.settle();
  server.cutAll();
  platform.settle();
  EXPECT_EQ(story, "+2-2-1");
  EXPECT_TRUE(server.connections().empty());
}

TEST_F(SimulatedServerTest, DoesNothingOnAConnectionThatHasEnded) {
  server.cut(id);
  platform.settle();
  listener.take();
  server.send(id, "x");
  server.push(id, "x", {});
  server.close(id);
  server.cut(id);
  server.reset(id);
  server.setSilent(id);
  server.reply(999, {{"c", "x"}}, {});
  EXPECT_TRUE(settled().empty());
}

TEST_F(SimulatedServerTest, SendsNothingAfterItsOwnCloseFrame) {
  network.setLatency(Seconds(1), Seconds(1));
  server.close(id, 1000, "bye");
  server.send(id, "too late");
  platform.runFor(Seconds(5));
  EXPECT_EQ(listener.take(), Events{"closed 1000 bye clean"});
  EXPECT_FALSE(server.isConnected(id));
}

TEST_F(SimulatedServerTest, ReadsDeeplyNestedRequests) {
  std::string nested = "0";
  for (int i = 0; i < 500; ++i) {
    nested = "[" + nested + "]";
  }
  socket->send(text(R"({"c":"Deep","s":1,"v":)" + nested + "}"));
  platform.settle();
  EXPECT_TRUE(server.lastRequest("Deep"));
}

}  // namespace
}  // namespace orv::testing::simulated_server_test
