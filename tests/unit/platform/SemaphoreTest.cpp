#include <orvnetwork/platform/Semaphore.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace orv::semaphore_test {
namespace {

TEST(Semaphore, CanBeTakenAsOftenAsItsValueSays) {
  Semaphore semaphore(2);
  EXPECT_TRUE(semaphore.tryWait());
  EXPECT_TRUE(semaphore.tryWait());
  EXPECT_FALSE(semaphore.tryWait());
  semaphore.signal();
  EXPECT_TRUE(semaphore.tryWait());
}

TEST(Semaphore, CountsWhatIsGivenBackBeforeItIsTaken) {
  Semaphore semaphore(0);
  semaphore.signal();
  semaphore.signal();
  semaphore.wait();
  semaphore.wait();
  EXPECT_FALSE(semaphore.tryWait());
}

TEST(Semaphore, BelongsToNoThread) {
  Semaphore semaphore(1);
  semaphore.wait();
  std::thread other([&] { semaphore.signal(); });
  semaphore.wait();
  other.join();
  EXPECT_FALSE(semaphore.tryWait());
}

TEST(Semaphore, LetsOneInAtATime) {
  Semaphore semaphore(1);
  int inside = 0;
  int entries = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 500; ++round) {
        const SemaphoreHold hold(std::shared_ptr<Semaphore>(&semaphore, [](Semaphore*) {}));
        EXPECT_EQ(++inside, 1);
        ++entries;
        --inside;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(entries, 2000);
}

/// Whether a thread of this process sleeps, which it does here only while it waits for the semaphore.
bool sleeps(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string stat;
  std::getline(file, stat);
  const std::size_t name = stat.rfind(')');
  return name != std::string::npos && stat.substr(name + 2, 1) == "S";
}

TEST(Semaphore, GoesToTheOneThatWaitsBeforeItCanBeTakenAgain) {
  Semaphore semaphore(1);
  semaphore.wait();
  std::atomic<pid_t> thread = 0;
  std::atomic<bool> waits = false;
  std::thread waiter([&] {
    thread = ::gettid();
    waits = true;
    semaphore.wait();
  });
  while (!waits || !sleeps(thread)) std::this_thread::yield();
  semaphore.signal();
  const bool taken = semaphore.tryWait();
  EXPECT_FALSE(taken) << "it was taken past the one that waited";
  if (taken) semaphore.signal();
  waiter.join();
}

TEST(Semaphore, IsGivenBackByAHold) {
  const auto semaphore = std::make_shared<Semaphore>(1);
  {
    const SemaphoreHold hold(semaphore);
    EXPECT_FALSE(semaphore->tryWait());
  }
  EXPECT_TRUE(semaphore->tryWait());
}

}  // namespace
}  // namespace orv::semaphore_test
