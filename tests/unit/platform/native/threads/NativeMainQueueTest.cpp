#include <orvnetwork/platform/native/threads/NativeMainQueue.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace orv::native_main_queue_test {
namespace {

bool isReadable(int descriptor) {
  pollfd watched{descriptor, POLLIN, 0};
  return ::poll(&watched, 1, 0) == 1;
}

TEST(NativeMainQueue, RunsTasksInTheOrderPostedUntilStopped) {
  NativeMainQueue queue;
  std::string order;
  queue.post([&] { order += 'a'; });
  queue.post([&] { order += 'b'; });
  queue.post([&] { queue.stop(); });
  queue.post([&] { order += 'c'; });
  queue.run();
  EXPECT_EQ(order, "ab");
  queue.drain();
  EXPECT_EQ(order, "abc");
}

TEST(NativeMainQueue, NeverRunsATaskInsidePost) {
  NativeMainQueue queue;
  queue.claim();
  bool ran = false;
  queue.post([&] { ran = true; });
  EXPECT_FALSE(ran);
  EXPECT_EQ(queue.drain(), 1u);
  EXPECT_TRUE(ran);
}

TEST(NativeMainQueue, MakesTheDescriptorReadableExactlyWhileTasksWait) {
  NativeMainQueue queue;
  const int descriptor = queue.wakeUpDescriptor();
  EXPECT_FALSE(isReadable(descriptor));
  queue.post([] {});
  queue.post([] {});
  EXPECT_TRUE(isReadable(descriptor));
  EXPECT_EQ(queue.drain(), 2u);
  EXPECT_FALSE(isReadable(descriptor));
  EXPECT_EQ(queue.wakeUpDescriptor(), descriptor);
}

TEST(NativeMainQueue, LeavesWhatATaskPostsForTheNextDrain) {
  NativeMainQueue queue;
  int rounds = 0;
  std::function<void()> again = [&] {
    ++rounds;
    queue.post([&] { again(); });
  };
  queue.post([&] { again(); });
  EXPECT_EQ(queue.drain(), 1u);
  EXPECT_EQ(rounds, 1);
  EXPECT_TRUE(isReadable(queue.wakeUpDescriptor()));
  EXPECT_EQ(queue.drain(), 1u);
  EXPECT_EQ(rounds, 2);
}

TEST(NativeMainQueue, RunsLeftOverTasksFirstInANestedDrain) {
  NativeMainQueue queue;
  std::string order;
  queue.post([&] {
    order += '(';
    queue.post([&] { order += 'c'; });
    queue.drain();
    order += ')';
  });
  queue.post([&] { order += 'b'; });
  queue.drain();
  EXPECT_EQ(order, "(bc)");
}

TEST(NativeMainQueue, RunsANestedLoopUntilItIsStopped) {
  NativeMainQueue queue;
  std::string order;
  queue.post([&] {
    order += '(';
    queue.post([&] {
      order += 'x';
      queue.stop();
    });
    queue.run();
    order += ')';
    queue.post([&] { queue.stop(); });
  });
  queue.run();
  EXPECT_EQ(order, "(x)");
}

TEST(NativeMainQueue, KnowsItsThread) {
  NativeMainQueue queue;
  EXPECT_FALSE(queue.isCurrent());
  queue.claim();
  EXPECT_TRUE(queue.isCurrent());
  bool elsewhere = true;
  std::thread([&] {
    queue.claim();
    elsewhere = queue.isCurrent();
  }).join();
  EXPECT_FALSE(elsewhere);
  EXPECT_TRUE(queue.isCurrent());
}

TEST(NativeMainQueue, CallsTheWakerOnceForABurst) {
  NativeMainQueue queue;
  int calls = 0;
  queue.setWaker([&] { ++calls; });
  queue.post([] {});
  queue.post([] {});
  EXPECT_EQ(calls, 1);
  queue.drain();
  queue.post([] {});
  EXPECT_EQ(calls, 2);
}

TEST(NativeMainQueue, CallsTheWakerWhenTasksWaitAlready) {
  NativeMainQueue queue;
  queue.post([] {});
  int calls = 0;
  queue.setWaker([&] { ++calls; });
  EXPECT_EQ(calls, 1);
  queue.setWaker(nullptr);
  queue.drain();
  queue.post([] {});
  EXPECT_EQ(calls, 1);
}

TEST(NativeMainQueue, CallsTheWakerAgainWhenADrainLeavesTasks) {
  NativeMainQueue queue;
  int calls = 0;
  queue.setWaker([&] { ++calls; });
  queue.post([&] { queue.post([] {}); });
  EXPECT_EQ(calls, 1);
  queue.drain();
  EXPECT_EQ(calls, 2);
}

TEST(NativeMainQueue, NeverCallsAWakerThatWasTakenAway) {
  NativeMainQueue queue;
  queue.claim();
  std::atomic<bool> done{false};
  std::thread poster([&] {
    while (!done) queue.post([] {});
  });
  for (int i = 0; i < 2000; ++i) {
    auto alive = std::make_unique<std::atomic<bool>>(true);
    queue.setWaker([&flag = *alive] { EXPECT_TRUE(flag); });
    queue.drain();
    queue.setWaker(nullptr);
    *alive = false;
    alive.reset();  // a late call would touch freed memory
  }
  done = true;
  poster.join();
}

TEST(NativeMainQueue, AWakerThatTookItselfAwayIsDestroyedWithNothingLocked) {
  struct PostsWhenDestroyed {
    explicit PostsWhenDestroyed(NativeMainQueue& used) : queue(used) {}
    PostsWhenDestroyed(const PostsWhenDestroyed&) = delete;
    PostsWhenDestroyed& operator=(const PostsWhenDestroyed&) = delete;
    ~PostsWhenDestroyed() {
      queue.post([] {});
    }
    NativeMainQueue& queue;
  };
  NativeMainQueue queue;
  queue.setWaker([&queue, held = std::make_shared<PostsWhenDestroyed>(queue)] { queue.setWaker(nullptr); });
  queue.post([] {});
  EXPECT_EQ(queue.drain(), 2u);
}

TEST(NativeMainQueue, LetsAWakerTakeItselfAway) {
  NativeMainQueue queue;
  int calls = 0;
  queue.setWaker([&] {
    ++calls;
    queue.setWaker(nullptr);
  });
  queue.post([] {});
  queue.drain();
  queue.post([] {});
  EXPECT_EQ(calls, 1);
}

TEST(NativeMainQueue, DoesNothingOnAnotherThread) {
  NativeMainQueue queue;
  queue.claim();
  bool ran = false;
  queue.post([&] { ran = true; });
  std::thread([&] {
    EXPECT_EQ(queue.drain(), 0u);
    queue.run();
  }).join();
  EXPECT_FALSE(ran);
  EXPECT_EQ(queue.drain(), 1u);
}

TEST(NativeMainQueue, GoesOnAfterATaskThatThrows) {
  NativeMainQueue queue;
  bool ran = false;
  queue.post([] { throw std::runtime_error("planted"); });
  queue.post([&] { ran = true; });
  EXPECT_EQ(queue.drain(), 2u);
  EXPECT_TRUE(ran);
}

TEST(NativeMainQueue, TasksThatArePostedTogetherAreAllThereWhenItsThreadIsWoken) {
  NativeMainQueue queue;
  queue.claim();
  std::promise<void> woken, drained;
  std::atomic<int> calls{0};
  queue.setWaker([&] {
    if (++calls > 1) return;
    woken.set_value();
    drained.get_future().wait();
  });
  std::string order;
  std::thread poster([&] {
    std::vector<Task> tasks;
    for (const char letter : {'a', 'b', 'c'}) {
      tasks.emplace_back([&order, letter] { order += letter; });
    }
    queue.postAll(tasks);
    EXPECT_TRUE(tasks.empty());
  });
  woken.get_future().wait();
  EXPECT_EQ(queue.drain(), 3u);
  drained.set_value();
  poster.join();
  EXPECT_EQ(order, "abc");
  EXPECT_EQ(calls, 1);
}

TEST(NativeMainQueue, PostingNoTasksWakesNobody) {
  NativeMainQueue queue;
  std::vector<Task> none;
  queue.postAll(none);
  EXPECT_FALSE(isReadable(queue.wakeUpDescriptor()));
  queue.post([] {});
  EXPECT_EQ(queue.drain(), 1u);
}

TEST(NativeMainQueue, LosesNothingPostedByManyThreads) {
  NativeMainQueue queue;
  constexpr int kThreads = 4;
  constexpr int kPosts = 5000;
  std::vector<int> last(kThreads, -1);
  int total = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPosts; ++i) {
        queue.post([&, t, i] {
          EXPECT_EQ(last[static_cast<std::size_t>(t)], i - 1) << "out of order";
          last[static_cast<std::size_t>(t)] = i;
          if (++total == kThreads * kPosts) queue.stop();
        });
      }
    });
  }
  queue.run();
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(total, kThreads * kPosts);
}

TEST(NativeMainQueue, KeepsTheOrderOfWhatItsOwnThreadAndOthersPost) {
  NativeMainQueue queue;
  std::string order;
  queue.post([&] {
    queue.post([&] { order += 'a'; });
    std::thread([&] { queue.post([&] { order += 'b'; }); }).join();
    queue.post([&] { order += 'c'; });
    queue.post([&] { queue.stop(); });
  });
  queue.run();
  EXPECT_EQ(order, "abc");
}

TEST(NativeMainQueue, WaitsAgainAfterANestedDrainThatLeftTasks) {
  NativeMainQueue queue;
  std::thread poster;
  std::atomic<int> left{2};
  std::function<void()> again = [&] {
    if (--left > 0) queue.post([&] { again(); });
  };
  queue.post([&] {
    queue.post([&] { again(); });
    queue.drain();
    // What the drain has left is signalled, and then run by the loop itself, which waits for this one.
    poster = std::thread([&] {
      while (left > 0) std::this_thread::yield();
      queue.post([&] { queue.stop(); });
    });
  });
  queue.run();
  poster.join();
  EXPECT_EQ(left, 0);
}

TEST(NativeMainQueue, IsWokenByEachPostWhileItRuns) {
  NativeMainQueue queue;
  constexpr int kPosts = 5000;
  std::atomic<int> done{0};
  std::thread poster([&] {
    for (int i = 0; i < kPosts; ++i) {
      queue.post([&] { ++done; });
      // The loop has nothing to do when the next one comes.
      while (done <= i) std::this_thread::yield();
    }
    queue.stop();
  });
  queue.run();
  poster.join();
  EXPECT_EQ(done, kPosts);
}

// Who posts writes the descriptor after the task is there: the task may have been run by then.
TEST(NativeMainQueue, ADescriptorThatIsWrittenLateIsClearedByTheNextDrain) {
  NativeMainQueue queue;
  queue.claim();
  constexpr int kRounds = 1000;
  std::atomic<int> asked{0}, posted{0};
  std::thread poster([&] {
    for (int round = 1; round <= kRounds; ++round) {
      while (asked < round) std::this_thread::yield();
      queue.post([] {});
      posted = round;
    }
  });
  int leftReadable = 0;
  for (int round = 1; round <= kRounds; ++round) {
    asked = round;
    while (queue.drain() == 0) std::this_thread::yield();
    while (posted < round) std::this_thread::yield();
    EXPECT_EQ(queue.drain(), 0u);
    leftReadable += isReadable(queue.wakeUpDescriptor()) ? 1 : 0;
  }
  poster.join();
  EXPECT_EQ(leftReadable, 0);
}

TEST(NativeMainQueue, StopsFromAnotherThreadWhileItWaits) {
  NativeMainQueue queue;
  std::atomic<bool> running{false};
  queue.post([&] { running = true; });
  std::thread stopper([&] {
    while (!running) std::this_thread::yield();
    queue.stop();
  });
  queue.run();
  stopper.join();
  EXPECT_TRUE(running);
}

}  // namespace
}  // namespace orv::native_main_queue_test
