// What another thread finds that closes the link, opens it, or watches it, at the same time.

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/native/NativePlatform.h>
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

/// The operating system, with a clock that can be ahead; the test is asked in before a socket is made.
class MeddledPlatform final : public Platform, private Clock {
 public:
  Clock& clock() override { return *this; }
  MainQueue& mainQueue() override { return inner_->mainQueue(); }
  Executor& globalQueue() override { return inner_->globalQueue(); }
  DelayService& delays() override { return inner_->delays(); }
  Reachability& reachability() override { return inner_->reachability(); }
  FileSystem& files() override { return inner_->files(); }
  Directories& directories() override { return inner_->directories(); }
  std::uint32_t random() override { return inner_->random(); }
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request) override {
    if (const auto meddle = std::exchange(beforeSocket, nullptr)) meddle();
    return inner_->makeWebSocket(std::move(request));
  }
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override {
    return inner_->makeBackgroundDrain(std::move(drain));
  }
  std::string localeName() override { return inner_->localeName(); }
  TimeZonePtr timeZone() override { return inner_->timeZone(); }

  std::function<void()> beforeSocket;
  SteadyTime::duration ahead{};

 private:
  WallTime wallNow() const override { return inner_->clock().wallNow(); }
  SteadyTime steadyNow() const override { return inner_->clock().steadyNow() + ahead; }

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
