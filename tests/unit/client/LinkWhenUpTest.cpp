#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/testing/ConnectPlan.h>

#include "ClientFixture.h"

#include <optional>
#include <utility>

namespace orv::link_when_up_test {
namespace {

using testing::ConnectPlan;

class LinkWhenUp : public ClientFixture {
 protected:
  void wait(Pending<> pending) {
    waiting = std::move(pending).then([this](PendingEnd end) { ended = end; });
  }
  std::optional<PendingEnd> ended;
  PendingCallback waiting;
};

TEST_F(LinkWhenUp, IsToldWhenTheServerHasConfirmedTheLink) {
  planAll(ConnectPlan::accept(Seconds(3)));
  start();
  wait(link().whenUp());
  runFor(2);
  EXPECT_EQ(ended, std::nullopt);
  runFor(1);
  EXPECT_EQ(ended, PendingEnd::Finished);
}

TEST_F(LinkWhenUp, IsToldInALaterTurnWhenTheLinkIsUpAlready) {
  bringUp();
  wait(link().whenUp());
  EXPECT_EQ(ended, std::nullopt) << "not inside the call";
  settle();
  EXPECT_EQ(ended, PendingEnd::Finished);
}

TEST_F(LinkWhenUp, EndsAtItsDeadline) {
  planAll(ConnectPlan::neverAnswer());
  start();
  wait(link().whenUp().deadline(Seconds(4)));
  runFor(3.9);
  EXPECT_EQ(ended, std::nullopt);
  runFor(0.2);
  EXPECT_EQ(ended, PendingEnd::TimedOut);
}

TEST_F(LinkWhenUp, IsCancelledWhenTheClientGoes) {
  planAll(ConnectPlan::neverAnswer());
  start();
  wait(link().whenUp());
  client.reset();
  settle();
  EXPECT_EQ(ended, PendingEnd::Cancelled);
}

TEST_F(LinkWhenUp, SaysNothingToWhoeverHasGivenUp) {
  planAll(ConnectPlan::accept(Seconds(3)));
  start();
  wait(link().whenUp());
  waiting = {};
  runFor(5);
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(ended, std::nullopt);
}

}  // namespace
}  // namespace orv::link_when_up_test
