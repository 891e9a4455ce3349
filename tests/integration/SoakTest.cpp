// Requests, pushes and losses of the link, again and again: what the process holds at the end is what it held after
// the first rounds. ORV_SOAK_SECONDS says how long; a few seconds unless it is set.

#include "devserver/faults/Garbage.h"
#include <devserver/DevServer.h>
#include <devserver/faults/Cut.h>
#include <tests/support/Environment.h>
#include <tests/support/LiveLink.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace orv::soak_test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using devserver::Cut;
using devserver::Garbage;

std::ptrdiff_t entriesOf(const char* folder) {
  return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator{});
}

double residentMegabytes() {
  std::ifstream statm("/proc/self/statm");
  double all = 0, resident = 0;
  statm >> all >> resident;
  return resident * 4096 / (1 << 20);
}

class Soak : public test::LiveLinkTest {
 protected:
  static Seconds length() {
    return Seconds(static_cast<double>(test::numberFromEnvironment("ORV_SOAK_SECONDS", 5)));
  }

  /// Everything once, with the link lost in a different way each time.
  void round(int number) {
    ASSERT_TRUE(waitUntilOpen());
    for (int i = 0; i < 500; ++i) {
      send("Dev.Echo", json::object{{"round", number}, {"text", std::string(200, 'x')}});
    }
    server.push("Rooms.Push.Message", {{"round", number}});
    server.sendGarbage(Garbage::array());
    ASSERT_TRUE(waitForOutcomes(500));
    ASSERT_TRUE(waitForPosted(QXNotificationPushOrvMessage));
    ASSERT_TRUE(waitForReconnectPause());
    const std::size_t connections = server.counters().opened;
    loseTheLink(number);
    ASSERT_TRUE(pumpUntil([&] { return server.counters().opened > connections && link.isOpen(); }));
    for (const auto& outcome : outcomes) ASSERT_EQ(outcome, "Dev.Echo ok");
    outcomes.clear();
    notifications.clear();
    server.clearReceivedFrames();
  }
  void loseTheLink(int number) {
    static const Cut kCuts[] = {
        {Cut::Kind::Fin, 0, ""}, {Cut::Kind::Reset, 0, ""}, {Cut::Kind::Close, 4000, "bye"}};
    if (number % 4 == 3) {
      link.reconnect();  // replaces a socket that is open
    } else {
      server.cut(kCuts[number % 4]);
    }
  }

  static std::ptrdiff_t descriptors() { return entriesOf("/proc/self/fd"); }
  static std::ptrdiff_t threads() { return entriesOf("/proc/self/task"); }

  DevServer server;
};

TEST_F(Soak, HoldsNoMoreAtTheEndThanAfterTheFirstRounds) {
  server.start();
  bringUp(server.url());
  ASSERT_TRUE(echoes());
  outcomes.clear();
  const std::ptrdiff_t descriptorsBefore = descriptors(), threadsBefore = threads();
  int number = 0;
  while (number < 4) ASSERT_NO_FATAL_FAILURE(round(number++));
  const double before = residentMegabytes();
  const auto end = Clock::now() + length();
  while (Clock::now() < end || number < 6) ASSERT_NO_FATAL_FAILURE(round(number++));
  // What is left of the old connections goes soon.
  EXPECT_TRUE(pumpUntil([&] { return descriptors() == descriptorsBefore && threads() == threadsBefore; }))
      << descriptors() << " descriptors instead of " << descriptorsBefore << ", " << threads()
      << " threads instead of " << threadsBefore;
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  const double after = residentMegabytes();
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  constexpr double kMargin = 8;  // the log's blocks, the server's buffers, and what the allocator keeps
  EXPECT_LT(after, before + kMargin);
#endif
  std::printf("%d rounds: %.1f MB before, %.1f MB after, %td descriptors, %td threads\n", number, before,
              after, descriptorsBefore, threadsBefore);
}

}  // namespace
}  // namespace orv::soak_test
