#include "devserver/faults/Cut.h"
#include "devserver/faults/Garbage.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <string>

namespace orv::test::link_faults_test {
namespace {

using devserver::ConnectionMode;
using devserver::Cut;
using devserver::Garbage;

class LinkFaults : public ServerTest {};

TEST_F(LinkFaults, FinEndsTheStreamWithoutACloseFrame) {
  RawClient client = open();
  EXPECT_EQ(server.cut({.kind = Cut::Kind::Fin}), 1u);
  EXPECT_FALSE(client.receive());
  EXPECT_EQ(client.end(), RawClient::End::Fin);
  EXPECT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, kPatience));
}

TEST_F(LinkFaults, ResetResets) {
  RawClient client = open();
  EXPECT_EQ(server.cut({.kind = Cut::Kind::Reset}), 1u);
  EXPECT_FALSE(client.receive());
  EXPECT_EQ(client.end(), RawClient::End::Reset);
  EXPECT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, kPatience));
}

TEST_F(LinkFaults, CloseFrameCarriesCodeAndReason) {
  RawClient client = open();
  server.cut({.kind = Cut::Kind::Close, .code = 4001, .reason = "bye"});
  const auto close = client.receive();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->opcode, 8);
  EXPECT_EQ(close->payload,
            "\x0f\xa1"
            "bye");
  client.sendFrame(8, close->payload);
  EXPECT_EQ(client.waitForEnd(), RawClient::End::Fin);
  EXPECT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, kPatience));
}

TEST_F(LinkFaults, CloseFrameMayHaveNoBodyAndAPeerThatIgnoresItIsDropped) {
  RawClient client = open();
  server.cut({.kind = Cut::Kind::Close, .code = 0});
  const auto close = client.receive();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->opcode, 8);
  EXPECT_EQ(close->payload, "");
  EXPECT_NE(client.waitForEnd(), RawClient::End::None);
  EXPECT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, kPatience));
}

TEST_F(LinkFaults, CutMayBeForOneUser) {
  RawClient teacher = open(), student = open();
  login(teacher, "13800000001");
  login(student, "13900000001");
  EXPECT_EQ(server.cut({.kind = Cut::Kind::Reset}, "13900000001"), 1u);
  EXPECT_EQ(student.waitForEnd(), RawClient::End::Reset);
  EXPECT_EQ(alive(teacher), "PONG");
}

TEST_F(LinkFaults, GarbageArrivesAsItIs) {
  RawClient client = open();
  server.sendGarbage(Garbage::text("not JSON"));
  EXPECT_EQ(client.receiveText(), "not JSON");
  server.sendGarbage(Garbage::invalidUtf8());
  EXPECT_NE(client.receiveText().find("\xff\xfe"), std::string::npos);
  server.sendGarbage(Garbage::binary(std::string("\0\1\2", 3)));
  auto binary = client.receive();
  ASSERT_TRUE(binary);
  EXPECT_EQ(binary->opcode, 2);
  EXPECT_EQ(binary->payload, std::string("\0\1\2", 3));
  server.sendGarbage(Garbage::array());
  EXPECT_TRUE(json::parse(client.receiveText()).is_array());
  server.sendGarbage(Garbage::deepNesting(1'000));
  EXPECT_NE(client.receiveText().find(std::string(1'000, '[')), std::string::npos);
  server.sendGarbage(Garbage::huge());
  EXPECT_EQ(client.receiveText().size(), 16u << 20);
  EXPECT_EQ(alive(client), "PONG");
  server.sendGarbage(Garbage::wire("\xf7 no frame at all"));
  EXPECT_EQ(client.receiveUntil("at all"), "\xf7 no frame at all");
}

TEST_F(LinkFaults, RefusedConnectionIsReset) {
  server.faults().setConnectionMode(ConnectionMode::Refuse);
  RawClient client(server.port());
  EXPECT_EQ(client.shakeHands(), "");
  EXPECT_EQ(client.end(), RawClient::End::Reset);
  EXPECT_EQ(server.counters().turnedAway, 1u);
  server.faults().clear();
  RawClient again = open();
  EXPECT_EQ(alive(again), "PONG");
}

TEST_F(LinkFaults, RejectedHandshakeHasTheStatusAskedFor) {
  server.faults().setConnectionMode(ConnectionMode::Reject, 418);
  RawClient client(server.port());
  EXPECT_EQ(client.shakeHands().substr(0, 12), "HTTP/1.1 418");
  EXPECT_EQ(client.waitForEnd(), RawClient::End::Fin);
}

TEST_F(LinkFaults, StalledHandshakeIsNeverAnsweredButTheControlIs) {
  server.faults().setConnectionMode(ConnectionMode::Stall);
  RawClient client(server.port());
  client.sendBytes(
      "GET / HTTP/1.1\r\nHost: x\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n");
  ASSERT_TRUE(server.waitUntil([&] { return server.counters().turnedAway == 1; }, kPatience));
  control(one("clear", true));
  RawClient other = open();
  EXPECT_EQ(alive(other), "PONG");
  EXPECT_FALSE(client.receive(0ms));
  EXPECT_EQ(client.end(), RawClient::End::None);
}

TEST_F(LinkFaults, CutAfterBytesEndsTheStreamInTheMiddleOfAFrame) {
  RawClient client = open();
  server.faults().cutAfterBytes(20);
  send(client, "1");
  EXPECT_EQ(client.receiveRest().size(), 20u);
  EXPECT_EQ(client.end(), RawClient::End::Fin);
  EXPECT_FALSE(server.faults().wire().cutArmed());
  RawClient again = open();
  EXPECT_EQ(alive(again), "PONG");
}

TEST_F(LinkFaults, CutAfterBytesMayHitTheHandshakeOfSeveralConnections) {
  server.faults().cutAfterBytes(10, 2);
  for (int i = 0; i < 2; ++i) {
    RawClient client(server.port());
    EXPECT_EQ(client.shakeHands(), "");
    EXPECT_EQ(client.receiveRest(), "HTTP/1.1 1");
  }
  RawClient client = open();
  EXPECT_EQ(alive(client), "PONG");
}

TEST_F(LinkFaults, OneByteWritesChangeNothingInTheContent) {
  server.faults().setOneByteWrites(true);
  RawClient client = open();
  const auto reply = client.request("Dev.Echo", {{"text", std::string(2'000, 'x')}, {"n", 1}});
  EXPECT_EQ(data(reply).at("values").at("text").as_string().size(), 2'000u);
}

}  // namespace
}  // namespace orv::test::link_faults_test
