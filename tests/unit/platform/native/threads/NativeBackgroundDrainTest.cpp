#include <orvnetwork/platform/native/threads/NativeBackgroundDrain.h>

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace orv::native_background_drain_test {
namespace {

/// Work that is reported to a drain and done by it.
class Work {
 public:
  void add() { added_.fetch_add(1); }
  void doAll() {
    done_.store(added_.load());
    done_.notify_all();
  }
  void waitUntilDone(std::int64_t count) {
    for (auto done = done_.load(); done < count; done = done_.load()) done_.wait(done);
  }
  std::int64_t done() const { return done_.load(); }

 private:
  std::atomic<std::int64_t> added_{0};
  std::atomic<std::int64_t> done_{0};
};

/// What the kernel says of the thread of that name in this process.
std::string statusOf(const std::string& threadName, const std::string& field) {
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::string name;
    std::getline(std::ifstream(task.path() / "comm") >> std::ws, name);
    if (name != threadName) continue;
    std::ifstream status(task.path() / "status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with(field + ":")) return line.substr(line.find_first_not_of(" \t", field.size() + 1));
    }
  }
  return {};
}

void waitUntilAsleep(const NativeBackgroundDrain& drain) {
  while (!drain.isAsleep()) std::this_thread::yield();
}

TEST(NativeBackgroundDrain, RunsTheFunctionAfterANudge) {
  Work work;
  NativeBackgroundDrain drain([&] { work.doAll(); });
  for (int i = 1; i <= 100; ++i) {
    work.add();
    drain.nudge();
    work.waitUntilDone(i);
  }
}

TEST(NativeBackgroundDrain, FallsAsleepWithoutRunningTheFunctionUnasked) {
  std::atomic<int> runs{0};
  {
    const NativeBackgroundDrain drain([&] { ++runs; });
    waitUntilAsleep(drain);
  }
  EXPECT_EQ(runs, 0);
}

TEST(NativeBackgroundDrain, ANudgeWakesItFromSleep) {
  Work work;
  NativeBackgroundDrain drain([&] { work.doAll(); });
  for (int i = 1; i <= 3; ++i) {
    waitUntilAsleep(drain);
    work.add();
    drain.nudge();
    EXPECT_FALSE(drain.isAsleep());
    work.waitUntilDone(i);
  }
}

TEST(NativeBackgroundDrain, LosesNoNudgeOfManyThreads) {
  constexpr int kThreads = 3;
  constexpr int kRounds = 3000;
  Work work;
  NativeBackgroundDrain drain([&] { work.doAll(); });
  std::atomic<std::int64_t> reported{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kRounds; ++i) {
        work.add();
        drain.nudge();
        // Some wait for their own work, so that nudges meet a drain that is about to finish.
        if (i % 64 == 0) {
          work.waitUntilDone(++reported);
        } else {
          ++reported;
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  work.waitUntilDone(kThreads * kRounds);
}

TEST(NativeBackgroundDrain, LosesNoNudgeThatMeetsItFallingAsleep) {
  Work work;
  // One that is always about to fall asleep.
  NativeBackgroundDrain drain([&] { work.doAll(); }, {.betweenLooks = {}, .looksInVain = 1});
  for (int i = 1; i <= 20'000; ++i) {
    work.add();
    drain.nudge();
    work.waitUntilDone(i);
  }
}

TEST(NativeBackgroundDrain, RunNowDoesWhatWasReportedBefore) {
  Work work;
  NativeBackgroundDrain drain([&] { work.doAll(); });
  for (int i = 1; i <= 1000; ++i) {
    work.add();
    drain.nudge();
    drain.runNow();
    ASSERT_GE(work.done(), i);
  }
}

TEST(NativeBackgroundDrain, NeverRunsTheFunctionTwiceAtOnce) {
  std::atomic<int> inside{0};
  int unguarded = 0;
  auto drain = std::make_unique<NativeBackgroundDrain>([&] {
    EXPECT_EQ(inside.fetch_add(1), 0);
    ++unguarded;
    inside.fetch_sub(1);
  });
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        drain->nudge();
        drain->runNow();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  // Its thread may still owe a run for the last nudge.
  drain.reset();
  EXPECT_GE(unguarded, 1500);
}

TEST(NativeBackgroundDrain, RunNowFromInsideTheFunctionReturns) {
  int runs = 0;
  {
    NativeBackgroundDrain* self = nullptr;
    NativeBackgroundDrain drain([&] {
      ++runs;
      self->runNow();
      self->nudge();
    });
    self = &drain;
    drain.runNow();
  }
  // Only now: the nudges from inside have its thread run it as well.
  EXPECT_GE(runs, 1);
}

TEST(NativeBackgroundDrain, SurvivesAFunctionThatThrows) {
  Work work;
  std::atomic<bool> thrown{false};
  NativeBackgroundDrain drain([&] {
    if (!thrown.exchange(true)) throw 1;
    work.doAll();
  });
  drain.runNow();
  work.add();
  drain.nudge();
  work.waitUntilDone(1);
}

TEST(NativeBackgroundDrain, ItsThreadLeavesSignalsToTheHost) {
  Work work;
  std::string blocked;
  NativeBackgroundDrain drain([&] {
    blocked = statusOf("orv-drain", "SigBlk");
    work.doAll();
  });
  work.add();
  drain.nudge();
  work.waitUntilDone(1);
  sigset_t mine;
  pthread_sigmask(SIG_SETMASK, nullptr, &mine);
  EXPECT_EQ(sigismember(&mine, SIGTERM), 0);
  EXPECT_TRUE(std::stoull(blocked, nullptr, 16) & (1ULL << (SIGTERM - 1))) << blocked;
}

TEST(NativeBackgroundDrain, AForkedChildDoesNotDoItsParentsWork) {
  int runs = 0;
  NativeBackgroundDrain drain([&] { ++runs; });
  const pid_t child = fork();
  if (child == 0) {
    drain.runNow();
    _exit(runs);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  drain.runNow();
  EXPECT_GE(runs, 1);
}

}  // namespace
}  // namespace orv::native_background_drain_test
