// Our socket against a server of another maker: what is judged here is what that server received.

#include <tests/support/PeerProcess.h>
#include <tests/support/WebSocketFixture.h>

#include <boost/json/parse.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::peer_frames_test {
namespace {

using test::Events;
using test::PeerProcess;

class PeerFrames : public test::WebSocketTest {
 protected:
  /// Starts the server and connects to it, up to the opening event.
  void connect(const std::vector<std::string>& options = {}) {
    server_.emplace("recording-server.js", options);
    start("ws://127.0.0.1:" + std::to_string(server_->readPort()) + "/class?room=1");
    ASSERT_TRUE(waitForEvent("opened"));
    connection_ = nextRecord("connection");
  }

  /// The server's next record, which must be of the kind given.
  json::object nextRecord(std::string_view event) {
    const std::string line = server_->readLine();
    json::object record = json::parse(line).as_object();
    EXPECT_EQ(record.at("event").as_string(), event) << line.substr(0, 200);
    return record;
  }

  std::string nextText(std::string_view event, const char* key) {
    const json::object record = nextRecord(event);
    const json::value* value = record.if_contains(key);
    return value != nullptr && value->is_string() ? std::string(value->get_string()) : "(none)";
  }

  std::string header(const char* name) {
    const json::value* value = connection_.at("headers").as_object().if_contains(name);
    return value != nullptr ? std::string(value->as_string()) : "(none)";
  }

  json::object closeRecord(int code, const char* reason = "") {
    return {{"event", "close"}, {"code", code}, {"reason", reason}};
  }

  std::optional<PeerProcess> server_;
  json::object connection_;
};

TEST_F(PeerFrames, TheHandshakeIsTaken) {
  connect();
  EXPECT_EQ(connection_.at("url").as_string(), "/class?room=1");
  EXPECT_EQ(header("upgrade"), "websocket");
  EXPECT_EQ(header("sec-websocket-version"), "13");
  EXPECT_EQ("ws://" + header("host") + "/class?room=1", request.url);
  EXPECT_EQ(header("sec-websocket-extensions"), "(none)");
}

TEST_F(PeerFrames, TextsArriveExactlyAndInOrder) {
  connect({"--silent"});
  std::string million;
  for (int i = 0; million.size() < 1'000'000; ++i) million += std::to_string(i) + ",";
  const std::vector<std::string> texts = {"plain",
                                          "",
                                          "课堂直播：第一讲",
                                          "emoji 👩‍🏫🎓 end",
                                          std::string("zero\0byte", 9),
                                          "line\nfeed\r\n\ttab \"quotes\" \\ \x7f",
                                          std::string(125, 'a'),
                                          std::string(126, 'b'),
                                          std::string(65'535, 'c'),
                                          std::string(65'536, 'd'),
                                          million};
  for (const std::string& text : texts) send(text);
  for (const std::string& text : texts) EXPECT_TRUE(nextText("text", "text") == text) << text.substr(0, 80);
}

TEST_F(PeerFrames, TenThousandTextsSentAtOnceAllArriveAndAreAnswered) {
  connect();
  constexpr int kCount = 10'000;
  for (int i = 0; i < kCount; ++i) send(R"({"c":"Course.Get","s":)" + std::to_string(i) + R"(,"v":{}})");
  const auto answers = [this] { return delegate.events.size() - 1; };  // the first event is the opening
  // The server's records are read as they come, so that it never waits for room to write them.
  for (int i = 0; i < kCount; ++i) {
    ASSERT_EQ(nextText("text", "text"), R"({"c":"Course.Get","s":)" + std::to_string(i) + R"(,"v":{}})");
  }
  ASSERT_TRUE(waitFor([&] { return answers() == kCount; }));
  for (std::size_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(delegate.events[i + 1],
              R"(text {"C":"Course.Get","s":)" + std::to_string(i) + R"(,"v":{"ret":0,"data":{}}})");
  }
}

TEST_F(PeerFrames, PingTextIsAnsweredWithPongText) {
  connect();
  send("PING");
  EXPECT_TRUE(waitForEvent("text PONG"));
}

TEST_F(PeerFrames, ProtocolPingsArriveAndTheirPongsComeBack) {
  connect();
  socket->sendPing("");
  socket->sendPing("beat 心跳");
  EXPECT_EQ(nextText("ping", "payload"), "");
  EXPECT_EQ(nextText("ping", "payload"), "beat 心跳");
  EXPECT_TRUE(waitForEvent("pong beat 心跳"));
  EXPECT_TRUE(delegate.has("pong "));
}

TEST_F(PeerFrames, PingsOfTheServerAreAnswered) {
  connect({"--ping", "still there?"});
  EXPECT_EQ(nextText("pong", "payload"), "still there?");
}

TEST_F(PeerFrames, TextsAndBinaryMessagesOfTheServerAreToldApart) {
  connect({"--send", "你好 👋", "--send-binary", "414243"});
  EXPECT_TRUE(waitForEvent("text 你好 👋"));
  EXPECT_TRUE(waitForEvent("binary ABC"));
}

TEST_F(PeerFrames, OurCloseReachesTheServer) {
  connect();
  send("last words");
  socket->close();
  EXPECT_EQ(nextText("text", "text"), "last words");
  const json::object record = nextRecord("close");
  EXPECT_EQ(record, closeRecord(1000));
  EXPECT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.events.back(), "closed 1000 (absent) clean");
}

TEST_F(PeerFrames, TheServersCloseCodeAndReasonArriveAndAreAnsweredWith1000) {
  connect({"--close-after", "1", "--close-code", "4001", "--close-reason", "换设备登录"});
  send("one");
  ASSERT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.events.back(), "closed 4001 换设备登录 clean");
  EXPECT_EQ(nextText("text", "text"), "one");
  EXPECT_EQ(nextRecord("close"), closeRecord(1000));
}

TEST_F(PeerFrames, ACloseWithoutACodeIs1005) {
  connect({"--close-after", "0"});
  ASSERT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.events.back(), "closed 1005 (absent) clean");
}

TEST_F(PeerFrames, AConnectionThatIsCutIsNotClosedCleanly) {
  connect({"--drop-after", "1"});
  send("one");
  ASSERT_TRUE(waitForEnd());
  EXPECT_EQ(delegate.events.back(), "closed 1001 Stream end encountered unclean");
}

}  // namespace
}  // namespace orv::peer_frames_test
