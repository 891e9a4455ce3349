#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>
#include <orvnetwork/testing/ConnectPlan.h>

#include <gtest/gtest.h>

#include <cerrno>

namespace orv::testing {
namespace {

TEST(ConnectPlan, FailsWithTheErrorsOfRealSockets) {
  EXPECT_EQ(ConnectPlan::refuse().error.domain, "POSIX");
  EXPECT_EQ(ConnectPlan::refuse().error.code, ECONNREFUSED);
  EXPECT_EQ(ConnectPlan::unknownHost().error.domain, websocket_error::kNameLookupDomain);
  EXPECT_EQ(ConnectPlan::failTls().error.domain, websocket_error::kTlsDomain);
  EXPECT_EQ(ConnectPlan::httpStatus(404).error.domain, websocket_error::kDomain);
  EXPECT_EQ(ConnectPlan::httpStatus(404).error.code, websocket_error::kRefusedByServer);
  EXPECT_EQ(ConnectPlan::httpStatus(200).error.code, websocket_error::kBadHandshake);
  EXPECT_EQ(websocket_error::kTimedOut, 504);
  EXPECT_EQ(websocket_error::kWriteFailed, 2145);
  EXPECT_EQ(websocket_error::kBadUrl, -1000);
}

TEST(ConnectPlan, AcceptsAtOnceUnlessToldOtherwise) {
  EXPECT_EQ(ConnectPlan().outcome, ConnectPlan::Outcome::Accept);
  EXPECT_EQ(ConnectPlan().delay, Seconds::zero());
  EXPECT_EQ(ConnectPlan::accept(Seconds(3)).delay, Seconds(3));
}

}  // namespace
}  // namespace orv::testing
