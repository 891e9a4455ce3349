#include <orvnetwork/support/detail/LogLineQueue.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace orv::log_line_queue_test {
namespace {

using Lines = std::vector<std::string>;

/// What a queue held: its lines, and "<task>" for each task, which is run.
Lines takeAll(LogLineQueue& queue) {
  Lines lines;
  queue.take().forEach([&](std::string_view line) { lines.emplace_back(line); },
                       [&](Task& task) {
                         task();
                         lines.emplace_back("<task>");
                       });
  return lines;
}

std::string lossText(int count) {
  return std::to_string(count) + " log lines were lost here: they came faster than they could be written";
}

TEST(LogLineQueue, GivesLinesAndTasksInTheOrderPushed) {
  LogLineQueue queue;
  int runs = 0;
  queue.pushLine("one");
  queue.pushTask([&] { ++runs; });
  queue.pushLine("");
  queue.pushLine(std::string_view("a\0b\nc", 5));
  EXPECT_EQ(takeAll(queue), (Lines{"one", "<task>", "", std::string("a\0b\nc", 5)}));
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(takeAll(queue), Lines());
}

TEST(LogLineQueue, CarriesManyLinesOfEverySizeAcrossItsBlocks) {
  LogLineQueue queue;
  Lines expected;
  for (std::size_t size = 0; size < 200'000; size = size * 5 / 4 + 1) {
    expected.emplace_back(size, static_cast<char>('a' + size % 26));
    expected.emplace_back("short");
  }
  for (int round = 0; round < 3; ++round) {
    for (const auto& line : expected) ASSERT_TRUE(queue.pushLine(line));
    ASSERT_EQ(takeAll(queue), expected);
  }
}

TEST(LogLineQueue, CountsLostLinesAndTellsThemAtTheEndOfWhatIsTaken) {
  LogLineQueue queue(std::size_t{128} << 10);
  const std::string line(1000, 'x');
  int kept = 0;
  while (queue.pushLine(line)) ++kept;
  EXPECT_FALSE(queue.pushLine(line));
  EXPECT_GT(kept, 120);
  EXPECT_LE(kept, 131);
  Lines lines = takeAll(queue);
  ASSERT_EQ(lines.size(), static_cast<std::size_t>(kept) + 1);
  EXPECT_EQ(lines.back(), lossText(2));
  EXPECT_TRUE(queue.pushLine(line));
  EXPECT_EQ(takeAll(queue), Lines{line});
}

TEST(LogLineQueue, TellsLostLinesBeforeTheNextOneThatHasRoom) {
  LogLineQueue queue(std::size_t{128} << 10);
  EXPECT_TRUE(queue.pushLine("before"));
  EXPECT_FALSE(queue.pushLine(std::string(200'000, 'x')));
  EXPECT_TRUE(queue.pushLine("after"));
  EXPECT_EQ(takeAll(queue), (Lines{"before", lossText(1), "after"}));
}

TEST(LogLineQueue, TakenLinesCountAgainstTheBoundUntilTheyAreGoneThrough) {
  LogLineQueue queue(std::size_t{64} << 10);
  EXPECT_TRUE(queue.pushLine("first"));
  auto batch = queue.take();
  EXPECT_FALSE(queue.pushLine("second"));
  batch.forEach([](std::string_view) {}, [](Task&) {});
  EXPECT_TRUE(queue.pushLine("third"));
  EXPECT_EQ(takeAll(queue), (Lines{lossText(1), "third"}));
}

TEST(LogLineQueue, ABatchThatIsDroppedGivesItsMemoryBack) {
  LogLineQueue queue(std::size_t{64} << 10);
  EXPECT_TRUE(queue.pushLine("first"));
  queue.take();
  EXPECT_TRUE(queue.pushLine("second"));
}

TEST(LogLineQueue, NeverLosesATask) {
  LogLineQueue queue(std::size_t{64} << 10);
  while (queue.pushLine("line")) {
  }
  int runs = 0;
  for (int i = 0; i < 100; ++i) queue.pushTask([&] { ++runs; });
  takeAll(queue);
  EXPECT_EQ(runs, 100);
}

TEST(LogLineQueue, KeepsEachThreadsOrderWhileLinesAreTaken) {
  constexpr int kThreads = 3;
  constexpr int kLines = 5000;
  LogLineQueue queue;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&queue, t] {
      for (int i = 0; i < kLines; ++i) queue.pushLine(std::to_string(t) + " " + std::to_string(i));
    });
  }
  std::vector<int> next(kThreads);
  for (int taken = 0; taken < kThreads * kLines;) {
    for (const std::string& line : takeAll(queue)) {
      ASSERT_EQ(std::stoi(line.substr(2)), next.at(static_cast<std::size_t>(line[0] - '0'))++);
      ++taken;
    }
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace orv::log_line_queue_test
