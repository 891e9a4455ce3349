#pragma once

#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

namespace orv::testing {

/// Writes down what a socket tells, one line an event.
class Listener final : public WebSocketDelegate {
 public:
  explicit Listener(SimulatedPlatform& platform) : platform_(platform) {}

  void webSocketDidOpen(WebSocket& socket) override {
    EXPECT_EQ(socket.readyState(), WebSocketState::Open);
    say("opened");
  }
  void webSocket_didFailWithError(WebSocket&, const Error& error) override {
    say("failed " + error.domain + " " + std::to_string(error.code));
  }
  void webSocket_didReceiveMessage(WebSocket&, WebSocketMessage message) override {
    say((message.isText ? "text " : "binary ") + message.payload);
    lastMessage = std::move(message);
  }
  void webSocket_didCloseWithCode_reason_wasClean(WebSocket&, int code, const OptionalString& reason,
                                                  bool wasClean) override {
    say("closed " + std::to_string(code) + " " + reason.value_or("-") + (wasClean ? " clean" : " unclean"));
  }
  void webSocket_didReceivePong(WebSocket&, std::string payload) override { say("pong " + payload); }

  std::vector<std::string> take() { return std::exchange(events, {}); }

  std::vector<std::string> events;
  WebSocketMessage lastMessage;

 private:
  void say(std::string event) {
    EXPECT_TRUE(platform_.mainQueue().isCurrent());
    events.push_back(std::move(event));
  }
  SimulatedPlatform& platform_;
};

inline std::shared_ptr<const std::string> text(std::string content) {
  return std::make_shared<const std::string>(std::move(content));
}

/// A platform, and one socket with its listener.
class LinkFixture : public ::testing::Test {
 protected:
  using Events = std::vector<std::string>;

  std::shared_ptr<WebSocket> makeSocket(WebSocketRequest request = {.url = "ws://127.0.0.1:9000/",
                                                                    .prepare = {}}) {
    auto made = platform.makeWebSocket(std::move(request));
    made->setDelegate(&listener);
    return made;
  }

  /// Opens a socket and forgets the events of that.
  void connect() {
    socket = makeSocket();
    socket->open();
    platform.runFor(Seconds(1));
    ASSERT_EQ(listener.take(), Events{"opened"});
    id = server.latest();
  }

  Events settled() {
    platform.settle();
    return listener.take();
  }

  SimulatedPlatform platform;
  SimulatedNetwork& network = platform.network();
  SimulatedServer& server = platform.server();
  Listener listener{platform};
  std::shared_ptr<WebSocket> socket;
  ConnectionId id = 0;
};

}  // namespace orv::testing
