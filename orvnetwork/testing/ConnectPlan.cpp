#include "orvnetwork/testing/ConnectPlan.h"

#include <cerrno>
#include <string>

namespace orv::testing {

namespace {

// Codes as the platform's own sockets tell them.
constexpr std::int64_t kRefusedByServer = 2132;
constexpr std::int64_t kBadHandshake = 2133;
constexpr std::int64_t kSelfSignedCertificate = 18;
constexpr std::int64_t kNameNotKnown = -2;

}  // namespace

ConnectPlan ConnectPlan::accept(Seconds delay) {
  return {Outcome::Accept, delay, {}};
}

ConnectPlan ConnectPlan::refuse(Seconds delay) {
  return fail({"POSIX", ECONNREFUSED, "Connection refused"}, delay);
}

ConnectPlan ConnectPlan::unreachable() {
  return fail({"POSIX", ENETUNREACH, "Network is unreachable"});
}

ConnectPlan ConnectPlan::unknownHost() {
  return fail({"OrvNameLookup", kNameNotKnown, "Name or service not known"});
}

ConnectPlan ConnectPlan::neverAnswer() {
  return {Outcome::NeverAnswer, Seconds::zero(), {}};
}

ConnectPlan ConnectPlan::failTls(Seconds delay) {
  return fail({"OrvTls", kSelfSignedCertificate, "self-signed certificate"}, delay);
}

ConnectPlan ConnectPlan::httpStatus(int status, Seconds delay) {
  const auto code = status >= 400 ? kRefusedByServer : kBadHandshake;
  return fail({"OrvWebSocket", code, "The server answered with HTTP status " + std::to_string(status)},
              delay);
}

ConnectPlan ConnectPlan::endOfStream(Seconds delay) {
  return {Outcome::EndOfStream, delay, {}};
}

ConnectPlan ConnectPlan::fail(Error error, Seconds delay) {
  return {Outcome::Fail, delay, std::move(error)};
}

}  // namespace orv::testing
