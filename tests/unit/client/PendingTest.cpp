#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/platform/Console.h>

#include "PendingFixture.h"

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orv::pending_test {
namespace {

class PendingAnswer : public PendingFixture {};

TEST_F(PendingAnswer, IsToldInALaterTurnAndOnce) {
  const auto kept = source.pending().then(note());
  source.answer("7");
  EXPECT_EQ(told, Strings{}) << "nobody is called inside the call that caused it";
  EXPECT_TRUE(kept.isWaiting());
  settle();
  EXPECT_EQ(told, Strings{"7"});
  EXPECT_FALSE(kept.isWaiting());
  settle();
  EXPECT_EQ(told.size(), 1u);
}

TEST_F(PendingAnswer, IsToldAtOnceInATurnOfItsOwn) {
  const auto kept = source.pending().then(note());
  platform.mainQueue().post([this] {
    source.answerNow("7");
    told.push_back("after");
  });
  settle();
  EXPECT_EQ(told, (Strings{"7", "after"}));
}

TEST_F(PendingAnswer, ThatWasThereBeforeIsToldLaterAllTheSame) {
  auto pending = source.pending();
  source.answer("7");
  settle();
  EXPECT_TRUE(pending.isReady());
  const auto kept = std::move(pending).then(note());
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, Strings{"7"});
}

TEST_F(PendingAnswer, IsTheFirstOne) {
  const auto kept = source.pending().then(note());
  source.answer("7");
  source.answer("8");
  settle();
  EXPECT_EQ(told, Strings{"7"});
}

TEST_F(PendingAnswer, IsWantedUntilItIsThereOrNobodyWaits) {
  EXPECT_TRUE(source.isWanted());
  {
    auto pending = source.pending();
    EXPECT_TRUE(source.isWanted());
  }
  EXPECT_FALSE(source.isWanted());
}

TEST_F(PendingAnswer, OfASourceThatGoesIsCancelled) {
  std::optional<PendingSource<Text>> going(std::in_place);
  const auto kept = going->pending().then(note());
  going.reset();
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
}

TEST_F(PendingAnswer, ThatDoesNotComeIsAnErrorWithTheNumberAndTheWordsOfItsEnd) {
  for (const auto end : {PendingEnd::Cancelled, PendingEnd::TimedOut, PendingEnd::Thrown}) {
    const Text none = WithoutAnswer<Text>::make(end);
    ASSERT_FALSE(none);
    EXPECT_EQ(none.error().domain, kPendingErrorDomain);
    EXPECT_EQ(none.error().code, static_cast<std::int64_t>(end));
    EXPECT_EQ(none.error().description, textOf(end));
  }
}

TEST_F(PendingAnswer, OfAReplacedSourceIsCancelled) {
  const auto kept = source.pending().then(note());
  source = PendingSource<Text>();
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
}

TEST_F(PendingAnswer, OfNothingIsCancelled) {
  Pending<Text> nothing;
  EXPECT_FALSE(nothing);
  nothing.cancel();
  nothing.deadline(Seconds(1));
  const auto kept = std::move(nothing).then(note());
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
}

TEST_F(PendingAnswer, ThatWasMovedFromIsCancelled) {
  auto first = source.pending();
  const auto second = std::move(first);
  const auto kept = std::move(first).then(note());
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
  EXPECT_TRUE(second);
}

TEST_F(PendingAnswer, MayBeMovedOnly) {
  PendingSource<std::optional<std::unique_ptr<int>>> numbers;
  const auto kept = numbers.pending().then(
      [this](std::optional<std::unique_ptr<int>> number) { told.push_back(std::to_string(**number)); });
  numbers.answer(std::make_unique<int>(9));
  settle();
  EXPECT_EQ(told, Strings{"9"});
}

TEST_F(PendingAnswer, OfVoidIsHowItEnded) {
  PendingSource<> done, given;
  const auto first = done.pending().then(note());
  auto second = given.pending().then(note());
  done.answer(PendingEnd::Finished);
  second.cancel();
  settle();
  EXPECT_EQ(told, (Strings{"finished", "cancelled"}));
}

TEST_F(PendingAnswer, IsSilentOnceItsHandleIsGone) {
  {
    const auto kept = source.pending().then(note());
    source.answer("7");
  }
  settle();
  EXPECT_EQ(told, Strings{});
}

TEST_F(PendingAnswer, LetsGoOfWhatTheCallbackHeldWithTheHandle) {
  const auto held = std::make_shared<int>(1);
  auto kept = source.pending().then([held](const Text&) {});
  EXPECT_EQ(held.use_count(), 2);
  kept = PendingCallback();
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(PendingAnswer, LetsGoOfWhatTheCallbackHeldWhenItHasReturned) {
  const auto held = std::make_shared<int>(1);
  const auto kept = source.pending().then([held](const Text&) {});
  source.answer("7");
  settle();
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(PendingAnswer, MayDestroyItsHandleInTheCallback) {
  auto kept = std::make_unique<PendingCallback>();
  const auto held = std::make_shared<std::string>("held");
  *kept = source.pending().then([&kept, held, this](const Text&) {
    kept.reset();
    told.push_back(*held);
  });
  source.answer("7");
  settle();
  EXPECT_EQ(told, Strings{"held"});
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(PendingAnswer, MayAskAnewIntoTheSameHandleInTheCallback) {
  PendingCallback kept;
  std::vector<PendingSource<Text>> sources;
  std::function<void(const Text&)> again = [&](const Text& text) {
    told.push_back(words(text));
    sources.emplace_back();
    kept = sources.back().pending().then(again);
  };
  again("0");
  for (const char* answer : {"1", "2", "3"}) {
    PendingSource<Text> current = std::move(sources.back());
    current.answer(answer);
    settle();
  }
  EXPECT_EQ(told, (Strings{"0", "1", "2", "3"}));
}

TEST_F(PendingAnswer, IsToldAlsoWhenNobodyKeepsTheDetachedCallback) {
  source.pending().then(note()).detach();
  source.answer("7");
  settle();
  EXPECT_EQ(told, Strings{"7"});
}

TEST_F(PendingAnswer, SurvivesACallbackThatThrows) {
  const auto kept = source.pending().then([](const Text&) { throw std::runtime_error("a host's fault"); });
  source.answer("7");
  settle();
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("continuation"), std::string::npos) << console[0];
  EXPECT_NE(console[0].find("a host's fault"), std::string::npos) << console[0];
}

TEST_F(PendingAnswer, CanBeKeptAsASubscription) {
  PendingSource<Text> second;
  std::vector<Subscription> all;
  all.emplace_back(source.pending().then(note()));
  all.emplace_back(second.pending().then(note()));
  second.answer("second");
  settle();
  EXPECT_EQ(told, Strings{"second"});
  all.clear();
  source.answer("7");
  settle();
  EXPECT_EQ(told, Strings{"second"});
}

TEST_F(PendingAnswer, IsToldInsideALoopThatACallbackRuns) {
  PendingSource<Text> second;
  const auto first = source.pending().then([this](const Text&) {
    platform.mainQueue().drain();
    told.push_back("first");
  });
  const auto other = second.pending().then(note());
  source.answer("7");
  second.answer("second");
  settle();
  EXPECT_EQ(told, (Strings{"second", "first"}));
}

// What must not compile.

template <typename P>
concept HasThen = requires(P pending) {
  std::move(pending).then([](const auto&) {});
};
template <typename P>
concept NamedThen = requires(P& pending) {
  pending.then([](const auto&) {});
};
template <typename P>
concept AwaitedByName = requires(P& pending) {
  pending.operator co_await();
};
template <typename P>
concept AwaitedUnnamed = requires(P pending) {
  std::move(pending).operator co_await();
};
using Number = Result<int>;
static_assert(HasThen<Pending<Number>> && !HasThen<PendingCallback>,
              "one continuation, a second does not compile");
static_assert(!NamedThen<Pending<Number>>, "the continuation takes the place of what waits");
static_assert(AwaitedByName<Pending<Number>> && !AwaitedUnnamed<Pending<Number>>,
              "only what has a name is awaited");
static_assert(!std::copy_constructible<Pending<Number>> && !std::copy_constructible<PendingCallback>);
static_assert(Answerable<Number> && Answerable<std::optional<int>> && Answerable<PendingEnd>);
static_assert(!Answerable<int> && !Answerable<std::string>,
              "what cannot say that no answer came is not waited for");
static_assert(!std::is_aggregate_v<Pending<Number>> && !std::is_aggregate_v<PendingCallback>);
static_assert(!std::is_aggregate_v<detail::PendingAwaiter<Number>>);

#ifndef NDEBUG
TEST_F(PendingAnswer, ComplainsOnAnotherThread) {
  GTEST_FLAG_SET(death_test_style, "fast");
  auto pending = source.pending();
  platform.globalQueue().post([&] { pending.cancel(); });
  EXPECT_DEATH(
      {
        Console::setSink(nullptr);
        settle();
      },
      "Pending::cancel was used on a thread that is not the main thread");
}
#endif

}  // namespace
}  // namespace orv::pending_test
