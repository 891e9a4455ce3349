// The examples of docs/testing.md.

#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/testing/ReplyFault.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <tests/support/LinkDiary.h>

#include <gtest/gtest.h>

using namespace orv;
using namespace orv::testing;
using orv::test::LinkDiary;

namespace {

TEST(LinkExample, NoticesALinkThatDiedSilently) {
  auto& platform = SimulatedPlatform::install(/*seed=*/1);
  LinkDiary diary;
  const auto socket = platform.makeWebSocket({.url = "ws://127.0.0.1:9000/", .prepare = {}});
  socket->setDelegate(&diary);
  socket->open();
  platform.settle();
  socket->send(std::make_shared<const std::string>("PING"));
  platform.settle();
  EXPECT_EQ(diary.text, "opened; PONG; ");

  platform.network().breakLink(platform.server().latest());
  const auto keepAlive =
      Timer::schedule(Seconds(30), true, [&] { socket->send(std::make_shared<const std::string>("PING")); });
  platform.runFor(Seconds(59));
  EXPECT_EQ(diary.text, "opened; PONG; ");
  platform.runFor(Seconds(1));
  EXPECT_EQ(diary.text, "opened; PONG; failed POSIX 110; ");
  keepAlive->invalidate();
}

TEST(LinkExample, AnswersRequestsAsTheTestSays) {
  auto& platform = SimulatedPlatform::install();
  platform.server().onRequest([&](ConnectionId connection, const json::object& request) {
    platform.server().reply(connection, request, {{"ret", 0}, {"data", {{"name", "Ann"}}}});
  });
  LinkDiary diary;
  const auto socket = platform.makeWebSocket({.url = "ws://127.0.0.1:9000/", .prepare = {}});
  socket->setDelegate(&diary);
  socket->open();
  platform.settle();
  platform.server().faultNextReply(ReplyFault::late(Seconds(2)));
  socket->send(std::make_shared<const std::string>(R"({"c":"User.Get","s":"17","v":{}})"));
  platform.runFor(Seconds(1.5));
  EXPECT_EQ(diary.text, "opened; ");
  platform.runFor(Seconds(0.5));
  EXPECT_EQ(diary.text, R"(opened; {"C":"User.Get","s":"17","v":{"ret":0,"data":{"name":"Ann"}}}; )");
}

TEST(LinkExample, FindsAnOrderThatOnlySomeSeedsShow) {
  bool workerWasFirst = false;
  bool mainWasFirst = false;
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    SimulatedPlatform platform(seed);
    std::string order;
    platform.mainQueue().post([&] { order += 'm'; });
    platform.globalQueue().post([&] { order += 'w'; });
    platform.settle();
    workerWasFirst |= order == "wm";
    mainWasFirst |= order == "mw";
  }
  EXPECT_TRUE(workerWasFirst);
  EXPECT_TRUE(mainWasFirst);
}

}  // namespace
