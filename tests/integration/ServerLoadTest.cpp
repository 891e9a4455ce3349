// Two hundred clients at once at the embedded server: what they may expect of it, and what it holds afterwards.
// ORV_LOAD_SECONDS says how long; a few seconds unless it is set.

#include <devserver/DevServer.h>
#include <tests/integration/LoadCrowd.h>
#include <tests/support/Environment.h>

#include <gtest/gtest.h>
#include <malloc.h>
#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace orv::server_load_test {
namespace {

using namespace std::chrono_literals;
using test::LoadCrowd;
using test::LoadFigures;

constexpr std::size_t kRooms = 10;

std::chrono::milliseconds length() {
  return std::chrono::seconds(test::numberFromEnvironment("ORV_LOAD_SECONDS", 4));
}

/// A line of /proc/self/status in megabytes.
double megabytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name + ":")) return std::atof(line.c_str() + name.size() + 1) / 1'024;
  }
  return 0;
}

class ServerLoad : public ::testing::Test {
 protected:
  ServerLoad() : server(options()) {}

  static DevServer::Options options() {
    DevServer::Options options;
    options.dataFile = std::string(std::getenv("HOME")) + "/school.sqlite";
    options.keptFrames = 1'000;
    return options;
  }
  static std::ptrdiff_t descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator{});
  }

  /// Waits until nobody is connected and nothing is held for anybody; what the process holds then.
  double settledMegabytes() {
    EXPECT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, 60s));
    // Sockets are closed a little later.
    const auto limit = std::chrono::steady_clock::now() + 60s;
    while (descriptors() != descriptorsBefore && std::chrono::steady_clock::now() < limit) sched_yield();
    EXPECT_EQ(descriptors(), descriptorsBefore);
    malloc_trim(0);
    return megabytes("VmRSS");
  }

  static void judge(const LoadFigures& figures) {
    EXPECT_EQ(figures.unanswered, 0u);
    for (const auto& [problem, count] : figures.problems) ADD_FAILURE() << problem << ": " << count;
    for (const auto& [room, ids] : figures.posted) {
      ASSERT_TRUE(figures.seen.contains(room)) << "nobody saw what was posted in room " << room;
      const auto& seen = figures.seen.at(room);
      EXPECT_EQ(std::ranges::adjacent_find(seen, std::greater_equal()), seen.end()) << "not in their order";
      for (const std::int64_t id : ids) {
        ASSERT_TRUE(std::ranges::binary_search(seen, id)) << "message " << id << " of room " << room;
      }
    }
  }

  /// On a busy machine a single run may be too short for all that happens seldom.
  static void expectOfEverything(const LoadFigures& all) {
    EXPECT_GT(all.reconnects, 0u);
    EXPECT_GT(all.garbageFrames, 0u);
    EXPECT_GT(all.lossesSeen, 0u);
    EXPECT_EQ(all.posted.size(), kRooms);
  }

  DevServer server;
  std::ptrdiff_t descriptorsBefore = 0;
};

TEST_F(ServerLoad, AnswersTwoHundredClientsAtOnceAndHoldsNothingOfThemAfterwards) {
  server.start();
  descriptorsBefore = descriptors();
  const auto rooms = server.addCourses(kRooms, {{"liveType", 1}, {"status", 2}, {"liveStatus", 1}});
  LoadCrowd crowd(server.port(), rooms, 20240131);
  LoadFigures all = crowd.run(1'500ms);
  judge(all);
  const double before = settledMegabytes();
  const auto counters = server.counters();
  const auto duration = length();
  const LoadFigures figures = crowd.run(duration);
  judge(figures);
  all.add(figures);
  const double after = settledMegabytes();
  EXPECT_EQ(server.counters().slowReadersCut, 0u);
  EXPECT_EQ(server.counters().turnedAway, 0u);
  EXPECT_GE(server.counters().requests - counters.requests, figures.answered);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_LT(after, before + 8);
#endif
  // Nobody is left in the rooms, and the next crowd would be served as well.
  const LoadFigures last = crowd.run(1s);
  judge(last);
  all.add(last);
  expectOfEverything(all);
  const double seconds = std::chrono::duration<double>(duration).count();
  std::printf(
      "%.0f s: %.0f requests/s, %.0f pushes/s, p50 %.1f ms, p99 %.1f ms, %llu reconnects; "
      "%.1f MB before, %.1f MB after, peak %.1f MB\n",
      seconds, static_cast<double>(figures.answered) / seconds, static_cast<double>(figures.pushes) / seconds,
      figures.milliseconds(0.5), figures.milliseconds(0.99),
      static_cast<unsigned long long>(figures.reconnects), before, after, megabytes("VmHWM"));
}

}  // namespace
}  // namespace orv::server_load_test
