#include <orvnetwork/client/Pending.h>

#include "PendingFixture.h"

#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace orv::pending_limit_test {
namespace {

/// What gives an answer up before it has come.
class PendingLimit : public PendingFixture {};

TEST_F(PendingLimit, IsACancelThatIsToldOnceAndLater) {
  auto kept = source.pending().then(note());
  kept.cancel();
  kept.cancel();
  EXPECT_EQ(told, Strings{});
  source.answer("too late");
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
}

TEST_F(PendingLimit, IsNoneOnceTheAnswerIsThere) {
  auto kept = source.pending().then(note());
  source.answer("7");
  kept.cancel();
  settle();
  EXPECT_EQ(told, Strings{"7"});
}

TEST_F(PendingLimit, IsADeadlineToTheTick) {
  const auto kept = source.pending().deadline(Seconds(3)).then(note());
  runFor(2.999);
  EXPECT_EQ(told, Strings{});
  runFor(0.001);
  EXPECT_EQ(told, Strings{"the deadline has passed"});
  source.answer("too late");
  runFor(10);
  EXPECT_EQ(told.size(), 1u);
}

TEST_F(PendingLimit, LeavesNoTimerBehind) {
  const auto kept = source.pending().deadline(Seconds(3)).then(note());
  source.answer("7");
  settle();
  EXPECT_FALSE(platform.nextDueIn());
  PendingSource<Text> other;
  { const auto dropped = other.pending().deadline(Seconds(3)); }
  EXPECT_FALSE(platform.nextDueIn());
}

TEST_F(PendingLimit, IsTheLastDeadlineThatWasSet) {
  auto kept = source.pending().deadline(Seconds(3)).then(note());
  runFor(2);
  kept.deadline(Seconds(3));
  runFor(2.5);
  EXPECT_EQ(told, Strings{});
  runFor(0.5);
  EXPECT_EQ(told, Strings{"the deadline has passed"});
}

TEST_F(PendingLimit, IsNotADeadlineThatWasPutOffOnItsWay) {
  auto kept = source.pending().deadline(Seconds(3)).then(note());
  platform.holdMainQueue(true);
  runFor(3);
  kept.deadline(Seconds(2));
  platform.holdMainQueue(false);
  settle();
  EXPECT_EQ(told, Strings{});
  runFor(2);
  EXPECT_EQ(told, Strings{"the deadline has passed"});
}

TEST_F(PendingLimit, IsADeadlineOfAnyLength) {
  std::vector<PendingCallback> kept;
  for (const double span : {0.0, -1.0, 1e300, std::stod("inf"), std::stod("nan"), -std::stod("inf")}) {
    PendingSource<Text> one;
    auto pending = one.pending().deadline(Seconds(span));
    kept.push_back(std::move(pending).then(note()));
    EXPECT_EQ(told, Strings{});
    settle();
    const bool isLong = span > 1;
    EXPECT_EQ(told, isLong ? Strings{} : Strings{"the deadline has passed"}) << span;
    told.clear();
    one.answer("x");
    settle();
    EXPECT_EQ(told, isLong ? Strings{"x"} : Strings{}) << span;
    told.clear();
  }
}

TEST_F(PendingLimit, IsATokenThatStops) {
  std::stop_source stop;
  const auto kept = source.pending().stopOn(stop.get_token()).then(note());
  stop.request_stop();
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
}

TEST_F(PendingLimit, IsATokenThatHasStoppedAlreadyButLater) {
  std::stop_source stop;
  stop.request_stop();
  auto kept = source.pending().then(note());
  kept.stopOn(stop.get_token());
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
}

TEST_F(PendingLimit, IsATokenThatStopsOnAWorker) {
  std::stop_source stop;
  const auto kept = source.pending().stopOn(stop.get_token()).then([this](const Text& text) {
    EXPECT_TRUE(platform.mainQueue().isCurrent());
    told.push_back(words(text));
  });
  platform.globalQueue().post([&] { stop.request_stop(); });
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
}

TEST_F(PendingLimit, IsNoTokenAfterTheEnd) {
  std::stop_source stop;
  {
    const auto dropped = PendingSource<Text>().pending().stopOn(stop.get_token());
    const auto kept = source.pending().stopOn(stop.get_token()).then(note());
    source.answer("7");
    settle();
  }
  stop.request_stop();
  settle();
  EXPECT_EQ(told, Strings{"7"});
}

TEST_F(PendingLimit, IsSilentOnceTheHandleIsGone) {
  {
    auto kept = source.pending().deadline(Seconds(0)).then(note());
    kept.cancel();
  }
  runFor(1);
  EXPECT_EQ(told, Strings{});
}

}  // namespace
}  // namespace orv::pending_limit_test
