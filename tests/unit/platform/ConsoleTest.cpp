#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/ConsoleLog.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <regex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace orv::console_test {
namespace {

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t from = 0;
  for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', from)) {
    lines.push_back(text.substr(from, at - from));
    from = at + 1;
  }
  EXPECT_EQ(from, text.size()) << "the last line has no end";
  return lines;
}

/// Sends standard error into a file while it lives.
class CapturedStandardError {
 public:
  CapturedStandardError() : saved_(dup(STDERR_FILENO)), file_(open("/tmp", O_TMPFILE | O_RDWR, 0600)) {
    dup2(file_, STDERR_FILENO);
  }
  ~CapturedStandardError() {
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    close(file_);
  }
  std::string text() const {
    std::string bytes(static_cast<std::size_t>(lseek(file_, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(file_, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    return bytes;
  }

 private:
  int saved_;
  int file_;
};

TEST(Console, LinesAreUtf8WhateverTheyHold) {
  std::vector<std::string> seen;
  Console::setSink([&](std::string_view line) { seen.emplace_back(line); });
  Console::write("a\xFF\xC0\x80 b\xE6\x96");
  consoleLog("%@ is damaged", std::string("/f\x9B.plist"));
  Console::setSink(nullptr);
  EXPECT_EQ(seen,
            (std::vector<std::string>{"a\uFFFD\uFFFD\uFFFD b\uFFFD\uFFFD", "/f\uFFFD.plist is damaged"}));
  const CapturedStandardError captured;
  Console::write("\x9B");
  EXPECT_TRUE(captured.text().ends_with(" \uFFFD\n")) << captured.text();
}

TEST(Console, LineFeedsInALineMakeNoLineThatLooksLikeAnother) {
  const CapturedStandardError captured;
  Console::write("closed: x\n2024-01-31 08:45:10.000 all is well\n    more");
  const auto lines = split(captured.text());
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(lines[0].ends_with("closed: x\\n2024-01-31 08:45:10.000 all is well")) << lines[0];
  EXPECT_EQ(lines[1], "    more");
}

TEST(Console, WhatAServerSaysDoesNothingToTheTerminal) {
  const CapturedStandardError captured;
  Console::write("closed: a\x1b[2J\r\t\x7f\u009b31m\u202e文\n    more");
  const auto lines = split(captured.text());
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(lines[0].ends_with(R"( closed: a\u001b[2J\u000d\u0009\u007f\u009b31m\u202e文)")) << lines[0];
  EXPECT_EQ(lines[1], "    more");
}

TEST(Console, GivesASinkWhatWasSaid) {
  std::vector<std::string> seen;
  Console::setSink([&](std::string_view line) { seen.emplace_back(line); });
  Console::write("a\x1b[2J\r\nb");
  Console::setSink(nullptr);
  EXPECT_EQ(seen, std::vector<std::string>{"a\x1b[2J\r\nb"});
}

TEST(Console, WritesLinesWithATimeStampToStandardError) {
  const CapturedStandardError captured;
  Console::write("hello 世界");
  consoleLog("%@ %d", "formatted", 5);
  const auto lines = split(captured.text());
  ASSERT_EQ(lines.size(), 2u);
  const std::regex form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} (.*))");
  std::smatch match;
  ASSERT_TRUE(std::regex_match(lines[0], match, form)) << lines[0];
  EXPECT_EQ(match[1], "hello 世界");
  ASSERT_TRUE(std::regex_match(lines[1], match, form)) << lines[1];
  EXPECT_EQ(match[1], "formatted 5");
}

/// Whether the stamps are those of a zone whose clocks are ahead by `offset` seconds.
void checkStamp(std::time_t offset) {
  const CapturedStandardError captured;
  // Not std::time(), whose clock lags behind by some milliseconds.
  const auto now = [] { return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()); };
  const std::time_t before = now();
  Console::write("x");
  const std::time_t after = now();
  std::tm local{};
  ASSERT_NE(strptime(captured.text().c_str(), "%Y-%m-%d %H:%M:%S", &local), nullptr);
  const std::time_t stamp = timegm(&local) - offset;
  EXPECT_GE(stamp, before);
  EXPECT_LE(stamp, after);
}

TEST(Console, StampsTheLocalTimeAndFollowsTheZone) {
  // Nobody calls tzset().
  setenv("TZ", "XXX-13:30", 1);
  checkStamp((13 * 60 + 30) * 60);
  setenv("TZ", "XXX5", 1);
  checkStamp(-5 * 3600);
}

TEST(Console, TellsOfAZoneThatCannotBeUsedInALineOfItsOwn) {
  setenv("TZ", "No/Where", 1);
  const CapturedStandardError captured;
  Console::write("one");
  Console::write("two");
  const auto lines = split(captured.text());
  ASSERT_EQ(lines.size(), 3u) << captured.text();
  EXPECT_NE(lines[0].find("The time zone \"No/Where\" cannot be used"), std::string::npos) << lines[0];
  EXPECT_TRUE(lines[1].ends_with(" one")) << lines[1];
  EXPECT_TRUE(lines[2].ends_with(" two")) << lines[2];
}

TEST(Console, KeepsLineFeedsInsideAMessage) {
  const CapturedStandardError captured;
  Console::write("{\n    a = 1;\n}");
  const auto lines = split(captured.text());
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], "    a = 1;");
  EXPECT_EQ(lines[2], "}");
}

TEST(Console, NeverMixesLinesOfDifferentThreads) {
  const CapturedStandardError captured;
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kLines = 200;
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (std::size_t i = 0; i < kLines; ++i) {
        Console::write(std::string(6'000, static_cast<char>('a' + t)));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const auto lines = split(captured.text());
  ASSERT_EQ(lines.size(), kThreads * kLines);
  constexpr std::size_t kStampSize = 24;
  for (const std::string& line : lines) {
    ASSERT_EQ(line.size(), kStampSize + 6'000);
    ASSERT_EQ(line.find_first_not_of(line.back(), kStampSize), std::string::npos);
  }
}

TEST(Console, GivesLinesToTheSinkAndNotToStandardError) {
  const CapturedStandardError captured;
  std::vector<std::string> lines;
  Console::setSink([&lines](std::string_view line) { lines.emplace_back(line); });
  Console::write("one");
  Console::setSink({});
  Console::write("two");
  EXPECT_EQ(lines, std::vector<std::string>{"one"});
  EXPECT_EQ(split(captured.text()).size(), 1u);
}

TEST(Console, DropsWhatASinkWritesItself) {
  std::vector<std::string> lines;
  Console::setSink([&lines](std::string_view line) {
    lines.emplace_back(line);
    Console::write("again: " + std::string(line));
  });
  Console::write("one");
  Console::write("two");
  EXPECT_EQ(lines, (std::vector<std::string>{"one", "two"}));
}

TEST(Console, SurvivesASinkThatThrows) {
  int calls = 0;
  Console::setSink([&calls](std::string_view) {
    ++calls;
    throw std::runtime_error("no room");
  });
  EXPECT_NO_THROW(Console::write("one"));
  EXPECT_NO_THROW(Console::write("two"));
  EXPECT_EQ(calls, 2);
}

TEST(Console, ASinkThatReplacedItselfMayWriteWhileItIsDestroyed) {
  struct WritesWhenDestroyed {
    WritesWhenDestroyed() = default;
    WritesWhenDestroyed(const WritesWhenDestroyed&) = delete;
    WritesWhenDestroyed& operator=(const WritesWhenDestroyed&) = delete;
    ~WritesWhenDestroyed() { Console::write("destroyed"); }
  };
  std::vector<std::string> lines;
  Console::setSink([&lines, held = std::make_shared<WritesWhenDestroyed>()](std::string_view) {
    Console::setSink([&lines](std::string_view line) { lines.emplace_back(line); });
  });
  Console::write("first");
  Console::setSink({});
  EXPECT_EQ(lines, std::vector<std::string>{"destroyed"});
}

TEST(Console, ASinkMayReplaceItself) {
  std::vector<std::string> first;
  std::vector<std::string> second;
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> alive = token;
  Console::setSink([&, token = std::move(token)](std::string_view line) {
    Console::setSink([&second](std::string_view later) { second.emplace_back(later); });
    first.emplace_back(line);
    EXPECT_FALSE(alive.expired());
  });
  Console::write("one");
  EXPECT_TRUE(alive.expired());
  Console::write("two");
  EXPECT_EQ(first, std::vector<std::string>{"one"});
  EXPECT_EQ(second, std::vector<std::string>{"two"});
}

TEST(Console, CallsTheSinkOnTheWritingThreadOneCallAtATime) {
  std::atomic<int> running = 0;
  std::atomic<int> wrong = 0;
  int calls = 0;  // not atomic: one call at a time
  static thread_local int mark = 0;
  Console::setSink([&](std::string_view) {
    wrong += running.fetch_add(1) != 0 || mark != 1;
    ++calls;
    --running;
  });
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      mark = 1;
      for (int i = 0; i < 500; ++i) {
        Console::write("x");
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(calls, 2'000);
  EXPECT_EQ(wrong, 0);
}

TEST(Console, LinesOfAThreadThatHoldsThemWaitForTheLastHoldToGo) {
  std::vector<std::string> lines;
  Console::setSink([&lines](std::string_view line) { lines.emplace_back(line); });
  {
    const Console::Hold outer;
    Console::write("1");
    {
      const Console::Hold inner;
      Console::write("2");
    }
    std::thread([] { Console::write("another thread's"); }).join();
    EXPECT_EQ(lines, std::vector<std::string>{"another thread's"});
  }
  Console::write("3");
  EXPECT_EQ(lines, (std::vector<std::string>{"another thread's", "1", "2", "3"}));
}

TEST(Console, HoldOfTheSinksOwnDoesNoHarm) {
  std::vector<std::string> lines;
  Console::setSink([&lines](std::string_view line) {
    const Console::Hold hold;
    Console::write("from the sink");
    lines.emplace_back(line);
  });
  {
    const Console::Hold hold;
    Console::write("1");
    Console::write("2");
  }
  EXPECT_EQ(lines, (std::vector<std::string>{"1", "2"}));
}

struct Unspeakable {};
std::string describe(const Unspeakable&) {
  throw std::runtime_error("no words");
}

TEST(Console, LogsTheBareFormatWhenAnArgumentCannotDescribeItself) {
  std::vector<std::string> lines;
  Console::setSink([&lines](std::string_view line) { lines.emplace_back(line); });
  consoleLog("value=%@", Unspeakable());
  EXPECT_EQ(lines, std::vector<std::string>{"value=%@"});
}

TEST(Console, DiscardsLinesWhenStandardErrorIsClosed) {
  const int saved = dup(STDERR_FILENO);
  close(STDERR_FILENO);
  Console::write("nobody listens");
  dup2(saved, STDERR_FILENO);
  close(saved);
}

}  // namespace
}  // namespace orv::console_test
