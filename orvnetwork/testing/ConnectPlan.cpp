#include "orvnetwork/testing/ConnectPlan.h"

#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/testing/detail/PlannedRace.h>

#include <string>
#include <utility>
#include <vector>

namespace orv::testing {

namespace {

// Codes of the libraries behind the platform's own sockets.
constexpr std::int64_t kSelfSignedCertificate = 18;
constexpr std::int64_t kNameNotKnown = -2;

constexpr int kSwitchingProtocols = 101;

constexpr const char* kProxy = "http://proxy.example.org:3128";

/// As the platform's own sockets tell it of a proxy.
Error proxyError(std::int64_t code, const std::string& what) {
  return {websocket_error::kProxyDomain, code, "the proxy " + std::string(kProxy) + " " + what};
}

ConnectPlan throughProxy(ConnectPlan plan) {
  plan.report.throughProxy = kProxy;
  return plan;
}

}  // namespace

ConnectPlan ConnectPlan::accept(Seconds delay) {
  ConnectPlan plan{Outcome::Accept, delay};
  plan.report.httpStatus = kSwitchingProtocols;
  return plan;
}

ConnectPlan ConnectPlan::refuse(Seconds delay) {
  return fail(*PlannedAddress::refuses({}).error, delay);
}

ConnectPlan ConnectPlan::unreachable() {
  return fail(*PlannedAddress::unreachable({}).error);
}

ConnectPlan ConnectPlan::unknownHost() {
  return fail({websocket_error::kNameLookupDomain, kNameNotKnown, "Name or service not known"});
}

ConnectPlan ConnectPlan::neverAnswer() {
  return {Outcome::NeverAnswer};
}

ConnectPlan ConnectPlan::failTls(Seconds delay) {
  return fail({websocket_error::kTlsDomain, kSelfSignedCertificate, "self-signed certificate"}, delay);
}

ConnectPlan ConnectPlan::refuseCertificate(CertificateFault fault, WallTime now, Seconds delay) {
  return fail(plannedTlsError(fault, now), delay).reporting(plannedTlsReport(fault, now));
}

ConnectPlan ConnectPlan::httpStatus(int status, Seconds delay) {
  const auto code = status >= 400 ? websocket_error::kRefusedByServer : websocket_error::kBadHandshake;
  ConnectPlan plan =
      fail({websocket_error::kDomain, code, "The server answered with HTTP status " + std::to_string(status)},
           delay);
  plan.report.httpStatus = status;
  return plan;
}

ConnectPlan ConnectPlan::endOfStream(Seconds delay) {
  return {Outcome::EndOfStream, delay};
}

ConnectPlan ConnectPlan::proxyUnreachable(Seconds delay) {
  return throughProxy(
      fail(proxyError(websocket_error::kProxyUnreachable, "is not reached: Connection refused"), delay));
}

ConnectPlan ConnectPlan::proxyRefusesUser(Seconds delay) {
  return throughProxy(fail(proxyError(websocket_error::kProxyRefusesUser, "refuses the user"), delay));
}

ConnectPlan ConnectPlan::proxyRefusesServer(int status, Seconds delay) {
  const std::string shown = " (HTTP status " + std::to_string(status) + ")";
  return throughProxy(fail(proxyError(status, "refuses the way to the server" + shown), delay));
}

ConnectPlan ConnectPlan::proxyNeverAnswers() {
  ConnectPlan plan = neverAnswer();
  plan.error = proxyError(websocket_error::kProxyUnreachable,
                          "has not opened a way to the server within the time limit");
  return throughProxy(std::move(plan));
}

ConnectPlan ConnectPlan::fail(Error error, Seconds delay) {
  return {Outcome::Fail, delay, std::move(error)};
}

ConnectPlan ConnectPlan::addresses(const std::vector<PlannedAddress>& inOrder) {
  PlannedRace race(inOrder);
  ConnectPlan plan = neverAnswer();
  if (const auto connectedAt = race.run()) {
    plan = accept(*connectedAt);
  } else if (const auto failed = race.failure()) {
    plan = fail(failed->error, failed->at);
  }
  for (const PlannedAddress& one : inOrder) plan.report.addresses.push_back(one.address);
  plan.report.attempts = race.attempts();
  if (plan.outcome != Outcome::NeverAnswer) plan.report.connect = plan.delay;
  return plan;
}

ConnectPlan ConnectPlan::reporting(ConnectReport what) const {
  ConnectPlan plan = *this;
  plan.report = std::move(what);
  return plan;
}

}  // namespace orv::testing
