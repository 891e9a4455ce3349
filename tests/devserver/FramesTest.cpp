#include "devserver/DevServer.h"
#include "devserver/engine/FrameLog.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <limits>
#include <stdexcept>
#include <string>

namespace orv::test::frames_test {
namespace {

class Frames : public ServerTest {};

TEST_F(Frames, PingIsAnsweredByPong) {
  RawClient client = open();
  client.sendText("PING");
  EXPECT_EQ(client.receiveText(), "PONG");
  EXPECT_EQ(server.counters().pings, 1u);
  EXPECT_EQ(server.counters().malformed, 0u);
}

TEST_F(Frames, ProtocolPingIsAnsweredByItsPong) {
  RawClient client = open();
  client.sendFrame(9, "abc");
  const auto pong = client.receive();
  ASSERT_TRUE(pong);
  EXPECT_EQ(pong->opcode, 10);
  EXPECT_EQ(pong->payload, "abc");
}

TEST_F(Frames, StandardFrameIsEchoedWithItsTextTimestamp) {
  RawClient client = open();
  const json::object values{{"a", 1}, {"b", {{"c", nullptr}, {"d", "x y"}}}};
  const auto reply = client.request("Dev.Echo", values, "1700000000000123");
  EXPECT_EQ(reply.at("C"), "Dev.Echo");
  EXPECT_EQ(reply.at("s"), "1700000000000123");
  EXPECT_EQ(code(reply), 0);
  EXPECT_EQ(data(reply).at("command"), "Dev.Echo");
  EXPECT_EQ(data(reply).at("values"), values);
}

TEST_F(Frames, CompactFrameIsEchoedWithItsNumericTimestamp) {
  RawClient client = open();
  client.sendText(R"({"c":"Dev.Echo","s":1700000000000123,"v":{"a":[1,2]}})");
  const auto reply = client.receiveObject();
  EXPECT_EQ(reply.at("s"), 1700000000000123);
  EXPECT_EQ(json::serialize(data(reply).at("values")), R"({"a":[1,2]})");
}

TEST_F(Frames, FrameWithoutValuesIsARequest) {
  RawClient client = open();
  client.sendText(R"({"c":"Dev.Echo","s":"5"})");
  const auto reply = client.receiveObject();
  EXPECT_EQ(code(reply), 0);
  EXPECT_FALSE(data(reply).contains("values"));
}

TEST_F(Frames, UnknownCommandsAreRefusedByName) {
  RawClient client = open();
  EXPECT_EQ(code(client.request("Course.Get.Weather", {})), 1001);
  login(client);
  const auto reply = client.request("Course.Get.Weather", {{"course", "77"}, {"n", 1}});
  EXPECT_EQ(code(reply), 9000);
  EXPECT_NE(errorText(reply).find("Course.Get.Weather"), std::string::npos);
  EXPECT_EQ(code(client.request("Course.Post.Wall", {})), 9000) << "names are case-sensitive";
}

TEST(FramesWithEcho, UnknownCommandsAreEchoedWhereThatIsAskedFor) {
  DevServer::Options options;
  options.echo = true;
  DevServer server(options);
  server.start();
  RawClient client = RawClient::open(server.port());
  EXPECT_EQ(client.request("Course.Get.Weather", {}).at("v").at("ret"), 1001);
  client.request("User.Post.Login", {{"phone", "13800000001"}, {"scode", "123456"}});
  const auto reply = client.request("Course.Get.Weather", {{"course", "77"}, {"n", 1}});
  EXPECT_EQ(reply.at("v").at("ret"), 0);
  EXPECT_EQ(reply.at("v").at("data").at("command"), "Course.Get.Weather");
  EXPECT_EQ(reply.at("v").at("data").at("values").at("course"), "77");
  EXPECT_EQ(client.request("Course.Get.Info", {{"course", "77"}, {"n", 1}}).at("v").at("ret"), 1104);
}

TEST_F(Frames, MalformedFramesAreAnsweredWhereATimestampIsThereAndElseCounted) {
  RawClient client = open();
  for (const char* text : {"", "PING ", "{", "[1]", "null", "{}", R"({"c":"Dev.Echo"})"}) {
    client.sendText(text);
  }
  client.sendText(R"({"s":"9"})");
  auto reply = client.receiveObject();
  EXPECT_EQ(code(reply), 9001);
  EXPECT_EQ(reply.at("s"), "9");
  EXPECT_FALSE(errorText(reply).empty());
  client.sendText(R"({"c":17,"s":10})");
  reply = client.receiveObject();
  EXPECT_EQ(code(reply), 9001);
  EXPECT_EQ(reply.at("s"), 10);
  client.sendText(R"({"c":"Dev.Echo","s":11,"v":[]})");
  EXPECT_EQ(code(client.receiveObject()), 9002);
  client.sendText(R"({"c":"Dev.Echo","s":{},"v":{}})");
  EXPECT_EQ(code(client.receiveObject()), 9003);
  EXPECT_EQ(server.counters().malformed, 11u);
  EXPECT_EQ(code(client.request("Dev.Echo", {})), 0);
}

TEST_F(Frames, NumbersThatAreNoJsonAreRefusedAndNeverSent) {
  RawClient client = open();
  for (const char* number : {"1e400", "-1e400", "123456789e4000"}) {
    client.sendText(std::string(R"({"c":"Dev.Echo","s":"12","v":{"a":[{"n":)") + number + "}]}}");
    const std::string text = client.receiveText();
    EXPECT_EQ(text.find("Inf"), std::string::npos) << text;
    EXPECT_NE(text.find("9001"), std::string::npos) << text;
    EXPECT_NE(text.find(R"("s":"12")"), std::string::npos) << text;
  }
  client.sendText(R"({"c":"Dev.Echo","s":1e400})");
  EXPECT_EQ(code(client.request("Dev.Echo", {})), 0)
      << "nothing comes back for a timestamp that is no number";
  EXPECT_EQ(server.counters().malformed, 4u);
  const double infinite = std::numeric_limits<double>::infinity();
  EXPECT_THROW(server.push("Dev.Push", one("n", infinite)), std::invalid_argument);
  EXPECT_THROW(server.addCourse(one("price", infinite)), std::invalid_argument);
  EXPECT_THROW(server.changeCourse(70001, one("price", infinite)), std::invalid_argument);
  EXPECT_TRUE(server.course(70001));
}

TEST_F(Frames, BinaryFramesAreCountedAndNotAnswered) {
  RawClient client = open();
  client.sendFrame(2, "PING");
  client.sendText("PING");
  EXPECT_EQ(client.receiveText(), "PONG");
  EXPECT_EQ(server.counters().malformed, 1u);
  EXPECT_EQ(server.counters().pings, 1u);
}

TEST_F(Frames, VeryDeepFrameIsMalformedAndHarmless) {
  RawClient client = open();
  client.sendText(std::string(1'000'000, '['));
  client.sendText("PING");
  EXPECT_EQ(client.receiveText(), "PONG");
  EXPECT_EQ(server.counters().malformed, 1u);
}

TEST_F(Frames, MessageInFragmentsIsOneRequest) {
  RawClient client = open();
  std::string first = RawClient::frameBytes(1, "PI"), second = RawClient::frameBytes(0, "NG");
  first[0] = 0x01;
  client.sendBytes(first);
  client.sendFrame(9, "between");
  client.sendBytes(second);
  EXPECT_EQ(client.receive()->opcode, 10);
  EXPECT_EQ(client.receiveText(), "PONG");
}

TEST_F(Frames, PipelinedRequestsAreAnsweredInTheirOrder) {
  RawClient client = open();
  constexpr int kRequests = 5'000;
  std::string bytes;
  for (int i = 0; i < kRequests; ++i) {
    bytes += RawClient::frameBytes(1, RawClient::standardFrame("Dev.Echo", {}, std::to_string(i)));
  }
  client.sendBytes(bytes);
  for (int i = 0; i < kRequests; ++i) {
    ASSERT_EQ(client.receiveObject().at("s").as_string(), std::to_string(i));
  }
}

TEST_F(Frames, LargeFramesAreEchoed) {
  RawClient client = open();
  for (std::size_t size : {100u, 60'000u, 70'000u, 3'000'000u}) {
    const auto reply = client.request("Dev.Echo", {{"text", std::string(size, 'x')}, {"n", 1}});
    EXPECT_EQ(data(reply).at("values").at("text").as_string().size(), size);
  }
}

TEST_F(Frames, MessageBeyondTheLimitEndsTheConnectionWith1009) {
  RawClient client = open();
  std::string head = RawClient::frameBytes(1, std::string(70'000, 'x')).substr(0, 14);
  head[2] = 0x01;  // 2^56 bytes and more
  client.sendBytes(head);
  const auto close = client.receive();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->opcode, 8);
  EXPECT_EQ(close->payload.substr(0, 2), "\x03\xf1");
}

TEST_F(Frames, ReceivedFramesAreKeptWithConnectionAndOrder) {
  RawClient first = open(), second = open();
  first.sendText("PING");
  first.receiveText();
  second.sendText("hello");
  auto hello = [](const DevServer::Frame& frame) { return frame.text == "hello"; };
  ASSERT_TRUE(server.waitForFrame(hello, kPatience));
  const auto frames = server.receivedFrames();
  ASSERT_EQ(frames.size(), 2u);
  EXPECT_EQ(frames[0].text, "PING");
  EXPECT_EQ(frames[0].sequence, 1u);
  EXPECT_EQ(frames[1].sequence, 2u);
  EXPECT_NE(frames[0].connectionId, frames[1].connectionId);
  EXPECT_LE(frames[0].time, frames[1].time);
  server.clearReceivedFrames();
  EXPECT_TRUE(server.receivedFrames().empty());
  EXPECT_FALSE(server.waitForFrame(hello, 1ms));
}

TEST(FrameLog, KeepsTheNewestByNumberAndByBytes) {
  devserver::FrameLog log(3, 100);
  for (int i = 0; i < 5; ++i) log.add(1, false, std::to_string(i));
  ASSERT_EQ(log.frames().size(), 3u);
  EXPECT_EQ(log.frames().front().text, "2");
  log.add(1, false, std::string(99, 'x'));
  ASSERT_EQ(log.frames().size(), 2u);
  log.add(1, false, std::string(1'000, 'y'));
  ASSERT_EQ(log.frames().size(), 1u);
  EXPECT_EQ(log.total(), 7u);
}

TEST_F(Frames, ListenerHearsEachFrameBeforeItsAnswer) {
  std::string heard;
  server.setFrameListener([&](const DevServer::Frame& frame) { heard += frame.text + ";"; });
  RawClient client = open();
  client.sendText("PING");
  client.receiveText();
  server.setFrameListener({});
  EXPECT_EQ(heard, "PING;");
  client.sendText("PING");
  client.receiveText();
  EXPECT_EQ(heard, "PING;");
}

TEST_F(Frames, ListenerMayUseTheServer) {
  server.setFrameListener([&](const DevServer::Frame& frame) {
    if (frame.text == "PING") server.push("Rooms.Push.Message", {{"type", 1}, {"n", 2}});
    EXPECT_THROW(server.stop(), std::logic_error);
  });
  RawClient client = open();
  client.sendText("PING");
  EXPECT_EQ(client.receiveObject().at("C"), "Rooms.Push.Message");
  EXPECT_EQ(client.receiveText(), "PONG");
}

}  // namespace
}  // namespace orv::test::frames_test
