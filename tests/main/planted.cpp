// Tests that pass, fail and crash on purpose; check_main.py looks at what the tests' main makes of them.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

int calls = 0;

void expectFreshProcessAndHome() {
  EXPECT_EQ(++calls, 1);
  const std::filesystem::path home = std::getenv("HOME");
  EXPECT_TRUE(std::filesystem::is_empty(home));
  EXPECT_EQ(std::getenv("XDG_DATA_HOME"), nullptr);
  std::ofstream(home / "left behind") << "bytes";
}

}  // namespace

TEST(Fresh, First) {
  expectFreshProcessAndHome();
}
TEST(Fresh, Second) {
  expectFreshProcessAndHome();
}
TEST(Planted, Fails) {
  EXPECT_EQ(1, 2) << "on purpose";
}
TEST(Planted, Crashes) {
  std::raise(SIGKILL);
}
TEST(Planted, Exits) {
  std::exit(3);
}
TEST(Planted, DISABLED_Fails) {
  FAIL();
}
TEST(Planted, Skips) {
  GTEST_SKIP();
}

class Values : public testing::TestWithParam<int> {};
TEST_P(Values, AreFresh) {
  expectFreshProcessAndHome();
}
INSTANTIATE_TEST_SUITE_P(Two, Values, testing::Values(1, 2));
