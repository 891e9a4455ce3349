#include <orvnetwork/platform/native/threads/NativeDelayService.h>
#include <orvnetwork/platform/native/threads/NativeMainQueue.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace orv::native_delay_service_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(NativeDelayService, PostsTasksInTheOrderOfTheirDeadlinesAndNeverEarly) {
  NativeMainQueue queue;
  NativeDelayService delays;
  std::string order;
  const auto now = steady_clock::now();
  delays.runAt(now + milliseconds(20), queue, [&] {
    EXPECT_GE(steady_clock::now(), now + milliseconds(20));
    order += 'c';
    queue.stop();
  });
  delays.runAt(now + milliseconds(10), queue, [&] {
    EXPECT_GE(steady_clock::now(), now + milliseconds(10));
    order += 'a';
  });
  delays.runAt(now + milliseconds(10), queue, [&] { order += 'b'; });
  queue.run();
  EXPECT_EQ(order, "abc");
}

TEST(NativeDelayService, PostsAnOverdueTaskAtOnce) {
  NativeMainQueue queue;
  NativeDelayService delays;
  bool ran = false;
  delays.runAt(steady_clock::now() - std::chrono::hours(1), queue, [&] {
    ran = true;
    queue.stop();
  });
  queue.run();
  EXPECT_TRUE(ran);
}

TEST(NativeDelayService, ForgetsACancelledTask) {
  NativeMainQueue queue;
  NativeDelayService delays;
  // A busy machine may take its time between arming and cancelling: then once more, with more time.
  for (milliseconds span(5);; span *= 4) {
    bool ran = false;
    const auto due = steady_clock::now() + span;
    const auto handle = delays.runAt(due, queue, [&] { ran = true; });
    delays.cancel(handle);
    const bool wasInTime = steady_clock::now() < due;
    delays.cancel(handle);
    delays.cancel(999999);
    delays.runAt(due + milliseconds(1), queue, [&] { queue.stop(); });
    queue.run();
    if (!wasInTime) continue;
    EXPECT_FALSE(ran);
    break;
  }
}

TEST(NativeDelayService, DestroysACancelledTaskThatComesBackToIt) {
  NativeMainQueue queue;
  NativeDelayService delays;
  const auto other = delays.runAt(steady_clock::now() + std::chrono::hours(1), queue, [] {});
  const std::shared_ptr<void> held(nullptr, [&](void*) { delays.cancel(other); });
  const auto handle =
      delays.runAt(steady_clock::now() + std::chrono::hours(1), queue, [keep = held] { (void)keep; });
  delays.cancel(handle);
  SUCCEED() << "no deadlock";
}

TEST(NativeDelayService, EndsWithTasksPending) {
  NativeMainQueue queue;
  {
    NativeDelayService delays;
    delays.runAt(steady_clock::now() + std::chrono::hours(1), queue, [] {});
  }
  EXPECT_EQ(queue.drain(), 0u);
}

}  // namespace
}  // namespace orv::native_delay_service_test
