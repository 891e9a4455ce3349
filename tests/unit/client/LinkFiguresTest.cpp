#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "ClientFixture.h"

#include <memory>
#include <string>
#include <vector>

namespace orv::link_figures_test {
namespace {

using testing::ConnectPlan;

// What the front door tells of what has passed: statistics, and the trace.

class LinkFigureStatus : public ClientFixture {
 protected:
  TraceSink collector() {
    return [this](const TraceEntry& entry) { kinds.emplace_back(nameOf(entry.kind)); };
  }
  Strings kinds;
};

TEST_F(LinkFigureStatus, TellsTheStatisticsOfTheLink) {
  platform.network().planConnect(ConnectPlan::refuse());
  platform.network().setLatency(Seconds(0.1), Seconds(0.1));
  start();
  runFor(30);
  ASSERT_TRUE(link().isUp());
  const LinkStatistics statistics = link().statistics();
  EXPECT_EQ(statistics.link.attempts, link().snapshot().attempt);
  EXPECT_EQ(statistics.link.failures.at(LinkTrouble::Refused), 1u);
  EXPECT_NEAR(statistics.link.pings.p50->count(), 0.2, 0.2 * 0.032);
  EXPECT_EQ(secondsOf(statistics.readAt), now());
}

TEST_F(LinkFigureStatus, GivesTheTraceToASinkUntilTheClientHasGone) {
  start();
  link().setFrameTrace(collector());
  settle();
  EXPECT_EQ(kinds, (Strings{"attempt", "opened", "sent", "received", "up"}));
  client.reset();
  settle();
  EXPECT_EQ(kinds.size(), 5u) << "what is destroyed calls nobody back";
  bringUp();
  EXPECT_EQ(kinds.size(), 5u) << "nor does the next client";
}

TEST_F(LinkFigureStatus, LeavesATraceAloneThatTheLayerBelowHasBeenGiven) {
  QXWebSocketMgr::standard().setFrameTrace(collector());
  bringUp();
  client.reset();
  settle();
  EXPECT_EQ(kinds, (Strings{"attempt", "opened", "sent", "received", "up", "closed"}));
}

TEST_F(LinkFigureStatus, EndsTheTraceWhenItIsAskedTo) {
  start();
  link().setFrameTrace(collector());
  link().setFrameTrace({});
  settle();
  EXPECT_TRUE(kinds.empty());
  EXPECT_TRUE(link().isUp());
}

}  // namespace
}  // namespace orv::link_figures_test
