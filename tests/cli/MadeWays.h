#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/data/Url.h>
#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/platform/ProxyChoice.h>
#include <orvnetwork/platform/WebSocketError.h>

#include <cli/doctor/WayFacts.h>

#include <chrono>
#include <cstdint>
#include <functional>

// What attempts to reach a server may have met, for the verdicts of doctor.

namespace orv::test::made_ways {

using cli::doctor::Step;
using cli::doctor::WayFacts;

inline constexpr const char* kTls = websocket_error::kTlsDomain;
inline constexpr const char* kSocket = websocket_error::kDomain;
inline constexpr const char* kSystem = websocket_error::kSystemDomain;
inline constexpr const char* kNames = websocket_error::kNameLookupDomain;
inline constexpr const char* kProxy = websocket_error::kProxyDomain;
/// The alert "certificate required", as the TLS library numbers it.
inline constexpr int kCertificateRequired = 1116;
inline constexpr std::chrono::hours kDay{24};

/// 2026-11-22 12:00:00 UTC.
inline const WallTime kNow{std::chrono::seconds(1'795'348'800)};

/// An attempt to reach wss://school.example/link that has come to its end.
inline WayFacts reached() {
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
inline WayFacts failedAt(Step step, const char* domain, std::int64_t code) {
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

inline WayFacts with(WayFacts facts, const std::function<void(WayFacts&)>& change) {
  change(facts);
  return facts;
}

inline WayFacts answered(int status) {
  const bool isRefusal = status >= 400;
  return with(failedAt(Step::Upgrade, kSocket,
                       isRefusal ? websocket_error::kRefusedByServer : websocket_error::kBadHandshake),
              [status](WayFacts& facts) { facts.report.httpStatus = status; });
}

inline WayFacts proxied(WayFacts facts) {
  facts.choice = ProxyChoice{Proxy{.host = "proxy.example", .port = 3128}, ProxyReason::Settings};
  facts.report.throughProxy = "http://proxy.example:3128";
  facts.report.proxy = Seconds(0.01);
  return facts;
}

/// An attempt that has failed at the proxy, with a code of its.
inline WayFacts refusedByProxy(std::int64_t code) {
  return proxied(failedAt(Step::Connect, kProxy, code));
}

/// An attempt that goes straight though a proxy was asked for.
inline WayFacts straight(ProxyReason reason) {
  WayFacts facts = reached();
  facts.choice = ProxyChoice{{}, reason};
  return facts;
}

inline WayFacts clockOff(double seconds) {
  return with(reached(), [seconds](WayFacts& facts) {
    facts.report.answeredAt = kNow;
    facts.report.serverDate = kNow + std::chrono::duration_cast<WallTime::duration>(Seconds(seconds - 0.5));
  });
}

}  // namespace orv::test::made_ways
