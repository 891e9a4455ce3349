#include <orvnetwork/client/Pending.h>

#include "CoroutineFixture.h"

#include <coroutine>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orv::pending_coroutine_test {
namespace {

class PendingCoroutine : public CoroutineFixture {
 protected:
  Pending<std::optional<int>> one(Pending<Text> awaited) {
    const Text text = co_await awaited;
    co_return text ? std::optional<int>(1) : std::nullopt;
  }
  Pending<std::optional<int>> oneMore(Pending<std::optional<int>> awaited) {
    const std::optional<int> number = co_await awaited;
    co_return number ? std::optional<int>(*number + 1) : std::nullopt;
  }
};

TEST_F(PendingCoroutine, BeginsAtOnceAndGoesOnWithTheAnswer) {
  const auto kept = mark(std::move(base_)).then(note());
  source.answer("7");
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, (Strings{"resumed", "~frame", "7!"})) << "the frame is gone before anybody is told";
}

TEST_F(PendingCoroutine, ThatDoesNotWaitIsToldLaterAllTheSame) {
  const auto kept = withoutWaiting().then(note());
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, Strings{"at once"});
}

TEST_F(PendingCoroutine, AwaitsWhatIsThereWithoutATurn) {
  source.answer("7");
  settle();
  auto pending = mark(std::move(base_));
  EXPECT_EQ(told, (Strings{"resumed", "~frame"}));
  EXPECT_TRUE(pending.isReady());
}

TEST_F(PendingCoroutine, AwaitsATurnForWhatTheSameTurnHasCaused) {
  source.answer("7");
  auto pending = mark(std::move(base_));
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, (Strings{"resumed", "~frame"}));
  EXPECT_TRUE(pending.isReady());
}

TEST_F(PendingCoroutine, AwaitsOneAfterTheOther) {
  PendingSource<Text> second;
  const auto kept = noteEach(std::move(base_), second.pending()).then(note());
  source.answer("1");
  settle();
  second.answer("2");
  settle();
  EXPECT_EQ(told, (Strings{"1", "2", "finished"}));
}

TEST_F(PendingCoroutine, AwaitsCoroutines) {
  const auto kept = mark(mark(std::move(base_), "inner"), "outer").then(note());
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"resumed", "~inner", "resumed", "~outer", "7!!"}));
}

TEST_F(PendingCoroutine, EndsOneAfterTheOtherAndNotInsideEachOther) {
  constexpr int kDeep = 50000;
  auto last = one(std::move(base_));
  for (int i = 1; i < kDeep; ++i) last = oneMore(std::move(last));
  std::optional<int> number;
  const auto kept = std::move(last).then([&](std::optional<int> counted) { number = counted; });
  source.answer("go");
  settle();
  EXPECT_EQ(number, kDeep);
}

TEST_F(PendingCoroutine, IsToldWhenWhatItAwaitsIsCancelled) {
  std::optional<Pending<Text>> inner(std::move(base_));
  auto outer = [](std::optional<Pending<Text>>& awaited, Strings& heard) -> Pending<> {
    const Text text = co_await *awaited;
    heard.push_back(words(text));
  };
  const auto kept = outer(inner, told);
  inner->cancel();
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
}

TEST_F(PendingCoroutine, IsToldWhenWhatItAwaitsIsDestroyed) {
  std::optional<Pending<Text>> inner(std::move(base_));
  auto outer = [](std::optional<Pending<Text>>& awaited, Strings& heard) -> Pending<> {
    const Text text = co_await *awaited;
    heard.push_back(words(text));
  };
  const auto kept = outer(inner, told);
  inner.reset();
  EXPECT_EQ(told, Strings{});
  EXPECT_FALSE(source.isWanted());
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
}

TEST_F(PendingCoroutine, FindsNothingWhereAnotherAwaits) {
  auto outer = [](Pending<Text>& awaited, Strings& heard) -> Pending<> {
    const Text text = co_await awaited;
    heard.push_back(words(text));
  };
  const auto first = outer(base_, told);
  const auto second = outer(base_, told);
  EXPECT_EQ(told, Strings{"cancelled"});
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"cancelled", "7"}));
}

TEST_F(PendingCoroutine, FindsAnAnswerOnce) {
  auto twice = [](Pending<Text>& awaited, Strings& heard) -> Pending<> {
    const Text once = co_await awaited;
    heard.push_back(words(once));
    const Text again = co_await awaited;
    heard.push_back(words(again));
  };
  const auto kept = twice(base_, told);
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"7", "cancelled"}));
}

TEST_F(PendingCoroutine, ThatThrowsTellsTheConsoleAndWhoWaits) {
  const auto kept = throws(std::move(base_)).then(note());
  source.answer("a host's fault");
  settle();
  EXPECT_EQ(told, Strings{"the coroutine has thrown"});
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("a host's fault"), std::string::npos) << console[0];
}

TEST_F(PendingCoroutine, GoesOnByItselfWhenDetached) {
  mark(std::move(base_)).detach();
  EXPECT_EQ(told, Strings{});
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"resumed", "~frame"}));
}

template <typename P>
concept AwaitsByName = requires(typename P::promise_type& promise, P& awaited) {
  promise.await_transform(awaited);
};
template <typename P>
concept AwaitsUnnamed = requires(typename P::promise_type& promise, P awaited) {
  promise.await_transform(std::move(awaited));
};
template <typename P, typename Other>
concept Awaits = requires(typename P::promise_type& promise, Other& other) {
  promise.await_transform(other);
};
static_assert(AwaitsByName<Pending<>> && !AwaitsUnnamed<Pending<>>);
static_assert(!Awaits<Pending<>, std::suspend_always>, "what does not end by itself is not awaited");

}  // namespace
}  // namespace orv::pending_coroutine_test
