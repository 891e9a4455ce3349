// Turns at the file of keys that several programs change.

#include <orvnetwork/course/detail/KeyFile.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orv::key_file_test {
namespace {

using testing::FileOperation;

class KeyFileTest : public ::testing::Test {
 protected:
  KeyFileTest() {
    Console::setSink([this](std::string_view line) { console.emplace_back(line); });
  }
  ~KeyFileTest() override { Console::setSink(nullptr); }

  bool isWritten() { return file.write({"5"}); }
  /// Another program has the lock when it is tried the nth time from now on.
  void lockIsTheirs(std::uint64_t n = 1) { platform.files().failAt(FileOperation::Lock, n); }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  KeyFile file{"/home/user/keys.plist", PropertyListStore::Options()};
  std::vector<std::string> console;
};

TEST_F(KeyFileTest, ATurnInsideATurnIsAPartOfItAlsoWhereThatIsAnotherPrograms) {
  lockIsTheirs();
  file.beginTurns();
  // The other program has moved on by now, but who holds this turn has counted on it.
  EXPECT_FALSE(file.beginTurn());
  EXPECT_FALSE(isWritten());
  file.endTurn();
  file.endTurns();
  EXPECT_TRUE(file.beginTurn());
  EXPECT_TRUE(isWritten());
  file.endTurn();
}

TEST_F(KeyFileTest, ATurnInsideATurnDoesNotTryTheLockAgain) {
  file.beginTurns();
  lockIsTheirs();
  EXPECT_TRUE(file.beginTurn());
  EXPECT_TRUE(isWritten());
  file.endTurn();
  EXPECT_EQ(platform.files().failuresInjected(), 0u);
  file.endTurns();
  EXPECT_FALSE(file.beginTurn()) << "the next one tries it";
  file.endTurn();
}

}  // namespace
}  // namespace orv::key_file_test
