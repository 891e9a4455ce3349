#include <orvnetwork/platform/native/websocket/OutgoingQueue.h>

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orv::outgoing_queue_test {
namespace {

using Pushed = OutgoingQueue::Pushed;

Outgoing text(std::string value) {
  return {Outgoing::Kind::Text, std::make_shared<const std::string>(std::move(value))};
}

/// The texts in the order taken; a close request is "(close)".
std::vector<std::string> taken(OutgoingQueue& queue) {
  std::deque<Outgoing> items;
  queue.takeAll(items);
  std::vector<std::string> texts;
  for (const Outgoing& item : items) {
    queue.finished(item);
    texts.push_back(item.kind == Outgoing::Kind::Close ? "(close)" : *item.text);
  }
  return texts;
}

using Texts = std::vector<std::string>;

TEST(OutgoingQueue, OnlyTheFirstItemToWaitAsksForAWakeUp) {
  OutgoingQueue queue(1000);
  EXPECT_EQ(queue.push(text("a")), Pushed::WakeUp);
  EXPECT_EQ(queue.push(text("b")), Pushed::Queued);
  taken(queue);
  EXPECT_EQ(queue.push(text("c")), Pushed::WakeUp);
}

TEST(OutgoingQueue, TakesAllInOrderBehindWhatWasTakenBefore) {
  OutgoingQueue queue(1000);
  std::deque<Outgoing> taken;
  queue.push(text("a"));
  queue.push(text("b"));
  queue.takeAll(taken);
  queue.push(text("c"));
  queue.push({});
  queue.takeAll(taken);
  queue.takeAll(taken);
  ASSERT_EQ(taken.size(), 4u);
  EXPECT_EQ(*taken[0].text, "a");
  EXPECT_EQ(*taken[1].text, "b");
  EXPECT_EQ(*taken[2].text, "c");
  EXPECT_EQ(taken[3].kind, Outgoing::Kind::Close);
}

TEST(OutgoingQueue, TextIsSharedNotCopiedAndLetGoOfWithTheQueue) {
  const auto shared = std::make_shared<const std::string>("a");
  {
    OutgoingQueue queue(1000);
    std::deque<Outgoing> taken;
    queue.push({Outgoing::Kind::Text, shared});
    queue.takeAll(taken);
    EXPECT_EQ(taken[0].text, shared);
    queue.push({Outgoing::Kind::Text, shared});
    queue.push({Outgoing::Kind::Ping, shared});
  }
  EXPECT_EQ(shared.use_count(), 1);
}

TEST(OutgoingQueue, RefusesWhatIsBeyondTheBoundUntilSomethingIsFinished) {
  OutgoingQueue queue(1000);
  std::deque<Outgoing> taken;
  EXPECT_EQ(queue.push(text(std::string(1001, 'x'))), Pushed::Overflow);
  EXPECT_EQ(queue.push(text(std::string(600, 'x'))), Pushed::WakeUp);
  EXPECT_EQ(queue.push(text(std::string(400, 'y'))), Pushed::Overflow);
  queue.takeAll(taken);
  EXPECT_EQ(queue.push(text(std::string(400, 'y'))), Pushed::Overflow);
  queue.finished(taken[0]);
  EXPECT_EQ(queue.push(text(std::string(400, 'y'))), Pushed::WakeUp);
}

TEST(OutgoingQueue, EmptyMessagesCountTooAndACloseRequestAlwaysFits) {
  OutgoingQueue queue(1000);
  int count = 0;
  while (queue.push(text("")) != Pushed::Overflow) ASSERT_LT(++count, 1000);
  EXPECT_GT(count, 0);
  EXPECT_EQ(queue.push({}), Pushed::Queued);
}

TEST(OutgoingQueue, TheRightIsTheNetworkThreadsUntilItHasWrittenAll) {
  OutgoingQueue queue(1000);
  EXPECT_FALSE(queue.takeToWrite(1));
  queue.push(text("a"));
  EXPECT_FALSE(queue.giveBackFromNetwork());
  taken(queue);
  EXPECT_FALSE(queue.takeToWrite(1));
  EXPECT_TRUE(queue.giveBackFromNetwork());
  EXPECT_TRUE(queue.takeToWrite(1));
}

TEST(OutgoingQueue, ACallerHasTheRightAloneAndGivesItBack) {
  OutgoingQueue queue(1000);
  ASSERT_TRUE(queue.giveBackFromNetwork());
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(queue.takeToWrite(1));
    EXPECT_FALSE(queue.takeToWrite(1));
    EXPECT_TRUE(queue.giveBackFromCaller());
  }
}

TEST(OutgoingQueue, ACallerThatFindsMoreLeftBehindKeepsTheRightUntilTheNetworkThreadHasIt) {
  OutgoingQueue queue(1000);
  ASSERT_TRUE(queue.giveBackFromNetwork());
  ASSERT_TRUE(queue.takeToWrite(1));
  EXPECT_EQ(queue.push(text("a")), Pushed::Queued);
  EXPECT_EQ(queue.push({}), Pushed::Queued);
  EXPECT_FALSE(queue.giveBackFromCaller());
  EXPECT_FALSE(queue.takeToWrite(1));
  EXPECT_EQ(queue.push(text("b")), Pushed::Queued);
  EXPECT_EQ(taken(queue), (Texts{"a", "(close)", "b"}));
  EXPECT_EQ(queue.push(text("c")), Pushed::WakeUp);
}

TEST(OutgoingQueue, WhoAddsSomethingWhileNobodyHasTheRightTellsTheNetworkThreadToTakeOver) {
  OutgoingQueue queue(1000);
  ASSERT_TRUE(queue.giveBackFromNetwork());
  EXPECT_EQ(queue.push(text("a")), Pushed::TakeOver);
  EXPECT_FALSE(queue.takeToWrite(1));
  EXPECT_EQ(queue.push(text("b")), Pushed::Queued);
  EXPECT_FALSE(queue.takeOrAsk()) << "it comes anyway";
  EXPECT_EQ(taken(queue), (Texts{"a", "b"}));
  EXPECT_TRUE(queue.giveBackFromNetwork());
}

TEST(OutgoingQueue, TheNetworkThreadTakesTheRightWhenNobodyHasIt) {
  OutgoingQueue queue(1000);
  ASSERT_TRUE(queue.giveBackFromNetwork());
  EXPECT_TRUE(queue.takeOrAsk());
  EXPECT_FALSE(queue.takeToWrite(1));
  EXPECT_EQ(queue.push(text("a")), Pushed::WakeUp);
}

TEST(OutgoingQueue, AskedForTheRightACallerMustPassItOnAndNothingIsTakenForIt) {
  OutgoingQueue queue(1000);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(queue.giveBackFromNetwork());
    ASSERT_TRUE(queue.takeToWrite(1));
    EXPECT_FALSE(queue.takeOrAsk());
    EXPECT_FALSE(queue.takeOrAsk());
    EXPECT_EQ(queue.push(text("a")), Pushed::Queued);
    EXPECT_FALSE(queue.takeOrAsk());
    EXPECT_FALSE(queue.giveBackFromCaller());
    EXPECT_EQ(taken(queue), Texts{"a"});
  }
}

TEST(OutgoingQueue, ATextBeyondTheBoundIsNotForTheCallerToWrite) {
  OutgoingQueue queue(1000);
  ASSERT_TRUE(queue.giveBackFromNetwork());
  EXPECT_FALSE(queue.takeToWrite(1000));
  EXPECT_TRUE(queue.takeToWrite(900));
}

/// Threads write when they have the right and leave things behind otherwise; this one takes over when it is told so.
TEST(OutgoingQueue, OneThreadAtATimeHasTheRightAndTheOrderOfEachThreadIsKept) {
  constexpr int kThreads = 3;
  constexpr int kItems = 20'000;
  OutgoingQueue queue(std::size_t{1} << 30);
  std::vector<std::string> written;  // by whoever has the right
  std::atomic<int> told{0};
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&, number] {
      for (int i = 0; i < kItems; ++i) {
        const std::string item = std::to_string(number) + " " + std::to_string(i);
        if (queue.takeToWrite(item.size())) {
          written.push_back(item);
          if (!queue.giveBackFromCaller()) ++told;
        } else if (queue.push(text(item)) == Pushed::TakeOver) {
          ++told;
        }
      }
    });
  }
  bool owns = true;
  for (std::size_t done = 0; done < std::size_t{kThreads} * kItems;) {
    if (told > 0) {
      --told;
      owns = true;
    }
    if (!owns && !queue.takeOrAsk()) continue;
    for (std::string& item : taken(queue)) written.push_back(std::move(item));
    done = written.size();
    owns = !queue.giveBackFromNetwork();
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(written.size(), std::size_t{kThreads} * kItems);
  int next[kThreads] = {};
  for (const std::string& item : written) {
    const auto number = static_cast<std::size_t>(item[0] - '0');
    ASSERT_EQ(item.substr(2), std::to_string(next[number]++));
  }
}

}  // namespace
}  // namespace orv::outgoing_queue_test
