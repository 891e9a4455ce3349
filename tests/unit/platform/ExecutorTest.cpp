#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/Executor.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orv::executor_test {
namespace {

class RunGuarded : public ::testing::Test {
 protected:
  void SetUp() override {
    Console::setSink([this](std::string_view line) { lines_.emplace_back(line); });
  }
  void TearDown() override { Console::setSink({}); }

  std::vector<std::string> lines_;
};

TEST_F(RunGuarded, RunsAFunctionAndSaysNothing) {
  bool ran = false;
  runGuarded("place", [&ran] { ran = true; });
  EXPECT_TRUE(ran);
  EXPECT_TRUE(lines_.empty());
}

TEST_F(RunGuarded, TellsTheConsoleWhatAStandardExceptionSays) {
  runGuarded("completion callback", [] { throw std::runtime_error("no disk"); });
  EXPECT_EQ(lines_, std::vector<std::string>{"completion callback: no disk"});
}

TEST_F(RunGuarded, TellsTheConsoleOfAnythingElseThatIsThrown) {
  runGuarded("observer", [] { throw 5; });
  EXPECT_EQ(lines_, std::vector<std::string>{"observer: unknown exception"});
}

TEST_F(RunGuarded, RunsTasksThatOwnWhatTheyNeed) {
  int result = 0;
  Task task = [&result, number = std::make_unique<int>(7)] { result = *number; };
  runGuarded("task", task);
  EXPECT_EQ(result, 7);
  Task failing = [] { throw std::logic_error("broken"); };
  runGuarded("task", failing);
  EXPECT_EQ(lines_, std::vector<std::string>{"task: broken"});
}

}  // namespace
}  // namespace orv::executor_test
