#include "orvnetwork/testing/ConnectPlan.h"

#include <orvnetwork/platform/WebSocketError.h>

#include <cerrno>
#include <string>

namespace orv::testing {

namespace {

// Codes of the libraries behind the platform's own sockets.
constexpr std::int64_t kSelfSignedCertificate = 18;
constexpr std::int64_t kNameNotKnown = -2;

}  // namespace

ConnectPlan ConnectPlan::accept(Seconds delay) {
  return {Outcome::Accept, delay, {}};
}

ConnectPlan ConnectPlan::refuse(Seconds delay) {
  return fail({websocket_error::kSystemDomain, ECONNREFUSED, "Connection refused"}, delay);
}

ConnectPlan ConnectPlan::unreachable() {
  return fail({websocket_error::kSystemDomain, ENETUNREACH, "Network is unreachable"});
}

ConnectPlan ConnectPlan::unknownHost() {
  return fail({websocket_error::kNameLookupDomain, kNameNotKnown, "Name or service not known"});
}

ConnectPlan ConnectPlan::neverAnswer() {
  return {Outcome::NeverAnswer, Seconds::zero(), {}};
}

ConnectPlan ConnectPlan::failTls(Seconds delay) {
  return fail({websocket_error::kTlsDomain, kSelfSignedCertificate, "self-signed certificate"}, delay);
}

ConnectPlan ConnectPlan::httpStatus(int status, Seconds delay) {
  const auto code = status >= 400 ? websocket_error::kRefusedByServer : websocket_error::kBadHandshake;
  return fail(
      {websocket_error::kDomain, code, "The server answered with HTTP status " + std::to_string(status)},
      delay);
}

ConnectPlan ConnectPlan::endOfStream(Seconds delay) {
  return {Outcome::EndOfStream, delay, {}};
}

ConnectPlan ConnectPlan::fail(Error error, Seconds delay) {
  return {Outcome::Fail, delay, std::move(error)};
}

}  // namespace orv::testing
