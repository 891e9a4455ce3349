#include "orvnetwork/platform/native/websocket/FailedWebSocket.h"

#include <atomic>
#include <memory>
#include <string>
#include <utility>

namespace orv {

namespace {

class FailedWebSocket final : public WebSocket, public std::enable_shared_from_this<FailedWebSocket> {
 public:
  FailedWebSocket(Executor& mainQueue, Error error) : mainQueue_(mainQueue), error_(std::move(error)) {}

  void setDelegate(WebSocketDelegate* delegate) override { delegate_ = delegate; }
  void open() override {
    if (opened_.exchange(true)) return;
    mainQueue_.post([self = shared_from_this()] {
      self->closed_ = true;
      auto* const delegate = self->delegate_.load();
      if (delegate != nullptr) delegate->webSocket_didFailWithError(*self, self->error_);
    });
  }
  void close() override { closed_ = true; }
  void send(std::shared_ptr<const std::string>) override {}
  void sendPing(std::string) override {}
  WebSocketState readyState() const override {
    return closed_ ? WebSocketState::Closed : WebSocketState::Connecting;
  }

 private:
  Executor& mainQueue_;
  const Error error_;
  std::atomic<WebSocketDelegate*> delegate_{nullptr};
  std::atomic<bool> opened_{false};
  std::atomic<bool> closed_{false};
};

}  // namespace

std::shared_ptr<WebSocket> makeFailedWebSocket(Executor& mainQueue, Error error) {
  return std::make_shared<FailedWebSocket>(mainQueue, std::move(error));
}

}  // namespace orv
