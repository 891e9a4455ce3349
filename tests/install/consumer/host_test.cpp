// A host's own test: two minutes of the library's time pass at once on the simulated platform.
#include <orvnetwork/orvnetwork.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <cstdio>

int main() {
  orv::testing::SimulatedPlatform& platform = orv::testing::SimulatedPlatform::install();
  int rings = 0;
  const auto timer = orv::Timer::schedule(orv::Seconds(30), true, [&rings] { ++rings; });
  bool timedOut = false;
  orv::QXAPIHelper::logoutWithCompleteBlock_timeoutBlock({}, [&timedOut](const auto&) { timedOut = true; });
  platform.runFor(orv::Seconds(125));
  if (rings == 4 && timedOut) std::puts("done");
  return rings == 4 && timedOut ? 0 : 1;
}
