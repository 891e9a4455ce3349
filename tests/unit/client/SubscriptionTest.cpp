#include <orvnetwork/client/Subscribers.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::subscription_test {
namespace {

class SubscriptionFixture : public ::testing::Test {
 protected:
  using Strings = std::vector<std::string>;

  auto note(std::string name) {
    return
        [this, name = std::move(name)](const int& number) { told.push_back(name + std::to_string(number)); };
  }
  void settle() { platform.settle(); }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  Strings told;
  Subscribers<int> changed;
};

using SubscriptionOf = SubscriptionFixture;

TEST_F(SubscriptionOf, EventsHearsThemInALaterTurnInTheirOrder) {
  const Subscription a = changed.add(note("a")), b = changed.add(note("b"));
  changed.tell(1);
  changed.tell(2);
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, (Strings{"a1", "b1", "a2", "b2"}));
}

TEST_F(SubscriptionOf, EventsHearsOnlyWhatIsToldAfterIt) {
  changed.tell(1);
  const Subscription a = changed.add(note("a"));
  changed.tell(2);
  settle();
  EXPECT_EQ(told, Strings{"a2"});
}

TEST_F(SubscriptionOf, AStateHearsItOnceInTheNextTurnAndAloneAndThenTheChanges) {
  const Subscription a = changed.add(note("a"));
  const Subscription b = changed.add(note("b"), 7);
  changed.tell(8);
  EXPECT_EQ(told, Strings{});
  settle();
  EXPECT_EQ(told, (Strings{"b7", "a8", "b8"}));
}

TEST_F(SubscriptionOf, AnythingIsSilentOnceItIsDestroyed) {
  {
    const Subscription a = changed.add(note("a"), 7);
    changed.tell(1);
  }
  EXPECT_TRUE(changed.empty());
  settle();
  EXPECT_EQ(told, Strings{});
}

TEST_F(SubscriptionOf, AnythingIsReplacedByAssignment) {
  Subscription a = changed.add(note("a"));
  a = changed.add(note("b"));
  changed.tell(1);
  settle();
  EXPECT_EQ(told, Strings{"b1"});
  a = Subscription();
  EXPECT_FALSE(a);
  a.reset();
  changed.tell(2);
  settle();
  EXPECT_EQ(told, Strings{"b1"});
}

TEST_F(SubscriptionOf, AnythingLetsGoOfWhatItsCallbackHeld) {
  const auto held = std::make_shared<int>(1);
  Subscription a = changed.add([held](const int&) {});
  EXPECT_EQ(held.use_count(), 2);
  a.reset();
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SubscriptionOf, AnythingMayBeDestroyedInItsOwnCallback) {
  std::optional<Subscription> a;
  const auto held = std::make_shared<std::string>("held");
  a.emplace(changed.add([&a, held, this](const int&) {
    a.reset();
    told.push_back(*held);
  }));
  std::vector<long> counts;
  const Subscription next = changed.add([&](const int&) { counts.push_back(held.use_count()); });
  changed.tell(1);
  changed.tell(2);
  settle();
  EXPECT_EQ(told, Strings{"held"});
  EXPECT_EQ(counts, (std::vector<long>{1, 1})) << "let go late";
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SubscriptionOf, AnythingMayBeDestroyedInAnothersCallback) {
  std::optional<Subscription> b;
  const Subscription a = changed.add([&](const int&) { b.reset(); });
  b.emplace(changed.add(note("b")));
  changed.tell(1);
  settle();
  EXPECT_EQ(told, Strings{});
}

TEST_F(SubscriptionOf, AnythingOutlivesWhoGaveIt) {
  std::optional<Subscribers<int>> going(std::in_place);
  Subscription a = going->add(note("a"));
  going->tell(1);
  going.reset();
  settle();
  EXPECT_EQ(told, Strings{});
  a.reset();
}

TEST_F(SubscriptionOf, SubscribersThatGoInACallbackIsTheLastToBeTold) {
  std::optional<Subscribers<int>> going(std::in_place);
  const Subscription a = going->add([&](const int&) {
    told.push_back("a");
    going.reset();
  });
  const Subscription b = going->add(note("b"));
  going->tell(1);
  going->tell(2);
  settle();
  EXPECT_EQ(told, Strings{"a"});
}

TEST_F(SubscriptionOf, EventsHearsInTheNextTurnWhatACallbackCauses) {
  std::vector<Subscription> later;
  const Subscription a = changed.add([&](const int& number) {
    told.push_back("a" + std::to_string(number));
    if (number > 1) return;
    changed.tell(number + 1);
    later.push_back(changed.add(note("c")));
    told.push_back("a done");
  });
  const Subscription b = changed.add(note("b"));
  changed.tell(1);
  settle();
  EXPECT_EQ(told, (Strings{"a1", "a done", "b1", "a2", "b2"}));
  changed.tell(5);
  settle();
  EXPECT_EQ(told.back(), "c5");
}

TEST_F(SubscriptionOf, EventsHearsThemInALoopThatItRunsItselfAndSoDoTheOthers) {
  const Subscription a = changed.add([&](const int& number) {
    told.push_back("a" + std::to_string(number));
    if (number != 1) return;
    changed.tell(3);
    platform.mainQueue().drain();
    changed.tell(4);
    platform.mainQueue().drain();
    told.push_back("a done");
  });
  const Subscription b = changed.add(note("b"));
  changed.tell(1);
  changed.tell(2);
  settle();
  EXPECT_EQ(told, (Strings{"a1", "b1", "a2", "b2", "a3", "b3", "a4", "b4", "a done"}));
}

TEST_F(SubscriptionOf, EventsThatWaitIsToldAfterItsLoopWhatItHasMissedAndTheOthersInIt) {
  Subscribers<int> waiting(Reentry::Deferred);
  const Subscription a = waiting.add([&](const int& number) {
    told.push_back("a" + std::to_string(number));
    if (number != 1) return;
    waiting.tell(3);
    platform.mainQueue().drain();
    waiting.tell(4);
    platform.mainQueue().drain();
    told.push_back("a done");
  });
  const Subscription b = waiting.add(note("b"));
  waiting.tell(1);
  waiting.tell(2);
  settle();
  EXPECT_EQ(told, (Strings{"a1", "b1", "b2", "b3", "b4", "a done", "a2", "a3", "a4"}));
}

TEST_F(SubscriptionOf, EventsThatWaitMayAllRunLoops) {
  Subscribers<int> waiting(Reentry::Deferred);
  const auto loops = [this](std::string name) {
    return [this, name = std::move(name)](const int& number) {
      told.push_back(name + std::to_string(number));
      platform.mainQueue().drain();
      told.push_back(name + std::to_string(number) + " done");
    };
  };
  const Subscription a = waiting.add(loops("a")), b = waiting.add(loops("b"));
  waiting.tell(1);
  waiting.tell(2);
  settle();
  EXPECT_EQ(told, (Strings{"a1", "b1", "b1 done", "b2", "b2 done", "a1 done", "a2", "a2 done"}));
}

TEST_F(SubscriptionOf, AnythingThatEndsInALoopInsideItsCallbackHearsNothingMoreAndLetsGoAtTheEnd) {
  std::optional<Subscription> a;
  const auto held = std::make_shared<std::string>("held");
  a.emplace(changed.add([&a, held, this](const int& number) {
    told.push_back(*held + std::to_string(number));
    if (number == 1) {
      platform.mainQueue().drain();
    } else {
      a.reset();
    }
    told.push_back(*held);
  }));
  changed.tell(1);
  changed.tell(2);
  changed.tell(3);
  settle();
  EXPECT_EQ(told, (Strings{"held1", "held2", "held", "held"}));
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SubscriptionOf, SubscribersThatGoInALoopTellNobodyWhatWasMissed) {
  std::optional<Subscribers<int>> going(std::in_place, Reentry::Deferred);
  const Subscription a = going->add([&](const int& number) {
    told.push_back("a" + std::to_string(number));
    platform.mainQueue().drain();
    going.reset();
  });
  going->tell(1);
  going->tell(2);
  settle();
  EXPECT_EQ(told, Strings{"a1"});
}

TEST_F(SubscriptionOf, EventsSurvivesACallbackThatThrows) {
  Strings console;
  Console::setSink([&](std::string_view line) { console.emplace_back(line); });
  const Subscription a = changed.add([](const int&) { throw std::runtime_error("a host's fault"); });
  const Subscription b = changed.add(note("b"));
  changed.tell(1);
  settle();
  Console::setSink(nullptr);
  EXPECT_EQ(told, Strings{"b1"});
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("a host's fault"), std::string::npos) << console[0];
}

#ifndef NDEBUG
TEST_F(SubscriptionOf, AnythingComplainsOnAnotherThread) {
  GTEST_FLAG_SET(death_test_style, "fast");
  Subscription a = changed.add(note("a"));
  platform.globalQueue().post([&] { a.reset(); });
  EXPECT_DEATH(settle(), "a Subscription was used on a thread that is not the main thread");
}
#endif

}  // namespace
}  // namespace orv::subscription_test
