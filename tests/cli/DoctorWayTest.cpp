// What doctor makes of what an attempt to reach the server has met.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/ProxyChoice.h>
#include <orvnetwork/platform/WebSocketError.h>

#include "DoctorRows.h"
#include "MadeWays.h"
#include <cli/doctor/WayVerdicts.h>

#include <gtest/gtest.h>
#include <netdb.h>

#include <cerrno>

namespace orv::test::doctor_way_test {
namespace {

using namespace cli::doctor;
using namespace made_ways;

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
        way("NameWithAddresses", judgeName,
            with(reached(),
                 [](auto& f) {
                   f.report.addresses = {"2001:db8::7", "203.0.113.7", "203.0.113.8", "203.0.113.9"};
                 }),
            "good", Verdict::Ok, "school.example is 2001:db8::7, 203.0.113.7, 203.0.113.8 and 1 more, 4 ms"),
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
        way("RedirectedWithAPlace", judgeUpgrade,
            with(answered(302),
                 [](auto& f) {
                   f.report.answerHeaders = {{"Server", "gate"}, {"Location", "http://portal.example/in"}};
                 }),
            "redirected", Verdict::Fail, "302: it leads elsewhere (http://portal.example/in), as sign-in"),
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

}  // namespace
}  // namespace orv::test::doctor_way_test
