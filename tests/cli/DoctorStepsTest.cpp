// What doctor makes of the steps of an attempt together, and the facts that it tells.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/WebSocketError.h>

#include "MadeWays.h"
#include <cli/doctor/WayVerdicts.h>

#include <gtest/gtest.h>
#include <netdb.h>

#include <cerrno>
#include <string>
#include <vector>

namespace orv::test::doctor_steps_test {
namespace {

using namespace cli::doctor;
using namespace made_ways;

std::string codesOf(const std::vector<Finding>& findings) {
  std::string codes;
  for (const Finding& finding : findings) codes += finding.check + " " + finding.code + ", ";
  return codes;
}

TEST(DoctorWay, FactsHoldTheAddressesOfTheNameButNotThoseOfAProxy) {
  WayFacts facts = reached();
  facts.report.addresses = {"2001:db8::7", "203.0.113.7"};
  EXPECT_EQ(judgeName(facts).facts.at("addresses"), (json::array{"2001:db8::7", "203.0.113.7"}));
  EXPECT_EQ(judgeName(proxied(facts)).facts.at("addresses"), json::array());
}

TEST(DoctorWay, FactsHoldWhatTheAnswerSaysOfItself) {
  WayFacts facts = answered(403);
  facts.report.answerHeaders = {{"Server", "gate"}, {"Via", "1.1 office"}};
  EXPECT_EQ(judgeUpgrade(facts).facts.at("headers"), (json::array{"Server: gate", "Via: 1.1 office"}));
}

TEST(DoctorWay, WhatFollowsFromAFailureIsSkipped) {
  EXPECT_EQ(codesOf(judgeWay(reached())), "name good, connect good, tls good, upgrade good, ping good, ");
  EXPECT_EQ(codesOf(judgeWay(failedAt(Step::Name, kNames, EAI_NONAME))),
            "name noSuchName, connect notReached, tls notReached, upgrade notReached, ping notReached, ");
  EXPECT_EQ(codesOf(judgeWay(failedAt(Step::Connect, kSystem, ECONNREFUSED))),
            "name good, connect refused, tls notReached, upgrade notReached, ping notReached, ");
  EXPECT_EQ(codesOf(judgeWay(failedAt(Step::Tls, kTls, 10))),
            "name good, connect good, tls expired, upgrade notReached, ping notReached, ");
  EXPECT_EQ(codesOf(judgeWay(answered(403))),
            "name good, connect good, tls good, upgrade refused, ping notReached, ");
  EXPECT_EQ(codesOf(judgeWay(refusedByProxy(407))),
            "proxy refusesUser, name notReached, connect notReached, tls notReached, upgrade notReached, "
            "ping notReached, ");
  WayFacts stayed = failedAt(Step::Name, kTls, websocket_error::kBadTlsSettings);
  stayed.report.name.reset();
  EXPECT_EQ(codesOf(judgeWay(stayed)),
            "name notReached, connect notReached, tls badSettings, upgrade notReached, ping notReached, ");
  const auto findings = judgeWay(failedAt(Step::Connect, kSystem, ECONNREFUSED));
  EXPECT_EQ(findings[2].verdict, Verdict::Skipped);
  EXPECT_EQ(findings[2].text, "because connect failed");
}

TEST(DoctorWay, WhatFollowsFromNoRouteIsSkipped) {
  const auto codes = [](const WayFacts& facts) { return codesOf(withoutRoute(judgeWay(facts))); };
  constexpr const char* kAllSkipped =
      "name notReached, connect notReached, tls notReached, upgrade notReached, ping notReached, ";
  EXPECT_EQ(codes(failedAt(Step::Name, kNames, EAI_AGAIN)), kAllSkipped);
  EXPECT_EQ(codes(failedAt(Step::Name, kSocket, websocket_error::kTimedOut)), kAllSkipped);
  EXPECT_EQ(withoutRoute(judgeWay(failedAt(Step::Name, kNames, EAI_AGAIN)))[4].text,
            "because network failed");
  EXPECT_EQ(codes(failedAt(Step::Connect, kSystem, ENETUNREACH)),
            "name good, connect notReached, tls notReached, upgrade notReached, ping notReached, ");
  // These have another cause: somebody has answered, or what was sent has gone somewhere.
  for (const WayFacts& facts :
       {reached(), failedAt(Step::Name, kNames, EAI_NONAME), failedAt(Step::Connect, kSystem, ECONNREFUSED),
        failedAt(Step::Connect, kSystem, ETIMEDOUT), refusedByProxy(websocket_error::kProxyUnreachable),
        failedAt(Step::Tls, kSystem, ECONNRESET), answered(404),
        failedAt(Step::Upgrade, kSocket, websocket_error::kTimedOut)}) {
    EXPECT_EQ(codes(facts), codesOf(judgeWay(facts)));
  }
}

TEST(DoctorWay, StepsThatNobodyToldOfAreFoundByTheError) {
  WayFacts bare;
  bare.url = *parseUrl("wss://school.example/");
  bare.error = Error{kSystem, ECONNREFUSED, "refused"};
  EXPECT_EQ(failedStep(bare), Step::Connect);
  bare.error = Error{kSocket, websocket_error::kTimedOut, "late"};
  EXPECT_EQ(failedStep(bare), Step::Name);
  bare.url = *parseUrl("wss://203.0.113.7/");
  EXPECT_EQ(failedStep(bare), Step::Connect);
}

}  // namespace
}  // namespace orv::test::doctor_steps_test
