#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/PlannedAddress.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <optional>
#include <vector>

namespace orv::testing::connect_plan_test {
namespace {

TEST(ConnectPlan, FailsWithTheErrorsOfRealSockets) {
  EXPECT_EQ(ConnectPlan::refuse().error.domain, "POSIX");
  EXPECT_EQ(ConnectPlan::refuse().error.code, ECONNREFUSED);
  EXPECT_EQ(ConnectPlan::unknownHost().error.domain, websocket_error::kNameLookupDomain);
  EXPECT_EQ(ConnectPlan::failTls().error.domain, websocket_error::kTlsDomain);
  EXPECT_EQ(ConnectPlan::httpStatus(404).error.domain, websocket_error::kDomain);
  EXPECT_EQ(ConnectPlan::httpStatus(404).error.code, websocket_error::kRefusedByServer);
  EXPECT_EQ(ConnectPlan::httpStatus(200).error.code, websocket_error::kBadHandshake);
  EXPECT_EQ(ConnectPlan::proxyUnreachable().error.domain, websocket_error::kProxyDomain);
  EXPECT_EQ(ConnectPlan::proxyUnreachable().error.code, websocket_error::kProxyUnreachable);
  EXPECT_EQ(ConnectPlan::proxyRefusesUser().error.code, websocket_error::kProxyRefusesUser);
  EXPECT_EQ(ConnectPlan::proxyRefusesServer().error.code, 403);
  EXPECT_EQ(ConnectPlan::proxyNeverAnswers().error.code, websocket_error::kProxyUnreachable);
  EXPECT_EQ(websocket_error::kTimedOut, 504);
  EXPECT_EQ(websocket_error::kWriteFailed, 2145);
  EXPECT_EQ(websocket_error::kBadUrl, -1000);
}

TEST(ConnectPlan, AcceptsAtOnceUnlessToldOtherwise) {
  EXPECT_EQ(ConnectPlan().outcome, ConnectPlan::Outcome::Accept);
  EXPECT_EQ(ConnectPlan().delay, Seconds::zero());
  EXPECT_EQ(ConnectPlan::accept(Seconds(3)).delay, Seconds(3));
}

TEST(ConnectPlan, TriesAddressesAsARealSocketDoes) {
  const ConnectPlan plan = ConnectPlan::addresses(
      {PlannedAddress::silent("2001:db8::1"), PlannedAddress::refuses("192.0.2.1", Seconds(0.125)),
       PlannedAddress::answers("2001:db8::2", Seconds(0.5)),
       PlannedAddress::answers("192.0.2.2", Seconds(0.125)), PlannedAddress::answers("192.0.2.3")});
  EXPECT_EQ(plan.outcome, ConnectPlan::Outcome::Accept);
  EXPECT_EQ(plan.delay, Seconds(0.75));
  EXPECT_EQ(plan.report.connect, Seconds(0.75));
  EXPECT_EQ(plan.report.addresses.size(), 5u) << "also the one that was not tried";
  EXPECT_EQ(plan.report.addresses.at(4), "192.0.2.3");
  const auto& tries = plan.report.attempts;
  ASSERT_EQ(tries.size(), 4u);
  EXPECT_EQ(tries[0].address, "2001:db8::1");
  EXPECT_EQ(tries[0].took, Seconds(0.75));
  EXPECT_EQ(tries[0].error, std::nullopt);
  EXPECT_EQ(tries[1].begun, Seconds(0.25));
  EXPECT_EQ(tries[1].took, Seconds(0.125));
  EXPECT_EQ(tries[1].error->code, ECONNREFUSED);
  EXPECT_EQ(tries[2].begun, Seconds(0.375)) << "at once when one fails";
  EXPECT_EQ(tries[2].took, Seconds(0.375));
  EXPECT_FALSE(tries[2].won);
  EXPECT_EQ(tries[3].begun, Seconds(0.625));
  EXPECT_TRUE(tries[3].won);
}

TEST(ConnectPlan, FailsWithWhatSaysMostWhenNoAddressAnswers) {
  const ConnectPlan plan = ConnectPlan::addresses(
      {PlannedAddress::unreachable("2001:db8::1"), PlannedAddress::refuses("192.0.2.1", Seconds(1))});
  EXPECT_EQ(plan.outcome, ConnectPlan::Outcome::Fail);
  EXPECT_EQ(plan.delay, Seconds(1));
  EXPECT_EQ(plan.error.code, ECONNREFUSED);
  EXPECT_EQ(plan.report.attempts.at(0).error->code, ENETUNREACH);
  EXPECT_EQ(
      ConnectPlan::addresses({PlannedAddress::refuses("a", Seconds(2)), PlannedAddress::refuses("b")}).delay,
      Seconds(2))
      << "the one that fails last need not be the last one";
}

TEST(ConnectPlan, WaitsForAnAddressThatIsSilent) {
  const ConnectPlan plan =
      ConnectPlan::addresses({PlannedAddress::silent("2001:db8::1"), PlannedAddress::refuses("192.0.2.1")});
  EXPECT_EQ(plan.outcome, ConnectPlan::Outcome::NeverAnswer);
  EXPECT_EQ(plan.report.connect, std::nullopt);
}

TEST(ConnectPlan, GivesTheOldestOfSixAddressesUpForASeventh) {
  std::vector<PlannedAddress> many(6, PlannedAddress::silent("192.0.2.1"));
  many.push_back(PlannedAddress::refuses("192.0.2.7"));
  const auto tries = ConnectPlan::addresses(many).report.attempts;
  ASSERT_EQ(tries.size(), 7u);
  EXPECT_EQ(tries[0].took, Seconds(1.5));
  EXPECT_EQ(tries[0].error->code, ETIMEDOUT);
  EXPECT_EQ(tries[1].error, std::nullopt);
}

TEST(ConnectPlan, CarriesAReport) {
  ConnectReport report;
  report.tlsVersion = "TLSv1.3";
  const ConnectPlan plan = ConnectPlan::refuse(Seconds(2)).reporting(report);
  EXPECT_EQ(plan.outcome, ConnectPlan::Outcome::Fail);
  EXPECT_EQ(plan.delay, Seconds(2));
  EXPECT_EQ(plan.report.tlsVersion, "TLSv1.3");
  EXPECT_EQ(ConnectPlan::httpStatus(503).report.httpStatus, 503);
  EXPECT_EQ(ConnectPlan::accept().report.httpStatus, 101);
  EXPECT_EQ(ConnectPlan::refuse().report.httpStatus, 0);
}

}  // namespace
}  // namespace orv::testing::connect_plan_test
