#include <orvnetwork/platform/native/websocket/OutgoingQueue.h>

#include <gtest/gtest.h>

namespace orv::outgoing_queue_test {
namespace {

using Pushed = OutgoingQueue::Pushed;

Outgoing text(std::string value) {
  return {Outgoing::Kind::Text, std::make_shared<const std::string>(std::move(value))};
}

TEST(OutgoingQueue, OnlyTheFirstItemToWaitAsksForAWakeUp) {
  OutgoingQueue queue(1000);
  std::deque<Outgoing> taken;
  EXPECT_EQ(queue.push(text("a")), Pushed::WakeUp);
  EXPECT_EQ(queue.push(text("b")), Pushed::Queued);
  queue.takeAll(taken);
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

TEST(OutgoingQueue, TextIsSharedNotCopied) {
  OutgoingQueue queue(1000);
  std::deque<Outgoing> taken;
  const auto shared = std::make_shared<const std::string>("a");
  queue.push({Outgoing::Kind::Text, shared});
  queue.takeAll(taken);
  EXPECT_EQ(taken[0].text, shared);
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

}  // namespace
}  // namespace orv::outgoing_queue_test
