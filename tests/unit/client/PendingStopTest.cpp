#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/platform/MainQueue.h>

#include <gtest/gtest.h>

#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orv::pending_stop_test {
namespace {

using Text = Result<std::string>;

TEST(PendingStop, OnAnotherThreadMeetsTheEndWithoutHarm) {
  auto& main = MainQueue::instance();
  main.claim();
  enum { kAnswered, kDestroyed, kLeftAlone, kWays };
  for (int i = 0; i < 600; ++i) {
    std::stop_source stop;
    PendingSource<Text> source;
    std::vector<bool> told;
    auto kept = source.pending().stopOn(stop.get_token()).then([&](const Text& text) {
      EXPECT_TRUE(main.isCurrent());
      told.push_back(static_cast<bool>(text));
    });
    std::jthread other([&] { stop.request_stop(); });
    const int way = i % kWays;
    if (way == kAnswered) source.answer("7");
    if (way == kDestroyed) kept = PendingCallback();
    other.join();
    main.drain();
    main.drain();
    ASSERT_EQ(told, way == kDestroyed ? std::vector<bool>{} : std::vector<bool>{way == kAnswered}) << i;
  }
}

}  // namespace
}  // namespace orv::pending_stop_test
