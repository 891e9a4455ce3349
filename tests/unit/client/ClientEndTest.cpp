#include <orvnetwork/client/Client.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/OrvUserInfoModel.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "ClientFixture.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv::client_end_test {
namespace {

using testing::ConnectPlan;
using ClientEnd = ClientFixture;

TEST_F(ClientEnd, ClosesTheLinkForGood) {
  bringUp();
  runFor(20);
  client.reset();
  settle();
  EXPECT_EQ(platform.network().liveSockets(), 0u);
  EXPECT_FALSE(platform.reachability().isMonitoring());
  platform.reachability().report(ReachabilityStatus::NotReachable);
  platform.reachability().report(ReachabilityStatus::WiFi);
  QXWebSocketMgr::standard().autoReconnect();
  runFor(1000);
  EXPECT_EQ(attempts(), Times{0});
  EXPECT_EQ(platform.nextDueIn(), std::nullopt) << "no timer is left";
  EXPECT_TRUE(changes.empty());
}

TEST_F(ClientEnd, IsSilentAlsoAboutWhatHasHappened) {
  bringUp();
  runFor(20);
  server.reset(1);
  platform.holdMainQueue(true);
  settle();
  platform.holdMainQueue(false);
  client.reset();
  runFor(1000);
  EXPECT_TRUE(changes.empty());
  EXPECT_EQ(attempts(), Times{0});
}

TEST_F(ClientEnd, EndsTheTimersOfASignedInUser) {
  auto user = std::make_shared<OrvUserInfoModel>();
  user->token = "t1";
  user->classroom = "c1";
  bringUp();
  QXUserInfoMgr::getInstance().setUserInfo(user);
  QXUserInfoMgr::getInstance().startRefreshSession();
  runFor(200);
  EXPECT_GE(server.requests("User.Post.Session").size(), 2u);
  client.reset();
  runFor(1000);
  EXPECT_EQ(attempts(), Times{0});
  EXPECT_EQ(platform.nextDueIn(), std::nullopt);
}

TEST_F(ClientEnd, MayComeInsideEveryNotificationOfTheLink) {
  struct Row {
    std::string_view name;
    std::function<void()> cause;
  };
  const Row rows[] = {
      {QXNotificationDidOpen, [] {}},
      {QXNotificationReachabilityStatusChange, [] {}},
      {QXNotificationDidCloseWithCode,
       [this] {
         runFor(20);
         server.close(server.latest(), 1000);
       }},
      {QXNotificationDidFailWithError,
       [this] {
         runFor(20);
         planAll(ConnectPlan::refuse());
         server.reset(server.latest());
       }},
      {QXNotificationDidAutoReconnectFailed,
       [this] {
         runFor(20);
         planAll(ConnectPlan::refuse());
         server.reset(server.latest());
         runFor(60);
       }},
  };
  for (const auto& row : rows) {
    planAll(ConnectPlan::accept());
    start();
    bool ended = false;
    const auto token =
        NotificationCenter::defaultCenter().observe(std::string(row.name), [&](const Notification&) {
          ended = true;
          client.reset();
        });
    settle();
    row.cause();
    settle();
    EXPECT_TRUE(ended) << row.name;
    EXPECT_EQ(QXWebSocketMgr::standard().reading().retryAt, std::nullopt) << row.name;
    const auto made = attempts().size();
    changes.clear();
    runFor(1000);
    EXPECT_EQ(attempts().size(), made) << row.name;
    EXPECT_EQ(platform.nextDueIn(), std::nullopt) << row.name;
    EXPECT_TRUE(changes.empty()) << row.name;
    EXPECT_EQ(platform.network().liveSockets(), 0u) << row.name;
  }
}

TEST_F(ClientEnd, LetsAnotherOneBeStarted) {
  bringUp();
  server.reset(1);
  settle();
  client.reset();
  auto with = unsupervised();
  with.server = "ws://other.test/";
  start(with);
  EXPECT_EQ(state(), LinkState::Waiting);
  EXPECT_EQ(trouble(), "") << "what the first one met is not its trouble";
  settle();
  EXPECT_TRUE(link().isUp()) << "at once, whatever the first one has done a moment ago";
  EXPECT_EQ(link().snapshot().attempt, 1u);
  EXPECT_EQ(platform.network().sockets().back().url, "ws://other.test/");
  EXPECT_EQ(QXWebSocketMgr::standard().retryTimes(), 0);
}

TEST_F(ClientEnd, LeavesNothingOfTheNetworkToTheNextOne) {
  bringUp();
  platform.reachability().report(ReachabilityStatus::NotReachable);
  settle();
  client.reset();
  platform.reachability().setStatus(ReachabilityStatus::WiFi);
  start();
  EXPECT_EQ(state(), LinkState::Waiting) << "until the network is reported anew";
  settle();
  EXPECT_TRUE(link().isUp());
}

TEST_F(ClientEnd, AnswersRequestsThatAreMadeAfterIt) {
  bringUp();
  runFor(20);
  client.reset();
  int timeouts = 0;
  QXWebSocketMgr::standard().sendRequestItem(
      QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock("a", json::object(), nullptr,
                                                                           [&](const auto&) { ++timeouts; }));
  runFor(100);
  EXPECT_EQ(timeouts, 1);
  EXPECT_EQ(attempts(), Times{0});
}

}  // namespace
}  // namespace orv::client_end_test
