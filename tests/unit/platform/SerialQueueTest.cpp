#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/SerialQueue.h>

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orv::serial_queue_test {
namespace {

/// An executor that the test steps by hand.
class HandQueue final : public Executor {
 public:
  void post(Task task) override { tasks_.push_back(std::move(task)); }
  bool step() {
    if (tasks_.empty()) return false;
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    task();
    return true;
  }
  void runAll() {
    while (step()) {
    }
  }
  std::size_t size() const { return tasks_.size(); }

 private:
  std::deque<Task> tasks_;
};

TEST(SerialQueue, RunsTasksInTheOrderPosted) {
  HandQueue target;
  const auto queue = SerialQueue::make("test", target);
  std::string order;
  for (char c = 'a'; c < 'f'; ++c) queue->post([&order, c] { order += c; });
  EXPECT_EQ(order, "");
  target.runAll();
  EXPECT_EQ(order, "abcde");
}

TEST(SerialQueue, GivesTheTargetsOtherWorkItsTurnBetweenTasks) {
  HandQueue target;
  const auto queue = SerialQueue::make("test", target);
  std::string order;
  queue->post([&] { order += 'a'; });
  queue->post([&] { order += 'b'; });
  target.post([&] { order += '-'; });
  target.runAll();
  EXPECT_EQ(order, "a-b");
}

TEST(SerialQueue, RunsNoTaskInsideAnotherEvenIfTheTargetIsDrainedThere) {
  HandQueue target;
  const auto queue = SerialQueue::make("test", target);
  std::string order;
  queue->post([&] {
    order += '(';
    queue->post([&] { order += 'x'; });
    target.runAll();
    order += ')';
  });
  target.runAll();
  EXPECT_EQ(order, "()x");
}

TEST(SerialQueue, StandsStillUntilAKeptTurnIsGivenBack) {
  HandQueue target;
  const auto queue = SerialQueue::make("test", target);
  std::optional<SerialQueue::Turn> kept;
  bool ran = false;
  queue->postKeepingTurn([&](SerialQueue::Turn turn) { kept.emplace(std::move(turn)); });
  queue->post([&] { ran = true; });
  target.runAll();
  EXPECT_FALSE(ran);
  EXPECT_EQ(target.size(), 0u) << "nothing may spin while the turn is kept";
  kept->release();
  target.runAll();
  EXPECT_TRUE(ran);
}

TEST(SerialQueue, TakesADroppedTurnAsGivenBack) {
  HandQueue target;
  const auto queue = SerialQueue::make("test", target);
  bool ran = false;
  queue->postKeepingTurn([](SerialQueue::Turn) {});
  queue->post([&] { ran = true; });
  target.runAll();
  EXPECT_TRUE(ran);
}

TEST(SerialQueue, GoesOnAfterATaskThatThrows) {
  HandQueue target;
  const auto queue = SerialQueue::make("test", target);
  bool ran = false;
  queue->post([] { throw std::runtime_error("planted"); });
  queue->postKeepingTurn([](SerialQueue::Turn) { throw std::runtime_error("planted"); });
  queue->post([&] { ran = true; });
  target.runAll();
  EXPECT_TRUE(ran);
}

TEST(SerialQueue, LivesUntilItsLastTaskHasRun) {
  HandQueue target;
  bool ran = false;
  SerialQueue::make("test", target)->post([&] { ran = true; });
  target.runAll();
  EXPECT_TRUE(ran);
}

TEST(SerialQueue, LivesUntilATaskThatHasGivenItsTurnBackIsOver) {
  std::vector<std::string> console;
  Console::setSink([&](std::string_view line) { console.emplace_back(line); });
  const std::string label = "a label that is long enough to lie on the heap";
  HandQueue target;
  std::weak_ptr<SerialQueue> gone;
  {
    const auto queue = SerialQueue::make(label, target);
    gone = queue;
    queue->postKeepingTurn([&](SerialQueue::Turn turn) {
      turn.release();
      EXPECT_FALSE(gone.expired()) << "its label is still needed";
      throw std::runtime_error("planted");
    });
  }
  target.runAll();
  Console::setSink(nullptr);
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console.front().find(label + ": planted"), std::string::npos) << console.front();
  EXPECT_TRUE(gone.expired());
}

TEST(SerialQueue, CountsWaitingAndRunningTasks) {
  HandQueue target;
  const auto queue = SerialQueue::make("label", target);
  EXPECT_EQ(queue->label(), "label");
  EXPECT_EQ(queue->size(), 0u);
  std::size_t inside = 0;
  queue->post([&] { inside = queue->size(); });
  EXPECT_GE(queue->size(), 1u);
  target.runAll();
  EXPECT_EQ(inside, 1u);
  EXPECT_EQ(queue->size(), 0u);
}

}  // namespace
}  // namespace orv::serial_queue_test
