// What another thread finds that closes the link, opens it, or watches it, at the same time.

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/WebSocket.h>
#include <orvnetwork/platform/native/NativePlatform.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace orv::link_closing_test {
namespace {

/// A socket that does what the test says.
class ScriptedSocket final : public WebSocket {
 public:
  void setDelegate(WebSocketDelegate* delegate) override { delegate_ = delegate; }
  void open() override {}
  void close() override { state_ = WebSocketState::Closed; }
  void send(std::shared_ptr<const std::string>) override {}
  void sendPing(std::string) override {}
  WebSocketState readyState() const override { return state_; }

  void becomeOpen() {
    state_ = WebSocketState::Open;
    delegate_->webSocketDidOpen(*this);
  }
  void receive(std::string text) {
    WebSocketMessage message;
    message.payload = std::move(text);
    delegate_->webSocket_didReceiveMessage(*this, std::move(message));
  }

 private:
  WebSocketDelegate* delegate_ = nullptr;
  WebSocketState state_ = WebSocketState::Connecting;
};

/// The operating system, with a clock that can be ahead; the test is asked in before a socket is made, and when a timer is
/// ended.
class MeddledPlatform final : public Platform, private Clock, private DelayService {
 public:
  Clock& clock() override { return *this; }
  MainQueue& mainQueue() override { return inner_->mainQueue(); }
  Executor& globalQueue() override { return inner_->globalQueue(); }
  DelayService& delays() override { return *this; }
  Reachability& reachability() override { return inner_->reachability(); }
  FileSystem& files() override { return inner_->files(); }
  Directories& directories() override { return inner_->directories(); }
  std::uint32_t random() override { return inner_->random(); }
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request) override {
    if (const auto meddle = std::exchange(beforeSocket, nullptr)) meddle();
    if (auto planned = std::exchange(nextSocket, nullptr)) return planned;
    return inner_->makeWebSocket(std::move(request));
  }
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override {
    return inner_->makeBackgroundDrain(std::move(drain));
  }
  std::string localeName() override { return inner_->localeName(); }
  TimeZonePtr timeZone() override { return inner_->timeZone(); }

  std::function<void()> beforeSocket, atEndOfTimer;
  std::shared_ptr<WebSocket> nextSocket;
  SteadyTime::duration ahead{};

 private:
  WallTime wallNow() const override { return inner_->clock().wallNow(); }
  SteadyTime steadyNow() const override { return inner_->clock().steadyNow() + ahead; }
  Handle runAt(SteadyTime when, Executor& executor, Task task) override {
    return inner_->delays().runAt(when - ahead, executor, std::move(task));
  }
  void cancel(Handle handle) override {
    if (const auto meddle = std::exchange(atEndOfTimer, nullptr)) meddle();
    inner_->delays().cancel(handle);
  }

  const std::unique_ptr<Platform> inner_ = makeNativePlatform();
};

class LinkClosing : public ::testing::Test {
 protected:
  LinkClosing() {
    Console::setSink([](std::string_view) {});
    EXPECT_TRUE(Platform::install(std::unique_ptr<Platform>(&platform)));
    MainQueue::instance().claim();
    link().setApiServerUrl("ws://127.0.0.1:9/");
  }
  ~LinkClosing() override {
    link().closeForGood();
    Console::setSink(nullptr);
  }

  static QXWebSocketMgr& link() { return QXWebSocketMgr::standard(); }

  MeddledPlatform& platform = *new MeddledPlatform;  // Never destroyed.
};

TEST_F(LinkClosing, AttemptThatHasBegunWhenItIsClosedOpensNothing) {
  platform.beforeSocket = [] { link().close(); };
  link().reconnect();
  EXPECT_EQ(link().webSocket(), nullptr);
  EXPECT_FALSE(link().reading().isWanted);
}

TEST_F(LinkClosing, AttemptThatALaterOneHasOvertakenOpensNothing) {
  std::shared_ptr<WebSocket> later;
  platform.beforeSocket = [&] {
    platform.ahead += std::chrono::seconds(2);
    link().reconnect();
    later = link().webSocket();
  };
  link().reconnect();
  ASSERT_NE(later, nullptr);
  EXPECT_EQ(link().webSocket(), later) << "it would go on beside the link, with nobody to close it";
  EXPECT_EQ(link().reading().attempts, 2u);
}

TEST_F(LinkClosing, AttemptAfterItOpensASocketAsEver) {
  link().close();
  link().reconnect();
  EXPECT_NE(link().webSocket(), nullptr);
  EXPECT_TRUE(link().reading().isWanted);
}

TEST_F(LinkClosing, PongThatComesMeanwhileDoesNotConfirmTheLinkOnceMore) {
  const auto socket = std::make_shared<ScriptedSocket>();
  platform.nextSocket = socket;
  int told = 0;
  const auto token = NotificationCenter::defaultCenter().observe(std::string(QXNotificationDidOpen),
                                                                 [&told](const Notification&) { ++told; });
  link().reconnect();
  socket->becomeOpen();
  MainQueue::instance().drain();
  socket->receive("PONG");
  MainQueue::instance().drain();
  ASSERT_TRUE(link().isOpen());
  ASSERT_TRUE(link().timer());
  ASSERT_EQ(told, 1);
  // The main thread, in the middle of what another one does.
  bool came = false;
  platform.atEndOfTimer = [&] {
    came = true;
    socket->receive("PONG");
  };
  link().close();
  EXPECT_TRUE(came);
  EXPECT_EQ(told, 1);
  EXPECT_FALSE(link().connected());
}

TEST_F(LinkClosing, ChangesOfAnotherThreadAreToldOnceWhenTheMainThreadComesToIt) {
  std::size_t told = 0;
  link().watch([&told] { ++told; });
  const auto sendMany = [] {
    for (int i = 0; i < 100; ++i) {
      link().sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
          "A.b", std::nullopt, nullptr, nullptr));
    }
  };
  for (int round = 1; round <= 2; ++round) {
    const std::size_t before = told;
    std::thread(sendMany).join();
    MainQueue::instance().drain();
    EXPECT_GT(told, before) << "round " << round;
    EXPECT_LE(told, before + 4) << "and what the attempt itself brings";
  }
  link().watch(nullptr);
}

}  // namespace
}  // namespace orv::link_closing_test
