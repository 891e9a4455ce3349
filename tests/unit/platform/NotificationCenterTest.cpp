#include <orvnetwork/platform/NotificationCenter.h>

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace orv::notification_center_test {
namespace {

TEST(NotificationCenter, CallsObserversOfTheNameInTheOrderOfTheirRegistration) {
  NotificationCenter center;
  std::string order;
  const auto a = center.observe("x", [&](const Notification&) { order += 'a'; });
  const auto other = center.observe("y", [&](const Notification&) { order += '!'; });
  const auto b = center.observe("x", [&](const Notification&) { order += 'b'; });
  const auto all = center.observe(std::nullopt, [&](const Notification&) { order += '*'; });
  center.post("x");
  EXPECT_EQ(order, "ab*");
}

TEST(NotificationCenter, HandsOverNameObjectAndUserInfo) {
  NotificationCenter center;
  const int sender = 0;
  const json::object info{{"k", 1}};
  int calls = 0;
  const auto token = center.observe("x", [&](const Notification& notification) {
    ++calls;
    EXPECT_EQ(notification.name, "x");
    EXPECT_EQ(notification.object, &sender);
    ASSERT_NE(notification.userInfo, nullptr);
    EXPECT_EQ(*notification.userInfo, info);
  });
  center.post("x", &sender, &info);
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, FiltersByTheIdentityOfThePoster) {
  NotificationCenter center;
  const std::string one = "same";
  const std::string two = "same";
  int calls = 0;
  const auto token = center.observe(
      "x", [&](const Notification&) { ++calls; }, &one);
  center.post("x", &two);
  center.post("x");
  EXPECT_EQ(calls, 0);
  center.post("x", &one);
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, CallsAnObserverThatRegisteredTwiceTwice) {
  NotificationCenter center;
  int calls = 0;
  const auto count = [&](const Notification&) { ++calls; };
  const auto a = center.observe("x", count);
  const auto b = center.observe("x", count);
  center.post("x");
  EXPECT_EQ(calls, 2);
}

TEST(NotificationCenter, CallsNothingAfterTheTokenIsGone) {
  NotificationCenter center;
  int calls = 0;
  {
    const auto token = center.observe("x", [&](const Notification&) { ++calls; });
  }
  auto moved = center.observe("x", [&](const Notification&) { ++calls; });
  moved = ObserverToken();
  center.post("x");
  EXPECT_EQ(calls, 0);
}

TEST(NotificationCenter, SkipsAnObserverThatWasRemovedDuringThePost) {
  NotificationCenter center;
  int calls = 0;
  ObserverToken second;
  const auto first = center.observe("x", [&](const Notification&) { second.reset(); });
  second = center.observe("x", [&](const Notification&) { ++calls; });
  center.post("x");
  EXPECT_EQ(calls, 0);
}

TEST(NotificationCenter, DoesNotCallAnObserverThatWasAddedDuringThePost) {
  NotificationCenter center;
  int calls = 0;
  ObserverToken added;
  const auto first = center.observe("x", [&](const Notification&) {
    if (!added) added = center.observe("x", [&](const Notification&) { ++calls; });
  });
  center.post("x");
  EXPECT_EQ(calls, 0);
  center.post("x");
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, LetsAnObserverRemoveItself) {
  NotificationCenter center;
  int calls = 0;
  ObserverToken token;
  token = center.observe("x", [&](const Notification&) {
    ++calls;
    token.reset();
  });
  center.post("x");
  center.post("x");
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, LetsAnObserverPost) {
  NotificationCenter center;
  std::string order;
  const auto outer = center.observe("x", [&](const Notification&) {
    order += '(';
    center.post("y");
    order += ')';
  });
  const auto inner = center.observe("y", [&](const Notification&) { order += 'y'; });
  center.post("x");
  EXPECT_EQ(order, "(y)");
}

TEST(NotificationCenter, CallsTheNextObserverAfterOneThatThrows) {
  NotificationCenter center;
  int calls = 0;
  const auto thrower = center.observe("x", [](const Notification&) { throw std::runtime_error("planted"); });
  const auto next = center.observe("x", [&](const Notification&) { ++calls; });
  center.post("x");
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, RemovalOnAnotherThreadWaitsForTheRunningCall) {
  NotificationCenter center;
  std::latch entered(1);
  std::atomic<bool> release{false};
  std::atomic<bool> left{false};
  auto token = center.observe("x", [&](const Notification&) {
    entered.count_down();
    while (!release) std::this_thread::yield();
    left = true;
  });
  std::thread poster([&] { center.post("x"); });
  entered.wait();
  std::thread releaser([&] { release = true; });
  token.reset();
  EXPECT_TRUE(left) << "the removal returned while the observer ran";
  poster.join();
  releaser.join();
}

TEST(NotificationCenter, FiresNothingAfterRemovalUnderContention) {
  NotificationCenter center;
  std::atomic<bool> done{false};
  std::thread poster([&] {
    while (!done) center.post("x");
  });
  for (int i = 0; i < 2000; ++i) {
    auto alive = std::make_unique<std::atomic<bool>>(true);
    auto token = center.observe("x", [&flag = *alive](const Notification&) { EXPECT_TRUE(flag); });
    token.reset();
    *alive = false;
    alive.reset();  // a late call would touch freed memory
  }
  done = true;
  poster.join();
}

}  // namespace
}  // namespace orv::notification_center_test
