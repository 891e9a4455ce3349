// Faults of the simulated platform that are ordered for the Nth call: steps of connecting, and timers.

#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include "tests/unit/testing/LinkFixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

namespace orv::testing::simulated_faults_test {
namespace {

class SimulatedFaults : public LinkFixture {
 protected:
  int runs = 0;
  void runAfter(Seconds delay) {
    handles.push_back(platform.delays().runAt(
        platform.clock().steadyNow() + std::chrono::duration_cast<std::chrono::nanoseconds>(delay),
        platform.mainQueue(), [this] { ++runs; }));
  }
  std::vector<DelayService::Handle> handles;
};

TEST_F(SimulatedFaults, EachStepOfConnectingFailsInTurn) {
  const std::vector<Events> expected = {
      {"failed OrvNameLookup -2"}, {"failed POSIX 111"}, {"failed OrvWebSocket 2132"}, {"opened"}};
  for (std::uint64_t n = 1; n <= expected.size(); ++n) {
    const auto before = network.failuresInjected();
    network.failAtConnectStep(n);
    socket = makeSocket();
    socket->open();
    EXPECT_EQ(settled(), expected[n - 1]);
    EXPECT_EQ(network.failuresInjected() - before, n < expected.size() ? 1U : 0U);
  }
}

TEST_F(SimulatedFaults, ATimerThatCannotBeArmedWaitsForTheNextOne) {
  platform.delays().failAt(2);
  runAfter(Seconds(1));
  runAfter(Seconds(2));
  platform.runFor(Seconds(10));
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(platform.delays().failuresInjected(), 1u);
  runAfter(Seconds(5));
  platform.settle();
  EXPECT_EQ(runs, 2) << "it was due long ago";
  platform.runFor(Seconds(5));
  EXPECT_EQ(runs, 3);
}

TEST_F(SimulatedFaults, ATimerThatWaitsOrHasWaitedCanBeCancelled) {
  platform.delays().failAt(1);
  runAfter(Seconds(1));
  platform.delays().cancel(handles.back());
  platform.delays().failAt(1);
  runAfter(Seconds(1));
  runAfter(Seconds(1));
  platform.delays().cancel(handles[1]);
  platform.runFor(Seconds(10));
  EXPECT_EQ(runs, 1) << "only the one that nobody has cancelled";
}

}  // namespace
}  // namespace orv::testing::simulated_faults_test
