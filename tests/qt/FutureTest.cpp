#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/platform/MainQueue.h>

#include "SchoolFixture.h"

#include <orvnetwork_qt/Future.h>

#include <QFuture>
#include <QObject>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

namespace orv::future_test {
namespace {

using qt::toFuture;
using Text = std::optional<std::string>;

class QtFuture : public SchoolFixture {
 protected:
  PendingSource<Text> source;
};

TEST_F(QtFuture, BringsTheAnswer) {
  const QFuture<Text> future = toFuture(source.pending());
  EXPECT_TRUE(future.isStarted());
  EXPECT_FALSE(future.isFinished());
  source.answer("seven");
  EXPECT_FALSE(future.isFinished()) << "told inside the call";
  settle();
  ASSERT_TRUE(future.isFinished());
  EXPECT_FALSE(future.isCanceled());
  ASSERT_EQ(future.resultCount(), 1);
  EXPECT_EQ(future.result(), "seven");
}

TEST_F(QtFuture, AContinuationRunsOnceOnTheMainThread) {
  int ran = 0;
  QObject context;
  toFuture(source.pending()).then(&context, [&](const Text& text) {
    EXPECT_TRUE(MainQueue::instance().isCurrent());
    ran += text == "seven" ? 1 : 100;
  });
  source.answer("seven");
  settle();
  settle();
  EXPECT_EQ(ran, 1);
}

TEST_F(QtFuture, WithItsOwnerItIsCancelledAndNothingIsCalled) {
  auto owner = std::make_unique<QObject>();
  bool ran = false;
  const QFuture<Text> future = toFuture(source.pending(), owner.get());
  const auto chained = QFuture<Text>(future).then([&](const Text&) { ran = true; });
  owner.reset();
  EXPECT_FALSE(source.isWanted());
  EXPECT_TRUE(future.isFinished());
  EXPECT_TRUE(future.isCanceled());
  EXPECT_TRUE(chained.isFinished());
  source.answer("late");
  settle();
  EXPECT_FALSE(ran);
}

TEST_F(QtFuture, ReplyAndRefusalAndLackOfALinkAreAnswers) {
  signIn();
  auto echoed = toFuture(ask<&QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>(
      "Dev.Echo", json::object{{"hello", 1}, {"you", 2}}));
  school.refuse("Dev.Refused", 5, "no");
  auto refused = toFuture(
      ask<&QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>("Dev.Refused", json::object{}));
  settle();
  ASSERT_TRUE(echoed.isFinished());
  EXPECT_TRUE(echoed.result().succeeded());
  ASSERT_TRUE(refused.isFinished());
  EXPECT_EQ(refused.result().outcome(), ReplyOutcome::Refused);
  EXPECT_EQ(refused.result().text(), "no");

  platform.reachability().report(ReachabilityStatus::NotReachable);
  platform.server().cutAll();
  runFor(1);
  auto unsent = toFuture(
      ask<&QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>("Dev.Echo", json::object{}));
  settle();
  ASSERT_TRUE(unsent.isFinished());
  EXPECT_EQ(unsent.result().outcome(), ReplyOutcome::NoLink);
}

TEST_F(QtFuture, CancellingItGivesThePendingUp) {
  QFuture<Text> future = toFuture(source.pending());
  future.cancel();
  EXPECT_TRUE(future.isCanceled());
  settle();
  EXPECT_FALSE(source.isWanted()) << "the work goes on for nobody";
  EXPECT_TRUE(future.isFinished());
  EXPECT_EQ(future.resultCount(), 0);
}

TEST_F(QtFuture, CancelledOnAnotherThreadItIsGivenUpToo) {
  QFuture<Text> future = toFuture(source.pending());
  std::thread([future]() mutable { future.cancel(); }).join();
  settle();
  EXPECT_FALSE(source.isWanted());
  EXPECT_TRUE(future.isFinished());
}

TEST_F(QtFuture, AnAnswerThatComesAfterTheCancellingIsNotTold) {
  QFuture<Text> future = toFuture(source.pending());
  future.cancel();
  source.answer("late");
  settle();
  EXPECT_TRUE(future.isFinished());
  EXPECT_TRUE(future.isCanceled());
  EXPECT_EQ(future.resultCount(), 0);
}

TEST_F(QtFuture, APendingThatEndsByItselfIsAnAnswerInTheTypesOwnWords) {
  auto limited = toFuture(source.pending().deadline(Seconds(3)));
  runFor(4);
  ASSERT_TRUE(limited.isFinished());
  EXPECT_FALSE(limited.isCanceled());
  EXPECT_EQ(limited.result(), std::nullopt);

  PendingSource<> plain;
  auto ended = toFuture(plain.pending().deadline(Seconds(3)));
  runFor(4);
  ASSERT_TRUE(ended.isFinished());
  EXPECT_EQ(ended.result(), PendingEnd::TimedOut);
}

TEST_F(QtFuture, LettingItGoWithdrawsNothing) {
  static_cast<void>(toFuture(source.pending()));
  settle();
  EXPECT_TRUE(source.isWanted());
}

TEST_F(QtFuture, AContinuationMayCancelAndThrow) {
  std::string caught;
  toFuture(source.pending())
      .then([](const Text&) -> int { throw std::runtime_error("oh"); })
      .onFailed([&](const std::runtime_error& error) {
        caught = error.what();
        return 0;
      });
  source.answer("x");
  settle();
  EXPECT_EQ(caught, "oh");
}

TEST(QtFutureAlone, WhatIsUnderWayEndsAsCancelledWithTheApplication) {
  testing::SimulatedPlatform::install();
  auto application = std::make_unique<test::Application>();
  PendingSource<Text> source;
  const QFuture<Text> future = toFuture(source.pending());
  application.reset();
  EXPECT_TRUE(future.isFinished());
  EXPECT_TRUE(future.isCanceled());
  EXPECT_FALSE(source.isWanted());
}

}  // namespace
}  // namespace orv::future_test
