#include <orvnetwork/client/Pending.h>

#include "PendingFixture.h"

#include <coroutine>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orv {
namespace {

/// What a coroutine holds while it lives.
class Local {
 public:
  Local(std::vector<std::string>& told, std::string name) : told_(&told), name_(std::move(name)) {}
  Local(const Local&) = delete;
  Local& operator=(const Local&) = delete;
  ~Local() { told_->push_back("~" + name_); }

 private:
  std::vector<std::string>* told_;
  std::string name_;
};

/// A coroutine of another kind, that a host might have.
struct Foreign {
  struct promise_type {
    Foreign get_return_object() { return {}; }
    std::suspend_never initial_suspend() { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { throw; }
  };
};

class PendingCoroutine : public PendingFixture {
 protected:
  /// Awaits the source's answer and gives it back with a mark.
  Pending<Text> mark(Pending<Text> awaited, std::string name = "frame") {
    const Local local(told, name);
    const Text text = co_await awaited;
    told.push_back("resumed");
    co_return words(text) + "!";
  }
  Pending<> noteEach(Pending<Text> first, Pending<Text> second) {
    const Text one = co_await first;
    told.push_back(words(one));
    const Text two = co_await second;
    told.push_back(words(two));
  }
  Pending<Text> withoutWaiting() { co_return "at once"; }
  Pending<Text> throws(Pending<Text> awaited) {
    const Text text = co_await awaited;
    throw std::runtime_error(words(text));
  }
  Pending<> closes(Pending<Text> awaited, std::optional<Pending<>>& window) {
    const Local local(told, "frame");
    const Text text = co_await awaited;
    window.reset();
    told.push_back("goes on after " + words(text));
    PendingSource<Text> never;
    auto next = never.pending();
    const Text other = co_await next;
    told.push_back("never reached " + words(other));
  }
  Pending<> closesAndReturns(Pending<Text> awaited, std::optional<Pending<>>& window) {
    const Local local(told, "frame");
    const Text text = co_await awaited;
    window.reset();
    told.push_back("goes on after " + words(text));
  }
  Pending<Text> cancelsItself(Pending<Text> awaited, Pending<Text>& own, Pending<Text> never) {
    const Local local(told, "frame");
    const Text text = co_await awaited;
    own.cancel();
    told.push_back("goes on after " + words(text));
    const Text other = co_await never;
    co_return other;
  }
  Foreign foreign(Pending<Text>& awaited) {
    const Text text = co_await awaited;
    told.push_back("foreign " + words(text));
  }
  Pending<std::optional<int>> count(int depth) {
    if (depth == 0) {
      const Text text = co_await base_;
      co_return text ? std::optional<int>(0) : std::nullopt;
    }
    auto below = count(depth - 1);
    const std::optional<int> number = co_await below;
    co_return number ? std::optional<int>(*number + 1) : std::nullopt;
  }

  Pending<Text> base_ = source.pending();
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
  auto pending = mark(std::move(base_));
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
  constexpr int kDeep = 20000;
  std::optional<int> number;
  const auto kept = count(kDeep).then([&](std::optional<int> counted) { number = counted; });
  source.answer("go");
  settle();
  EXPECT_EQ(number, kDeep);
}

TEST_F(PendingCoroutine, IsDestroyedWithItsPending) {
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

TEST_F(PendingCoroutine, IsDestroyedWithItsCallback) {
  auto kept = mark(std::move(base_)).then(note());
  kept = PendingCallback();
  EXPECT_EQ(told, Strings{"~frame"});
}

TEST_F(PendingCoroutine, IsDestroyedThroughAllThatAwaitEachOther) {
  { const auto kept = mark(mark(std::move(base_), "inner"), "outer"); }
  EXPECT_EQ(told, (Strings{"~outer", "~inner"}));
}

TEST_F(PendingCoroutine, IsDestroyedBetweenTheAnswerAndItsTurn) {
  auto kept = std::make_unique<Pending<Text>>(mark(std::move(base_)));
  source.answer("7");
  kept.reset();
  settle();
  EXPECT_EQ(told, Strings{"~frame"});
}

TEST_F(PendingCoroutine, ThatDestroysItsOwnPendingDiesWhereItWaitsNext) {
  std::optional<Pending<>> window;
  window.emplace(closes(std::move(base_), window));
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"goes on after 7", "~frame"}));
}

TEST_F(PendingCoroutine, ThatDestroysItsOwnPendingMayEnd) {
  std::optional<Pending<>> window;
  window.emplace(closesAndReturns(std::move(base_), window));
  source.answer("7");
  settle();
  EXPECT_EQ(told, (Strings{"goes on after 7", "~frame"}));
}

TEST_F(PendingCoroutine, IsDestroyedByACancelAndThenTheCallbackIsTold) {
  auto kept = mark(std::move(base_)).then(note());
  kept.cancel();
  EXPECT_EQ(told, Strings{"~frame"});
  settle();
  EXPECT_EQ(told, (Strings{"~frame", "cancelled"}));
}

TEST_F(PendingCoroutine, IsDestroyedAtItsDeadlineAndThenTheCallbackIsTold) {
  const auto kept = mark(std::move(base_)).deadline(Seconds(2)).then(note());
  runFor(2);
  EXPECT_EQ(told, (Strings{"~frame", "the deadline has passed"}));
}

TEST_F(PendingCoroutine, ThatCancelsItselfDiesWhereItWaitsNextAndThenTheCallbackIsTold) {
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

TEST_F(PendingCoroutine, OfAnotherKindMayAwait) {
  foreign(base_);
  source.answer("7");
  settle();
  EXPECT_EQ(told, Strings{"foreign 7"});
}

TEST_F(PendingCoroutine, OfAnotherKindThatThrowsDoesNoHarm) {
  [](Pending<Text>& awaited) -> Foreign {
    const Text text = co_await awaited;
    throw std::runtime_error(words(text));
  }(base_);
  source.answer("a host's fault");
  settle();
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("a host's fault"), std::string::npos) << console[0];
}

TEST_F(PendingCoroutine, GivenUpWhileItRunsALoopIsGoneBeforeTheCallbackIsTold) {
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
}  // namespace orv
