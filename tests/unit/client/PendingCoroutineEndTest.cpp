#include <orvnetwork/client/Pending.h>

#include "CoroutineFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace orv::pending_coroutine_end_test {
namespace {

/// Coroutines that are destroyed before they have come to their end.
class PendingCoroutineEnd : public CoroutineFixture {};

TEST_F(PendingCoroutineEnd, IsDestroyedWithItsPending) {
  {
    const auto kept = mark(std::move(base_));
    EXPECT_TRUE(source.isWanted());
  }
  EXPECT_EQ(told, Strings{"~frame"});
  EXPECT_FALSE(source.isWanted()) << "with all that it awaits";
  source.answer("7");
  settle();
  EXPECT_EQ(told, Strings{"~frame"});
}

TEST_F(PendingCoroutineEnd, IsDestroyedWithItsCallback) {
  auto kept = mark(std::move(base_)).then(note());
  kept = PendingCallback();
  EXPECT_EQ(told, Strings{"~frame"});
}

TEST_F(PendingCoroutineEnd, IsDestroyedThroughAllThatAwaitEachOther) {
  { const auto kept = mark(mark(std::move(base_), "inner"), "outer"); }
  EXPECT_EQ(told, (Strings{"~outer", "~inner"}));
}

TEST_F(PendingCoroutineEnd, IsDestroyedBetweenTheAnswerAndItsTurn) {
  auto kept = std::make_unique<Pending<Text>>(mark(std::move(base_)));
  source.answer("7");
  kept.reset();
  settle();
  EXPECT_EQ(told, Strings{"~frame"});
}

TEST_F(PendingCoroutineEnd, ThatDestroysItsOwnPendingDiesWhereItWaitsNext) {
  std::optional<Pending<>> window;
  window.emplace(closes(std::move(base_), window));
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"goes on after 7", "~frame"}));
}

TEST_F(PendingCoroutineEnd, ThatDestroysItsOwnPendingMayEnd) {
  std::optional<Pending<>> window;
  window.emplace(closesAndReturns(std::move(base_), window));
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"goes on after 7", "~frame"}));
}

TEST_F(PendingCoroutineEnd, IsDestroyedByACancelAndThenTheCallbackIsTold) {
  auto kept = mark(std::move(base_)).then(note());
  kept.cancel();
  EXPECT_EQ(told, Strings{"~frame"});
  settle();
  EXPECT_EQ(told, (Strings{"~frame", "cancelled"}));
}

TEST_F(PendingCoroutineEnd, IsDestroyedAtItsDeadlineAndThenTheCallbackIsTold) {
  const auto kept = mark(std::move(base_)).deadline(Seconds(2)).then(note());
  runFor(2);
  EXPECT_EQ(told, (Strings{"~frame", "the deadline has passed"}));
}

TEST_F(PendingCoroutineEnd, ThatCancelsItselfDiesWhereItWaitsNextAndThenTheCallbackIsTold) {
  PendingSource<Text> never;
  Pending<Text> own;
  own = cancelsItself(std::move(base_), own, never.pending());
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"goes on after 7", "~frame"}));
  const auto kept = std::move(own).then(note());
  settle();
  EXPECT_EQ(told.back(), "cancelled");
}

TEST_F(PendingCoroutineEnd, GivenUpWhileItRunsALoopIsGoneBeforeTheCallbackIsTold) {
  std::optional<PendingCallback> kept;
  auto modal = [](Pending<Text> awaited, testing::SimulatedPlatform& loop, Strings& heard,
                  std::optional<PendingCallback>& own) -> Pending<Text> {
    const Local local(heard, "frame");
    const Text text = co_await awaited;
    own->cancel();
    loop.mainQueue().drain();
    heard.push_back("after the loop");
    co_return words(text);
  };
  kept.emplace(modal(std::move(base_), platform, told, kept).then(note()));
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"after the loop", "~frame", "cancelled"}));
}

}  // namespace
}  // namespace orv::pending_coroutine_end_test
