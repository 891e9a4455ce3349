#pragma once

#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>

#include <tests/support/PumpedExecutor.h>
#include <tests/support/RawPeer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <any>
#include <functional>
#include <memory>
#include <semaphore>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::test {

/// Writes each event down as a line of text.
class RecordingDelegate final : public WebSocketDelegate {
 public:
  void webSocketDidOpen(WebSocket& socket) override {
    stateWhenOpened = socket.readyState();
    events.emplace_back("opened");
  }
  void webSocket_didFailWithError(WebSocket& socket, const Error& error) override {
    stateAtEnd = socket.readyState();
    lastError = error;
    events.push_back("failed " + error.domain + " " + std::to_string(error.code));
  }
  void webSocket_didReceiveMessage(WebSocket&, WebSocketMessage message) override {
    events.push_back((message.isText ? "text " : "binary ") + message.payload);
    prepared.push_back(std::move(message.prepared));
    if (keepsShares) shares.push_back(std::move(message.share));
  }
  void webSocket_didCloseWithCode_reason_wasClean(WebSocket& socket, int code, const OptionalString& reason,
                                                  bool wasClean) override {
    stateAtEnd = socket.readyState();
    events.push_back("closed " + std::to_string(code) + " " + reason.value_or("(absent)") +
                     (wasClean ? " clean" : " unclean"));
  }
  void webSocket_didReceivePong(WebSocket&, std::string payload) override {
    events.push_back("pong " + payload);
  }

  bool has(std::string_view event) const {
    return std::find(events.begin(), events.end(), event) != events.end();
  }
  bool ended() const {
    return !events.empty() && (events.back().starts_with("closed") || events.back().starts_with("failed"));
  }

  std::vector<std::string> events;
  std::vector<std::any> prepared;
  bool keepsShares = false;
  std::vector<std::shared_ptr<void>> shares;
  Error lastError;
  WebSocketState stateWhenOpened = WebSocketState::Connecting;
  WebSocketState stateAtEnd = WebSocketState::Connecting;
};

using Events = std::vector<std::string>;

/// Holds the network thread up, each time that a message has come to a socket that was asked for so. Must outlive it.
class Hold {
 public:
  WebSocketRequest asked(WebSocketRequest request) {
    request.prepare = [this](std::string_view) {
      begun_.release();
      end_.acquire();
      return std::any();
    };
    return request;
  }
  void waitForIt() { begun_.acquire(); }
  void end() { end_.release(); }

 private:
  std::counting_semaphore<> begun_{0};
  std::counting_semaphore<> end_{0};
};

/// A socket of one's own, beside the fixture's or without one: it is being opened, and what it tells is written down.
class OwnSocket {
 public:
  OwnSocket(const WebSocketRequest& request, Executor& mainQueue, const NativeWebSocketLimits& limits = {})
      : socket_(makeNativeWebSocket(request, mainQueue, limits)) {
    socket_->setDelegate(&delegate);
    socket_->open();
  }
  OwnSocket(const OwnSocket&) = delete;
  OwnSocket& operator=(const OwnSocket&) = delete;
  ~OwnSocket() {
    if (socket_ != nullptr) socket_->setDelegate(nullptr);
  }

  WebSocket* operator->() const { return socket_.get(); }
  const std::shared_ptr<WebSocket>& shared() const { return socket_; }

  bool waitForEvent(PumpedExecutor& mainQueue, std::string_view event) const {
    return mainQueue.pumpUntil([&] { return delegate.has(event) || delegate.ended(); }) &&
           delegate.has(event);
  }
  bool waitForEnd(PumpedExecutor& mainQueue) const {
    return mainQueue.pumpUntil([this] { return delegate.ended(); });
  }
  /// Lets go of it, waits until nothing of it is left and returns all events: none can follow.
  const Events& eventsAfterAll(PumpedExecutor& mainQueue) {
    const std::weak_ptr<WebSocket> everyPart = std::exchange(socket_, nullptr);
    EXPECT_TRUE(mainQueue.pumpUntil([&] { return everyPart.expired(); }));
    return delegate.events;
  }

  RecordingDelegate delegate;

 private:
  std::shared_ptr<WebSocket> socket_;
};

/// A socket, its delegate and a listener to connect it to.
class WebSocketTest : public ::testing::Test {
 protected:
  /// The network thread must be done with the main queue before that goes.
  void TearDown() override {
    if (socket != nullptr) {
      socket->setDelegate(nullptr);
      socket->close();
    }
    eventsAfterAll();
  }

  /// Makes the socket and starts to connect it to `url`.
  void start(std::string url) {
    request.url = std::move(url);
    socket = makeNativeWebSocket(request, mainQueue, limits);
    everyPart = socket;
    socket->setDelegate(&delegate);
    socket->open();
  }
  /// Connects to the listener, up to the opening event.
  RawPeer openToPeer(std::string_view extra = "") {
    start(listener.url());
    RawPeer peer = listener.accept();
    peer.acceptHandshake(extra);
    EXPECT_TRUE(waitFor([this] { return !delegate.events.empty(); }));
    EXPECT_EQ(delegate.events.at(0), "opened");
    return peer;
  }
  /// What a socket of one's own to the listener is asked for with.
  WebSocketRequest ownRequest() const { return {listener.url(), Seconds(60), nullptr}; }
  void send(std::string text) { socket->send(std::make_shared<const std::string>(std::move(text))); }

  bool waitFor(const std::function<bool()>& condition) { return mainQueue.pumpUntil(condition); }
  bool waitForEvent(std::string_view event) {
    return waitFor([&] { return delegate.has(event); });
  }
  bool waitForEnd() {
    return waitFor([this] { return delegate.ended(); });
  }
  /// Lets go of the socket, waits until nothing of it is left and returns all events: none can follow.
  Events eventsAfterAll() {
    socket.reset();
    EXPECT_TRUE(waitFor([&] { return everyPart.expired(); }));
    return delegate.events;
  }

  PumpedExecutor mainQueue;
  RecordingDelegate delegate;
  RawListener listener;
  WebSocketRequest request;
  NativeWebSocketLimits limits;
  std::shared_ptr<WebSocket> socket;
  std::weak_ptr<WebSocket> everyPart;
};

}  // namespace orv::test
