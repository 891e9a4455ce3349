// The main function of every test program.
//
// Each test gets a process and an empty home of its own: ctest starts the program once a test, and a program
// that is started by hand with several tests selected forks one child for each of them.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace {

/// Tells a program that was started from inside a test where to put its home, so that it goes with the
/// test's.
constexpr const char* kRootVariable = "ORV_TEST_ROOT";

/// An empty home folder that lasts as long as this object, in the process that made it.
class TemporaryHome {
 public:
  TemporaryHome() : owner_(getpid()) {
    const char* parent = std::getenv(kRootVariable);
    std::string pattern =
        (parent != nullptr ? std::filesystem::path(parent) : std::filesystem::temp_directory_path()) /
        "orv-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      std::perror("mkdtemp");
      std::exit(EXIT_FAILURE);
    }
    root_ = pattern;
    const std::filesystem::path home = root_ / "home";
    std::filesystem::create_directory(home);
    setenv("HOME", home.c_str(), 1);
    setenv(kRootVariable, root_.c_str(), 1);
    for (const char* name : {"XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME",
                             "XDG_RUNTIME_DIR", "XDG_DATA_DIRS", "XDG_CONFIG_DIRS", "XDG_DOCUMENTS_DIR"}) {
      unsetenv(name);
    }
  }
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;
  ~TemporaryHome() {
    if (getpid() != owner_) return;
    std::error_code error;
    std::filesystem::remove_all(root_, error);
  }

 private:
  pid_t owner_;
  std::filesystem::path root_;
};

bool matchesPattern(std::string_view name, std::string_view pattern) {
  if (pattern.empty()) return name.empty();
  if (pattern.front() == '*') {
    return matchesPattern(name, pattern.substr(1)) ||
           (!name.empty() && matchesPattern(name.substr(1), pattern));
  }
  return !name.empty() && (pattern.front() == '?' || pattern.front() == name.front()) &&
         matchesPattern(name.substr(1), pattern.substr(1));
}

bool matchesAnyPattern(std::string_view name, std::string_view patterns) {
  while (true) {
    const std::size_t colon = patterns.find(':');
    if (matchesPattern(name, patterns.substr(0, colon))) return true;
    if (colon == std::string_view::npos) return false;
    patterns.remove_prefix(colon + 1);
  }
}

/// Whether the filter selects a test; the rules are those of --gtest_filter.
bool isSelected(const std::string& name, std::string_view filter) {
  const std::size_t dash = filter.find('-');
  const std::string_view wanted = filter.substr(0, dash);
  if (!wanted.empty() && !matchesAnyPattern(name, wanted)) return false;
  return dash == std::string_view::npos || !matchesAnyPattern(name, filter.substr(dash + 1));
}

bool isDisabled(const testing::TestInfo& test) {
  constexpr std::string_view mark = "DISABLED_";
  const std::string_view suite = test.test_suite_name();
  return std::string_view(test.name()).starts_with(mark) || suite.starts_with(mark) ||
         suite.find("/DISABLED_") != std::string_view::npos;
}

std::vector<std::string> selectedTests() {
  std::vector<std::string> names;
  const std::string filter = GTEST_FLAG_GET(filter);
  const ::testing::UnitTest& all = *::testing::UnitTest::GetInstance();
  for (int s = 0; s < all.total_test_suite_count(); ++s) {
    const testing::TestSuite& suite = *all.GetTestSuite(s);
    for (int t = 0; t < suite.total_test_count(); ++t) {
      const testing::TestInfo& test = *suite.GetTestInfo(t);
      const std::string name = std::string(test.test_suite_name()) + "." + test.name();
      if (isDisabled(test) && !GTEST_FLAG_GET(also_run_disabled_tests)) continue;
      if (isSelected(name, filter)) names.push_back(name);
    }
  }
  return names;
}

/// Prints what went wrong and nothing else; the parent process prints the rest.
class FailurePrinter : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.passed()) return;
    const char* file = result.file_name() != nullptr ? result.file_name() : "unknown file";
    std::printf("%s:%d: %s\n%s\n", file, result.line_number(), result.skipped() ? "Skipped" : "Failure",
                result.message());
    std::fflush(stdout);
  }
};

/// Runs what is selected in this process.
int runHere() {
  const TemporaryHome home;
  return RUN_ALL_TESTS();
}

/// What became of a child: empty when its test passed.
std::string describeFailure(int status) {
  if (WIFSIGNALED(status)) return std::string("killed by ") + strsignal(WTERMSIG(status));
  if (WEXITSTATUS(status) != 0) return "exit code " + std::to_string(WEXITSTATUS(status));
  return {};
}

/// Runs one test in a child and tells how it failed, if it did.
std::string runInChild(const std::string& name) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) return "fork failed";
  if (child == 0) {
    GTEST_FLAG_SET(filter, name);
    testing::TestEventListeners& listeners = ::testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    listeners.Append(new FailurePrinter);
    GTEST_FLAG_SET(repeat, 1);
    std::exit(runHere());
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) return "waitpid failed";
  return describeFailure(status);
}

int runEachInItsOwnProcess(const std::vector<std::string>& names) {
  std::vector<std::string> failures;
  for (const std::string& name : names) {
    std::printf("[ RUN      ] %s\n", name.c_str());
    const std::string failure = runInChild(name);
    std::printf("%s %s%s%s\n", failure.empty() ? "[       OK ]" : "[  FAILED  ]", name.c_str(),
                failure.empty() ? "" : ": ", failure.c_str());
    if (!failure.empty()) failures.push_back(name + ": " + failure);
  }
  std::printf("[==========] %zu tests ran, each in a process of its own.\n", names.size());
  std::printf("[  PASSED  ] %zu tests.\n", names.size() - failures.size());
  if (!failures.empty()) std::printf("[  FAILED  ] %zu tests, listed below:\n", failures.size());
  for (const std::string& failure : failures) std::printf("[  FAILED  ] %s\n", failure.c_str());
  return failures.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
  const std::vector<std::string> names = selectedTests();
  const int repeat = GTEST_FLAG_GET(repeat);
  if (names.size() <= 1 && repeat == 1) return runHere();

  const TemporaryHome root;
  int result = EXIT_SUCCESS;
  for (int round = 0; round != repeat && result == EXIT_SUCCESS; ++round) {
    result = runEachInItsOwnProcess(names);
  }
  return result;
}
