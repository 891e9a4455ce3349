// What doctor makes of what an attempt to reach the server has met.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/ProxyChoice.h>
#include <orvnetwork/platform/WebSocketError.h>

#include "DoctorRows.h"
#include <cli/doctor/WayVerdicts.h>

#include <gtest/gtest.h>
#include <netdb.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orv::test::doctor_way_test {
namespace {

using namespace cli::doctor;

constexpr const char* kTls = websocket_error::kTlsDomain;
constexpr const char* kSocket = websocket_error::kDomain;
constexpr const char* kSystem = websocket_error::kSystemDomain;
constexpr const char* kNames = websocket_error::kNameLookupDomain;
constexpr const char* kProxy = websocket_error::kProxyDomain;
/// The alert "certificate required", as the TLS library numbers it.
constexpr int kCertificateRequired = 1116;
constexpr std::chrono::hours kDay{24};

/// 2026-11-22 12:00:00 UTC.
const WallTime kNow{std::chrono::seconds(1'795'348'800)};

/// An attempt to reach wss://school.example/link that has come to its end.
WayFacts reached() {
  WayFacts facts;
  facts.url = *parseUrl("wss://school.example/link?key=1");
  facts.now = kNow;
  ConnectReport& report = facts.report;
  report.name = Seconds(0.004);
  report.connect = Seconds(0.012);
  report.tls = Seconds(0.02);
  report.upgrade = Seconds(0.031);
  report.attempts = {{"203.0.113.7", Seconds(0.004), Seconds(0.012), true, {}}};
  report.tlsVersion = "TLSv1.3";
  report.chain = {{"school.example",
                   "Good CA",
                   {"school.example", "www.school.example"},
                   kNow - 30 * kDay,
                   kNow + 61 * kDay,
                   "pin"}};
  report.httpStatus = 101;
  facts.isOpen = true;
  facts.pong = Seconds(0.014);
  return facts;
}

/// The same, which has failed with an error at a step.
WayFacts failedAt(Step step, const char* domain, std::int64_t code) {
  WayFacts facts = reached();
  ConnectReport& report = facts.report;
  if (step <= Step::Tls) report.upgrade.reset();
  if (step <= Step::Connect) report.tls.reset();
  if (step <= Step::Name) report.connect.reset();
  const Error error{domain, code, "why"};
  if (step <= Step::Connect) report.attempts = {{"203.0.113.7", Seconds(0), Seconds(1), false, error}};
  if (step <= Step::Name) report.attempts.clear();
  report.httpStatus = 0;
  facts.isOpen = false;
  facts.pong.reset();
  facts.error = Error{domain, code, "why"};
  return facts;
}

WayFacts with(WayFacts facts, const std::function<void(WayFacts&)>& change) {
  change(facts);
  return facts;
}

WayFacts answered(int status) {
  const bool isRefusal = status >= 400;
  return with(failedAt(Step::Upgrade, kSocket,
                       isRefusal ? websocket_error::kRefusedByServer : websocket_error::kBadHandshake),
              [status](WayFacts& facts) { facts.report.httpStatus = status; });
}

WayFacts proxied(WayFacts facts) {
  facts.choice = ProxyChoice{Proxy{.host = "proxy.example", .port = 3128}, ProxyReason::Settings};
  facts.report.throughProxy = "http://proxy.example:3128";
  facts.report.proxy = Seconds(0.01);
  return facts;
}

/// An attempt that has failed at the proxy, with a code of its.
WayFacts refusedByProxy(std::int64_t code) {
  return proxied(failedAt(Step::Connect, kProxy, code));
}

/// An attempt that goes straight though a proxy was asked for.
WayFacts straight(ProxyReason reason) {
  WayFacts facts = reached();
  facts.choice = ProxyChoice{{}, reason};
  return facts;
}

WayFacts clockOff(double seconds) {
  return with(reached(), [seconds](WayFacts& facts) {
    facts.report.answeredAt = kNow;
    facts.report.serverDate = kNow + std::chrono::duration_cast<WallTime::duration>(Seconds(seconds - 0.5));
  });
}

INSTANTIATE_TEST_SUITE_P(
    Proxy, DoctorVerdict,
    ::testing::Values(
        way("Good", judgeProxy, proxied(reached()), "good", Verdict::Ok,
            "through http://proxy.example:3128, 10 ms"),
        way("NotUsed", judgeProxy, with(reached(), [](auto& f) { f.unusedVariable = "HTTPS_PROXY"; }),
            "notUsed", Verdict::Skipped, "HTTPS_PROXY names a proxy, which is not used"),
        way("StraightHere", judgeProxy, straight(ProxyReason::ThisMachine), "good", Verdict::Ok,
            "straight, since the server is on this machine"),
        way("Exception", judgeProxy, straight(ProxyReason::Excepted), "good", Verdict::Ok, "is an exception"),
        way("NoVariable", judgeProxy, straight(ProxyReason::NoVariable), "good", Verdict::Ok,
            "no variable names"),
        way("NoAnswer", judgeProxy, refusedByProxy(websocket_error::kProxyUnreachable), "noAnswer",
            Verdict::Fail, "why"),
        way("RefusesUser", judgeProxy, refusedByProxy(407), "refusesUser", Verdict::Fail,
            "user and password"),
        way("RefusesUserOfSocks", judgeProxy, refusedByProxy(websocket_error::kProxyRefusesUser),
            "refusesUser", Verdict::Fail, "user and password"),
        way("RefusesServer", judgeProxy, refusedByProxy(403), "refusesServer", Verdict::Fail,
            "does not let this server through"),
        way("RulesServerOut", judgeProxy, refusedByProxy(2), "refusesServer", Verdict::Fail,
            "does not let this server through"),
        way("CannotReach", judgeProxy, refusedByProxy(503), "cannotReach", Verdict::Fail,
            "cannot reach the server"),
        way("NoProxy", judgeProxy, refusedByProxy(websocket_error::kProxyNotUnderstood), "notUnderstood",
            Verdict::Fail, "answers like no proxy"),
        way("BadSettings", judgeProxy,
            with(failedAt(Step::Name, kProxy, websocket_error::kBadProxy), [](auto& f) { f.choice.reset(); }),
            "badSettings", Verdict::Fail, "why")),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    NameAndConnect, DoctorVerdict,
    ::testing::Values(
        way("Name", judgeName, reached(), "good", Verdict::Ok, "school.example, 4 ms"),
        way("NameByProxy", judgeName, proxied(reached()), "byProxy", Verdict::Skipped, "the proxy"),
        way("Numeric", judgeName, with(reached(), [](auto& f) { f.url = *parseUrl("wss://[2001:db8::7]/"); }),
            "numeric", Verdict::Skipped, "is an address"),
        way("NoSuchName", judgeName, failedAt(Step::Name, kNames, EAI_NONAME), "noSuchName", Verdict::Fail,
            "no such name: school.example"),
        way("NoAddressOfTheName", judgeName, failedAt(Step::Name, kNames, EAI_NODATA), "noSuchName",
            Verdict::Fail, "no such name"),
        way("NameServerFails", judgeName, failedAt(Step::Name, kNames, EAI_FAIL), "failed", Verdict::Fail,
            "school.example could not be looked up: why"),
        way("ThisMachineFailsToLookUp", judgeName,
            with(failedAt(Step::Name, kSystem, EMFILE), [](auto& f) { f.report.name = Seconds(0.1); }),
            "failed", Verdict::Fail, "could not be looked up: why"),
        way("NameServerTellsOfAFailureAtOnce", judgeName, failedAt(Step::Name, kNames, EAI_AGAIN),
            "nameServerFails", Verdict::Fail, "the name server cannot tell where school.example is"),
        way("ResolverHasWaitedForNameServer", judgeName,
            with(failedAt(Step::Name, kNames, EAI_AGAIN), [](auto& f) { f.report.name = Seconds(1); }),
            "nameServerSilent", Verdict::Fail,
            "the name server has not told in 1.0 s where school.example is"),
        way("NameServerSilent", judgeName,
            with(failedAt(Step::Name, kSocket, websocket_error::kTimedOut),
                 [](auto& f) { f.report.name = Seconds(0.5); }),
            "nameServerSilent", Verdict::Fail, "the name server has not told in 500 ms"),
        way("Connected", judgeConnect, reached(), "good", Verdict::Ok, "school.example port 443, 12 ms"),
        way("Refused", judgeConnect, failedAt(Step::Connect, kSystem, ECONNREFUSED), "refused", Verdict::Fail,
            "refused: nothing listens on school.example port 443"),
        way("NoAnswer", judgeConnect, failedAt(Step::Connect, kSocket, websocket_error::kTimedOut),
            "noAnswer", Verdict::Fail,
            "no answer from school.example port 443 in 5.0 s: a firewall drops it"),
        way("NoAnswerBySystem", judgeConnect, failedAt(Step::Connect, kSystem, ETIMEDOUT), "noAnswer",
            Verdict::Fail, "a firewall drops it"),
        way("Unreachable", judgeConnect, failedAt(Step::Connect, kSystem, EHOSTUNREACH), "unreachable",
            Verdict::Fail, "no way leads to"),
        way("ConnectFailsOtherwise", judgeConnect, failedAt(Step::Connect, kSystem, EACCES), "failed",
            Verdict::Fail, "why"),
        way("WideIsDead", judgeConnect,
            with(reached(),
                 [](auto& f) {
                   f.report.attempts = {{"2001:db8::7", Seconds(0), Seconds(0.3), false, {}},
                                        {"203.0.113.7", Seconds(0.25), Seconds(0.01), true, {}}};
                 }),
            "wideIsDead", Verdict::Warn, "costs a connect 250 ms"),
        way("WideIsDeadBehindASlowNameServer", judgeConnect,
            with(reached(),
                 [](auto& f) {
                   f.report.attempts = {{"2001:db8::7", Seconds(2), Seconds(0.3), false, {}},
                                        {"203.0.113.7", Seconds(2.25), Seconds(0.01), true, {}}};
                 }),
            "wideIsDead", Verdict::Warn, "costs a connect 250 ms"),
        way("WideFailsAtOnceBehindASlowNameServer", judgeConnect,
            with(reached(),
                 [](auto& f) {
                   f.report.attempts = {
                       {"2001:db8::7", Seconds(2), Seconds(0), false, Error{kSystem, ENETUNREACH, "no"}},
                       {"203.0.113.7", Seconds(2), Seconds(0.01), true, {}}};
                 }),
            "good", Verdict::Ok, "12 ms"),
        way("NarrowIsDead", judgeConnect,
            with(reached(),
                 [](auto& f) {
                   f.report.attempts = {{"203.0.113.7", Seconds(0), Seconds(0.3), false, {}},
                                        {"203.0.113.8", Seconds(0.25), Seconds(0.01), true, {}}};
                 }),
            "good", Verdict::Ok, "12 ms"),
        way("WideFailsAtOnce", judgeConnect,
            with(reached(),
                 [](auto& f) {
                   f.report.attempts = {
                       {"2001:db8::7", Seconds(0), Seconds(0), false, Error{kSystem, ENETUNREACH, "no"}},
                       {"203.0.113.7", Seconds(0.001), Seconds(0.01), true, {}}};
                 }),
            "good", Verdict::Ok, "12 ms"),
        way("WideFailsAtOnceAndNarrowIsDead", judgeConnect,
            with(reached(),
                 [](auto& f) {
                   f.report.attempts = {
                       {"2001:db8::7", Seconds(0), Seconds(0), false, Error{kSystem, ENETUNREACH, "no"}},
                       {"203.0.113.7", Seconds(0), Seconds(0.3), false, {}},
                       {"203.0.113.8", Seconds(0.25), Seconds(0.01), true, {}}};
                 }),
            "good", Verdict::Ok, "12 ms"),
        way("ConnectByProxy", judgeConnect, proxied(reached()), "byProxy", Verdict::Skipped, "the proxy")),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Tls, DoctorVerdict,
    ::testing::Values(
        way("Good", judgeTls, reached(), "good", Verdict::Ok, "TLSv1.3, chain of 1, 61 days left"),
        way("ExpiresSoon", judgeTls,
            with(reached(), [](auto& f) { f.report.chain[0].notAfter = kNow + 13 * kDay; }), "expiresSoon",
            Verdict::Warn, "expires on 2026-12-05, 13 days left"),
        way("ExpiresInTwoWeeks", judgeTls,
            with(reached(), [](auto& f) { f.report.chain[0].notAfter = kNow + 14 * kDay; }), "good",
            Verdict::Ok, "14 days left"),
        way("NotAskedFor", judgeTls, with(reached(), [](auto& f) { f.url = *parseUrl("ws://localhost:1"); }),
            "notAsked", Verdict::Skipped, "this machine"),
        way("None", judgeTls, with(reached(), [](auto& f) { f.url = *parseUrl("ws://school.example"); }),
            "none", Verdict::Warn, "everybody on the way can read passwords"),
        way("Expired", judgeTls,
            with(failedAt(Step::Tls, kTls, 10), [](auto& f) { f.report.chain[0].notAfter = kNow - kDay; }),
            "expired", Verdict::Fail, "has expired on 2026-11-21; this clock says 2026-11-22"),
        way("NotYetValid", judgeTls,
            with(failedAt(Step::Tls, kTls, 9), [](auto& f) { f.report.chain[0].notBefore = kNow + kDay; }),
            "notYetValid", Verdict::Fail, "counts from 2026-11-23 on; this clock says 2026-11-22"),
        way("ExpiredBehindTheServersOwn", judgeTls, failedAt(Step::Tls, kTls, 10), "expired", Verdict::Fail,
            "a certificate behind the server's own is out of date: why"),
        way("NotYetValidBehindTheServersOwn", judgeTls, failedAt(Step::Tls, kTls, 9), "notYetValid",
            Verdict::Fail, "a certificate behind the server's own is out of date: why"),
        way("SelfSigned", judgeTls, failedAt(Step::Tls, kTls, 18), "unknownIssuer", Verdict::Fail,
            "issued by \"Good CA\", whom this machine does not trust"),
        way("SelfSignedInChain", judgeTls, failedAt(Step::Tls, kTls, 19), "unknownIssuer", Verdict::Fail,
            "intercepts TLS"),
        way("NoIssuer", judgeTls, failedAt(Step::Tls, kTls, 20), "unknownIssuer", Verdict::Fail,
            "intercepts TLS"),
        way("NoIssuerOfFirst", judgeTls, failedAt(Step::Tls, kTls, 21), "unknownIssuer", Verdict::Fail,
            "intercepts TLS"),
        way("WrongName", judgeTls, failedAt(Step::Tls, kTls, 62), "wrongName", Verdict::Fail,
            "is not for school.example but for school.example, www.school.example"),
        way("WrongAddress", judgeTls, failedAt(Step::Tls, kTls, 64), "wrongName", Verdict::Fail,
            "is not for"),
        way("WeakKey", judgeTls, failedAt(Step::Tls, kTls, 66), "weak", Verdict::Fail, "too weak"),
        way("WeakDigest", judgeTls, failedAt(Step::Tls, kTls, 68), "weak", Verdict::Fail, "too weak"),
        way("Pin", judgeTls, failedAt(Step::Tls, kTls, websocket_error::kPinMismatch), "pinMismatch",
            Verdict::Fail, "another key"),
        way("BadSettings", judgeTls, failedAt(Step::Tls, kTls, websocket_error::kBadTlsSettings),
            "badSettings", Verdict::Fail, "why"),
        way("ClientCertificate", judgeTls, failedAt(Step::Tls, kTls, kCertificateRequired),
            "clientCertificate", Verdict::Fail, "wants a certificate of this client"),
        way("NoTls", judgeTls, failedAt(Step::Tls, kTls, 267), "failed", Verdict::Fail,
            "no agreement on TLS"),
        way("NoAnswer", judgeTls, failedAt(Step::Tls, kSocket, websocket_error::kTimedOut), "noAnswer",
            Verdict::Fail, "was not finished"),
        way("Reset", judgeTls, failedAt(Step::Tls, kSystem, ECONNRESET), "noAnswer", Verdict::Fail,
            "was not finished")),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    UpgradeAndPing, DoctorVerdict,
    ::testing::Values(
        way("Good", judgeUpgrade, reached(), "good", Verdict::Ok, "101, 31 ms"),
        way("Page", judgeUpgrade, answered(200), "page", Verdict::Fail, "200 with a page"),
        way("NoGoodWebSocket", judgeUpgrade, answered(101), "notUnderstood", Verdict::Fail,
            "101, but no WebSocket's: why"),
        way("Redirected", judgeUpgrade, answered(302), "redirected", Verdict::Fail,
            "302: it leads elsewhere"),
        way("Unauthorized", judgeUpgrade, answered(401), "refused", Verdict::Fail, "401: the server"),
        way("Forbidden", judgeUpgrade, answered(403), "refused", Verdict::Fail, "403: the server"),
        way("NoSuchPath", judgeUpgrade, answered(404), "noSuchPath", Verdict::Fail,
            "404: the server has nothing at /link"),
        way("OtherRefusal", judgeUpgrade, answered(426), "refused", Verdict::Fail, "426: the server refuses"),
        way("ServerAway", judgeUpgrade, answered(502), "serverAway", Verdict::Fail,
            "502: what is behind the gateway"),
        way("NoAnswer", judgeUpgrade, failedAt(Step::Upgrade, kSocket, websocket_error::kTimedOut),
            "noAnswer", Verdict::Fail, "no answer to the upgrade"),
        way("Pong", judgePing, reached(), "good", Verdict::Ok, "PONG in 14 ms"),
        way("NoPong", judgePing, with(reached(), [](auto& f) { f.pong.reset(); }), "noPong", Verdict::Fail,
            "no PONG in 3.0 s: frames are lost behind the upgrade"),
        way("ClosedInstead", judgePing,
            with(reached(),
                 [](auto& f) {
                   f.pong.reset();
                   f.endedEarly = true;
                 }),
            "closed", Verdict::Fail, "the link was closed")),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Clock, DoctorVerdict,
    ::testing::Values(way("NotTold", judgeClock, reached(), "notTold", Verdict::Skipped, "does not tell"),
                      way("Right", judgeClock, clockOff(0.3), "good", Verdict::Ok, "right"),
                      way("AlmostRight", judgeClock, clockOff(-30), "good", Verdict::Ok, "30 s off"),
                      way("Off", judgeClock, clockOff(31), "off", Verdict::Warn, "this clock is 31 s slow"),
                      way("Fast", judgeClock, clockOff(-300), "off", Verdict::Warn,
                          "this clock is 5 min fast"),
                      way("Wrong", judgeClock, clockOff(420), "wrong", Verdict::Fail,
                          "this clock is 7 min slow: certificates will fail")),
    rowName);

std::string codesOf(const std::vector<Finding>& findings) {
  std::string codes;
  for (const Finding& finding : findings) codes += finding.check + " " + finding.code + ", ";
  return codes;
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
}  // namespace orv::test::doctor_way_test
