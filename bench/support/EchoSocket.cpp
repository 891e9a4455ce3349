#include "EchoSocket.h"

#include <orvnetwork/platform/native/NativePlatform.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace bench {

namespace {

using namespace orv;

using Text = std::shared_ptr<const std::string>;

/// The "s" of a request, which is text in some frames and a number in others.
std::string_view timestampOf(std::string_view frame) {
  constexpr std::string_view kKey = "\"s\" : ";
  const auto key = frame.find(kKey);
  if (key == std::string_view::npos) return {};
  const auto first = frame.find_first_of("0123456789", key + kKey.size());
  return frame.substr(first, frame.find_first_not_of("0123456789", first) - first);
}

class EchoSocket final : public WebSocket, public std::enable_shared_from_this<EchoSocket> {
 public:
  EchoSocket(WebSocketRequest request, MainQueue& main) : request_(std::move(request)), main_(main) {}

  void setDelegate(WebSocketDelegate* delegate) override { delegate_ = delegate; }
  void open() override {
    std::thread([self = shared_from_this()] { self->answerAll(); }).detach();
    state_ = WebSocketState::Open;
    main_.post([self = shared_from_this()] {
      if (auto* delegate = self->delegate_.load()) delegate->webSocketDidOpen(*self);
    });
  }
  void close() override {
    state_ = WebSocketState::Closed;
    send(nullptr);
  }
  void send(Text text) override {
    const std::lock_guard lock(mutex_);
    texts_.push_back(std::move(text));
    if (texts_.size() == 1) come_.notify_one();
  }
  void sendPing(std::string) override {}
  WebSocketState readyState() const override { return state_; }

 private:
  /// As many as are delivered together: few, so that their block is none of the long ones that take their time.
  struct Replies {
    std::array<WebSocketMessage, 8> messages;
    std::size_t count = 0;
  };

  void deliver(Replies& replies) {
    for (std::size_t at = 0; at < replies.count; ++at) {
      if (auto* delegate = delegate_.load()) {
        delegate->webSocket_didReceiveMessage(*this, std::move(replies.messages[at]));
      }
    }
  }
  void answerAll() {
    for (std::vector<Text> texts;;) {
      {
        std::unique_lock lock(mutex_);
        come_.wait(lock, [this] { return !texts_.empty(); });
        texts.clear();
        texts.swap(texts_);
      }
      for (std::size_t at = 0; at < texts.size();) {
        auto replies = std::make_unique<Replies>();
        for (; at < texts.size() && replies->count < replies->messages.size(); ++at) {
          if (!texts[at]) return;
          replies->messages[replies->count++] = replyTo(*texts[at]);
        }
        main_.post([self = shared_from_this(), replies = std::move(replies)] { self->deliver(*replies); });
      }
    }
  }
  WebSocketMessage replyTo(const std::string& text) const {
    WebSocketMessage reply;
    reply.payload = text == "PING" ? "PONG" : echoReply(timestampOf(text));
    if (request_.prepare) reply.prepared = request_.prepare(reply.payload);
    return reply;
  }

  const WebSocketRequest request_;
  MainQueue& main_;
  std::atomic<WebSocketDelegate*> delegate_{nullptr};
  std::atomic<WebSocketState> state_{WebSocketState::Connecting};
  std::mutex mutex_;
  std::condition_variable come_;
  std::vector<Text> texts_;
};

class EchoPlatform final : public Platform {
 public:
  Clock& clock() override { return native_->clock(); }
  MainQueue& mainQueue() override { return native_->mainQueue(); }
  Executor& globalQueue() override { return native_->globalQueue(); }
  DelayService& delays() override { return native_->delays(); }
  Reachability& reachability() override { return native_->reachability(); }
  FileSystem& files() override { return native_->files(); }
  Directories& directories() override { return native_->directories(); }
  std::uint32_t random() override { return native_->random(); }
  std::string localeName() override { return native_->localeName(); }
  TimeZonePtr timeZone() override { return native_->timeZone(); }
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request) override {
    return std::make_shared<EchoSocket>(std::move(request), native_->mainQueue());
  }
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override {
    return native_->makeBackgroundDrain(std::move(drain));
  }

 private:
  const std::unique_ptr<Platform> native_ = makeNativePlatform();
};

}  // namespace

std::unique_ptr<Platform> makeEchoPlatform() {
  return std::make_unique<EchoPlatform>();
}

std::string echoReply(std::string_view timestamp) {
  std::string text = R"({"C":"Dev.Echo","s":")";
  text += timestamp;
  text +=
      R"(","v":{"ret":0,"err":"","data":{"roomID":"1234567","title":"代数 lesson 12","start":0,"limit":30,)"
      R"("coverUrl":"https://pictures.example.com/482000.jpg","nick":"Teacher Lin","startTime":1706661902,)"
      R"("duration":2712.4,"open":true,"intro":"Adding and comparing fractions, with numbers below a hundred )"
      R"(and pictures of cakes for those who like to see what they add."}}})";
  return text;
}

}  // namespace bench
